#include "Tools/CrashLog/Registers.h"

#include "Tools/CrashLog/ProcessMemory.h"

#include <elf.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>

#include <algorithm>

namespace {

/*! Nil where the system refuses. */
std::optional<user_regs_struct> readRegisters(pid_t thread)
{
    user_regs_struct registers = {};
    iovec set{&registers, sizeof registers};
    if (::ptrace(PTRACE_GETREGSET, thread, NT_PRSTATUS, &set) != 0)
        return std::nullopt;
    return registers;
}

} // namespace

#if defined(__x86_64__)

const std::string_view architectureName = "x86_64";

namespace {

constexpr std::size_t stackPointerNumber = 7;
constexpr std::size_t programCounterNumber = 16;

Registers withProgramCounter(const std::array<std::uint64_t, Registers::count> &numbered)
{
    return {numbered, numbered[programCounterNumber]};
}

} // namespace

Registers registersOfSignal(const gregset_t &registers)
{
    constexpr int order[] = {REG_RAX, REG_RDX, REG_RCX, REG_RBX, REG_RSI, REG_RDI, REG_RBP, REG_RSP, REG_R8,
                             REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15, REG_RIP};
    std::array<std::uint64_t, Registers::count> numbered;
    std::ranges::transform(order, numbered.begin(),
                           [&](int index) { return static_cast<std::uint64_t>(registers[index]); });
    return withProgramCounter(numbered);
}

std::optional<Registers> registersOfStoppedThread(pid_t thread)
{
    const auto r = readRegisters(thread);
    if (!r)
        return std::nullopt;
    return withProgramCounter({r->rax, r->rdx, r->rcx, r->rbx, r->rsi, r->rdi, r->rbp, r->rsp, r->r8, r->r9,
                               r->r10, r->r11, r->r12, r->r13, r->r14, r->r15, r->rip});
}

std::optional<Registers> registersBeforeCall(const Registers &registers, ProcessMemory &memory)
{
    std::array<std::uint64_t, Registers::count> numbered = registers.numbered;
    const auto returnAddress = memory.word(numbered[stackPointerNumber]);
    if (!returnAddress)
        return std::nullopt;
    numbered[stackPointerNumber] += sizeof *returnAddress;
    numbered[programCounterNumber] = *returnAddress - 1;
    return withProgramCounter(numbered);
}

#elif defined(__aarch64__)

const std::string_view architectureName = "arm64";

namespace {

// The general registers and the stack pointer come first, in the order of DWARF; then pc and cpsr.
constexpr std::size_t linkRegister = 30;
constexpr std::size_t programCounterIndex = Registers::count;

} // namespace

Registers registersOfSignal(const gregset_t &registers)
{
    Registers result;
    std::copy_n(registers, Registers::count, result.numbered.begin());
    result.programCounter = registers[programCounterIndex];
    return result;
}

std::optional<Registers> registersOfStoppedThread(pid_t thread)
{
    const auto r = readRegisters(thread);
    if (!r)
        return std::nullopt;
    Registers result;
    std::copy_n(r->regs, linkRegister + 1, result.numbered.begin());
    result.numbered.back() = r->sp;
    result.programCounter = r->pc;
    return result;
}

std::optional<Registers> registersBeforeCall(const Registers &registers, ProcessMemory &)
{
    Registers result = registers;
    result.programCounter = registers.numbered[linkRegister] - 1;
    return result;
}

#endif
