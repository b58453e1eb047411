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

const std::string_view registerSetName = "x86_THREAD_STATE";
const std::string_view processorName = "X86-64";
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

std::vector<NamedRegister> namedRegisters(const gregset_t &registers)
{
    constexpr std::pair<const char *, int> names[] = {
        {"rax", REG_RAX},    {"rbx", REG_RBX}, {"rcx", REG_RCX}, {"rdx", REG_RDX},    {"rdi", REG_RDI},
        {"rsi", REG_RSI},    {"rbp", REG_RBP}, {"rsp", REG_RSP}, {"r8", REG_R8},      {"r9", REG_R9},
        {"r10", REG_R10},    {"r11", REG_R11}, {"r12", REG_R12}, {"r13", REG_R13},    {"r14", REG_R14},
        {"r15", REG_R15},    {"rip", REG_RIP}, {"cr2", REG_CR2}, {"rflags", REG_EFL}, {"err", REG_ERR},
        {"trap", REG_TRAPNO}};
    std::vector<NamedRegister> result;
    for (const auto &[name, index] : names)
        result.push_back({name, static_cast<std::uint64_t>(registers[index])});
    return result;
}

#elif defined(__aarch64__)

const std::string_view registerSetName = "ARM_THREAD_STATE64";
const std::string_view processorName = "ARM-64";
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

std::vector<NamedRegister> namedRegisters(const gregset_t &registers)
{
    std::vector<NamedRegister> result;
    for (std::size_t i = 0; i <= 28; ++i)
        result.push_back({"x" + std::to_string(i), registers[i]});
    const char *const names[] = {"fp", "lr", "sp", "pc", "cpsr"};
    for (std::size_t i = 0; i < std::size(names); ++i)
        result.push_back({names[i], registers[29 + i]});
    return result;
}

#endif
