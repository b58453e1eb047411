#include "CrashReporter/CrashRegisters.h"

#include <algorithm>
#include <iterator>

#if defined(__x86_64__)

constinit const std::string_view cpuType = "X86-64";
constinit const std::string_view threadStateFlavor = "x86_THREAD_STATE";

static constexpr std::string_view names[] = {"r8",  "r9",     "r10", "r11", "r12",  "r13", "r14", "r15",
                                             "rdi", "rsi",    "rbp", "rbx", "rdx",  "rax", "rcx", "rsp",
                                             "rip", "rflags", "",    "err", "trap", "",    "cr2"};

static const greg_t *registersOf(const mcontext_t &context) { return context.gregs; }

std::uint64_t programCounter(const CrashRecord &record)
{
    return static_cast<std::uint64_t>(record.registers[REG_RIP]);
}

std::string_view attemptedAccess(const CrashRecord &record)
{
    constexpr greg_t pageFault = 14;
    constexpr greg_t write = 2;
    constexpr greg_t fetch = 16;
    if (record.registers[REG_TRAPNO] != pageFault)
        return {};
    const greg_t error = record.registers[REG_ERR];
    return (error & fetch) != 0 ? "execute" : (error & write) != 0 ? "write" : "read";
}

#elif defined(__aarch64__)

constinit const std::string_view cpuType = "ARM-64";
constinit const std::string_view threadStateFlavor = "ARM_THREAD_STATE64";

static constexpr std::string_view names[] = {"x0",  "x1",  "x2",  "x3",  "x4",  "x5",  "x6",  "x7",  "x8",
                                             "x9",  "x10", "x11", "x12", "x13", "x14", "x15", "x16", "x17",
                                             "x18", "x19", "x20", "x21", "x22", "x23", "x24", "x25", "x26",
                                             "x27", "x28", "fp",  "lr",  "sp",  "pc",  "cpsr"};

// The stack pointer, the program counter and the status follow the numbered ones.
static const greg_t *registersOf(const mcontext_t &context)
{
    return reinterpret_cast<const greg_t *>(context.regs);
}

std::uint64_t programCounter(const CrashRecord &record) { return record.registers[32]; }

std::string_view attemptedAccess(const CrashRecord &) { return {}; }

#else
#error "The registers of this processor have no names yet."
#endif

static_assert(std::size(names) == std::size(CrashRecord{}.registers));
constinit const std::span<const std::string_view> registerNames = names;

void copyRegisters(const ucontext_t &context, CrashRecord &record)
{
    std::copy_n(registersOf(context.uc_mcontext), std::size(names), record.registers);
}
