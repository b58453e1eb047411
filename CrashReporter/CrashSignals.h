#pragma once

#include <signal.h>

#include <array>
#include <string_view>

/*! A signal that ends a process because of its own mistake. */
struct CrashSignal
{
    int number;
    std::string_view name;
    /*! The kind of mistake, by the name that readers of crash logs know. */
    std::string_view exceptionType;
    std::string_view description;
};

inline constexpr std::array<CrashSignal, 7> crashSignals = {{
    {SIGSEGV, "SIGSEGV", "EXC_BAD_ACCESS", "Segmentation fault"},
    {SIGABRT, "SIGABRT", "EXC_CRASH", "Abort trap"},
    {SIGBUS, "SIGBUS", "EXC_BAD_ACCESS", "Bus error"},
    {SIGFPE, "SIGFPE", "EXC_ARITHMETIC", "Floating point exception"},
    {SIGILL, "SIGILL", "EXC_BAD_INSTRUCTION", "Illegal instruction"},
    {SIGTRAP, "SIGTRAP", "EXC_BREAKPOINT", "Trace/BPT trap"},
    {SIGSYS, "SIGSYS", "EXC_CRASH", "Bad system call"},
}};

/*! The one of this number, which must be one of them. */
const CrashSignal &crashSignal(int number);

/*! Whether the signal came from the instruction that the thread executed, not from a process or a timer. */
bool isFault(const siginfo_t &signal);

/*! Whether a process has sent the signal, so that its number is known. */
bool hasSender(const siginfo_t &signal);

/*! The name of a signal's cause, such as "SEGV_MAPERR"; empty for one without a name. */
std::string_view causeOfSignal(const siginfo_t &signal);
