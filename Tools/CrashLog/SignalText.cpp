#include "Tools/CrashLog/SignalText.h"

#include "Tools/CrashLog/SystemText.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

struct SignalName
{
    int number;
    const char *name;
    const char *words;
};

constexpr SignalName signalNames[] = {
    {SIGSEGV, "SIGSEGV", "Segmentation fault"},
    {SIGABRT, "SIGABRT", "Abort"},
    {SIGBUS, "SIGBUS", "Bus error"},
    {SIGFPE, "SIGFPE", "Arithmetic error"},
    {SIGILL, "SIGILL", "Illegal instruction"},
    {SIGTRAP, "SIGTRAP", "Trap"},
    {SIGSYS, "SIGSYS", "Bad system call"},
};

struct CodeName
{
    int signal; ///< 0 for the codes that any signal can have
    int code;
    const char *name;
};

constexpr int filteredSystemCall = 1; // The C library has no name for it.

constexpr CodeName codeNames[] = {
    {0, SI_USER, "SI_USER"},
    {0, SI_KERNEL, "SI_KERNEL"},
    {0, SI_QUEUE, "SI_QUEUE"},
    {0, SI_TKILL, "SI_TKILL"},
    {SIGSEGV, SEGV_MAPERR, "SEGV_MAPERR"},
    {SIGSEGV, SEGV_ACCERR, "SEGV_ACCERR"},
    {SIGSEGV, SEGV_BNDERR, "SEGV_BNDERR"},
    {SIGSEGV, SEGV_PKUERR, "SEGV_PKUERR"},
    {SIGBUS, BUS_ADRALN, "BUS_ADRALN"},
    {SIGBUS, BUS_ADRERR, "BUS_ADRERR"},
    {SIGBUS, BUS_OBJERR, "BUS_OBJERR"},
    {SIGBUS, BUS_MCEERR_AR, "BUS_MCEERR_AR"},
    {SIGBUS, BUS_MCEERR_AO, "BUS_MCEERR_AO"},
    {SIGFPE, FPE_INTDIV, "FPE_INTDIV"},
    {SIGFPE, FPE_INTOVF, "FPE_INTOVF"},
    {SIGFPE, FPE_FLTDIV, "FPE_FLTDIV"},
    {SIGFPE, FPE_FLTOVF, "FPE_FLTOVF"},
    {SIGFPE, FPE_FLTUND, "FPE_FLTUND"},
    {SIGFPE, FPE_FLTRES, "FPE_FLTRES"},
    {SIGFPE, FPE_FLTINV, "FPE_FLTINV"},
    {SIGFPE, FPE_FLTSUB, "FPE_FLTSUB"},
    {SIGILL, ILL_ILLOPC, "ILL_ILLOPC"},
    {SIGILL, ILL_ILLOPN, "ILL_ILLOPN"},
    {SIGILL, ILL_ILLADR, "ILL_ILLADR"},
    {SIGILL, ILL_ILLTRP, "ILL_ILLTRP"},
    {SIGILL, ILL_PRVOPC, "ILL_PRVOPC"},
    {SIGILL, ILL_PRVREG, "ILL_PRVREG"},
    {SIGILL, ILL_COPROC, "ILL_COPROC"},
    {SIGILL, ILL_BADSTK, "ILL_BADSTK"},
    {SIGTRAP, TRAP_BRKPT, "TRAP_BRKPT"},
    {SIGTRAP, TRAP_TRACE, "TRAP_TRACE"},
    {SIGTRAP, TRAP_HWBKPT, "TRAP_HWBKPT"},
    {SIGSYS, filteredSystemCall, "SYS_SECCOMP"},
};

std::string codeName(const siginfo_t &signal)
{
    const auto *const found = std::ranges::find_if(codeNames, [&](const CodeName &name) {
        return (name.signal == signal.si_signo || name.signal == 0) && name.code == signal.si_code;
    });
    return found == std::end(codeNames) ? "si_code " + std::to_string(signal.si_code) : found->name;
}

bool isSentByProcess(const siginfo_t &signal) { return signal.si_code <= 0; }

/*! " (write)" and the like; empty where the processor does not say what was tried. */
std::string access([[maybe_unused]] const CrashRecord &record)
{
#if defined(__x86_64__)
    constexpr greg_t pageFault = 14;
    constexpr greg_t write = 2;
    constexpr greg_t fetch = 16;
    if (record.registers[REG_TRAPNO] == pageFault) {
        const greg_t error = record.registers[REG_ERR];
        return error & fetch ? " (execute)" : error & write ? " (write)" : " (read)";
    }
#endif
    return {};
}

std::string sender(const CrashRecord &record)
{
    const pid_t process = record.signal.si_pid;
    if (process == record.process)
        return " by the process itself";
    const std::string name = nameOfProcess(process);
    return " by process " + std::to_string(process) + (name.empty() ? "" : " (" + name + ')');
}

std::string reason(const CrashRecord &record)
{
    const siginfo_t &signal = record.signal;
    if (isSentByProcess(signal))
        return sender(record);
    if (signal.si_signo == SIGSYS)
        return ", system call " + std::to_string(signal.si_syscall);
    if (const auto address = faultAddress(signal))
        return " at " + hexadecimal(*address) + access(record);
    // A pointer whose upper bits are no sign, such as one that was overwritten with text.
    return signal.si_signo == SIGSEGV ? " at an address that no memory can have" : "";
}

} // namespace

SignalText signalText(const CrashRecord &record)
{
    const siginfo_t &signal = record.signal;
    const auto *const found = std::ranges::find(signalNames, signal.si_signo, &SignalName::number);
    const std::string subtype = codeName(signal) + reason(record);
    if (found == std::end(signalNames))
        return {"Signal", "signal " + std::to_string(signal.si_signo), subtype};
    return {found->words, found->name, subtype};
}

std::optional<std::uint64_t> faultAddress(const siginfo_t &signal)
{
    const bool hasAddress = signal.si_signo == SIGSEGV || signal.si_signo == SIGBUS
                            || signal.si_signo == SIGFPE || signal.si_signo == SIGILL;
    if (!hasAddress || isSentByProcess(signal) || signal.si_code == SI_KERNEL)
        return std::nullopt;
    return reinterpret_cast<std::uint64_t>(signal.si_addr);
}

std::string hexadecimal(std::uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%016" PRIx64, value);
    return text;
}
