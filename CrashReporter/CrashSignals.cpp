#include "CrashReporter/CrashSignals.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int anySignal = 0;

struct Cause
{
    int signal;
    int code;
    std::string_view name;
};

constexpr Cause causes[] = {
    {SIGSEGV, SEGV_MAPERR, "SEGV_MAPERR"},    {SIGSEGV, SEGV_ACCERR, "SEGV_ACCERR"},
    {SIGSEGV, SEGV_BNDERR, "SEGV_BNDERR"},    {SIGSEGV, SEGV_PKUERR, "SEGV_PKUERR"},
    {SIGBUS, BUS_ADRALN, "BUS_ADRALN"},       {SIGBUS, BUS_ADRERR, "BUS_ADRERR"},
    {SIGBUS, BUS_OBJERR, "BUS_OBJERR"},       {SIGBUS, BUS_MCEERR_AR, "BUS_MCEERR_AR"},
    {SIGBUS, BUS_MCEERR_AO, "BUS_MCEERR_AO"}, {SIGFPE, FPE_INTDIV, "FPE_INTDIV"},
    {SIGFPE, FPE_INTOVF, "FPE_INTOVF"},       {SIGFPE, FPE_FLTDIV, "FPE_FLTDIV"},
    {SIGFPE, FPE_FLTOVF, "FPE_FLTOVF"},       {SIGFPE, FPE_FLTUND, "FPE_FLTUND"},
    {SIGFPE, FPE_FLTRES, "FPE_FLTRES"},       {SIGFPE, FPE_FLTINV, "FPE_FLTINV"},
    {SIGFPE, FPE_FLTSUB, "FPE_FLTSUB"},       {SIGILL, ILL_ILLOPC, "ILL_ILLOPC"},
    {SIGILL, ILL_ILLOPN, "ILL_ILLOPN"},       {SIGILL, ILL_ILLADR, "ILL_ILLADR"},
    {SIGILL, ILL_ILLTRP, "ILL_ILLTRP"},       {SIGILL, ILL_PRVOPC, "ILL_PRVOPC"},
    {SIGILL, ILL_PRVREG, "ILL_PRVREG"},       {SIGILL, ILL_COPROC, "ILL_COPROC"},
    {SIGILL, ILL_BADSTK, "ILL_BADSTK"},       {SIGTRAP, TRAP_BRKPT, "TRAP_BRKPT"},
    {SIGTRAP, TRAP_TRACE, "TRAP_TRACE"},      {SIGSYS, 1, "SYS_SECCOMP"}, // of the kernel's headers only
    {anySignal, SI_USER, "SI_USER"},          {anySignal, SI_KERNEL, "SI_KERNEL"},
    {anySignal, SI_QUEUE, "SI_QUEUE"},        {anySignal, SI_TKILL, "SI_TKILL"},
    {anySignal, SI_MESGQ, "SI_MESGQ"},        {anySignal, SI_TIMER, "SI_TIMER"},
    {anySignal, SI_ASYNCIO, "SI_ASYNCIO"},    {anySignal, SI_SIGIO, "SI_SIGIO"},
};

} // namespace

const CrashSignal &crashSignal(int number)
{
    return *std::ranges::find(crashSignals, number, &CrashSignal::number);
}

bool isFault(const siginfo_t &signal) { return signal.si_code > 0 && signal.si_code != SI_KERNEL; }

bool hasSender(const siginfo_t &signal)
{
    constexpr int sent[] = {SI_USER, SI_QUEUE, SI_TKILL, SI_MESGQ};
    return std::ranges::find(sent, signal.si_code) != std::end(sent);
}

std::string_view causeOfSignal(const siginfo_t &signal)
{
    for (const Cause &cause : causes) {
        if (cause.code == signal.si_code && (cause.signal == anySignal || cause.signal == signal.si_signo))
            return cause.name;
    }
    return {};
}
