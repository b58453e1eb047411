#include "CrashReporter/CrashHandler.h"

#include "CrashReporter/CrashLogFile.h"
#include "CrashReporter/CrashRegisters.h"
#include "CrashReporter/CrashSignals.h"
#include "CrashReporter/FixedText.h"
#include "CrashReporter/HelperProcess.h"
#include "CrashReporter/MinimalCrashLog.h"
#include "CrashReporter/UncaughtException.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Prepared
{
    CrashRecord record;
    char helper[PATH_MAX] = {};
};

/*! Two, so that a crash finds one whole while the other is being replaced. */
constinit Prepared prepared[2];
constinit std::atomic<unsigned> preparedIndex = 0;

constinit std::atomic<bool> installed = false;
/*! What the host did with each of crashSignals before. */
constinit struct sigaction formerActions[crashSignals.size()] = {};

/*! A thread and its process: a child that was forked inherits these variables, but not the crash. (Aligned:
   for an atomic that is not, clang calls libatomic, and a call into a library has no place in a signal
   handler.)
*/
struct alignas(8) ThreadIdentity
{
    pid_t process = 0;
    pid_t thread = 0;

    bool operator==(const ThreadIdentity &) const = default;
};
static_assert(std::atomic<ThreadIdentity>::is_always_lock_free);

/*! The thread whose crash is being written; nobody where none is. */
constinit std::atomic<ThreadIdentity> writer = ThreadIdentity{};

/*! A crash, by its thread and its signal. (Aligned for the same reason.) */
struct alignas(8) HandedOnCrash
{
    pid_t thread = 0;
    int signal = 0;
};
static_assert(std::atomic<HandedOnCrash>::is_always_lock_free);

/*! The last one that was written and then left to a handler of the host's. */
constinit std::atomic<HandedOnCrash> handedOnCrash = HandedOnCrash{};

/*! The crash that is being written. Its owner's alone. */
constinit Prepared crash;

/*! How far the owner is, so that a crash of the handler itself leads on, not round. */
enum class Attempt { Helper, Alone, Failed };
constinit std::atomic<Attempt> attempt = Attempt::Helper;

ThreadIdentity thisThread() { return {::getpid(), ::gettid()}; }

const struct sigaction &formerAction(int number)
{
    return formerActions[&crashSignal(number) - crashSignals.data()];
}

/*! Whether the signal would not have done anything without the handler. Faults and abort() end a process that
    ignores their signals, too.
*/
bool isIgnored(const siginfo_t &signal)
{
    const bool isSent = signal.si_code <= 0;
    const bool isAbort = signal.si_signo == SIGABRT && signal.si_pid == ::getpid();
    return formerAction(signal.si_signo).sa_handler == SIG_IGN && isSent && !isAbort;
}

/*! Whether the calling thread is the one to write. Where another one writes, waits until that has ended. */
bool becomeWriter(ThreadIdentity self)
{
    ThreadIdentity holder = writer.load();
    while (holder.process
           != self.process) { // nobody, or a thread of the process that this one was forked from
        if (writer.compare_exchange_weak(holder, self))
            return true;
    }
    constexpr timespec pause = {.tv_sec = 0, .tv_nsec = 2'000'000};
    while (writer.load() == holder)
        ::nanosleep(&pause, nullptr);
    return false;
}

/*! Whether a handler of the host's has made this crash out of the one that was left to it, as by abort().
    Such a handler has its signal blocked; one that does not cannot be told from what comes after it.
*/
bool isMadeOfHandedOnCrash(const ucontext_t &context)
{
    const HandedOnCrash former = handedOnCrash;
    return former.thread == ::gettid()
           && (::sigismember(&context.uc_sigmask, former.signal) == 1
               || (formerAction(former.signal).sa_flags & SA_NODEFER) != 0);
}

void recordCrash(ThreadIdentity self, const siginfo_t &signal, const ucontext_t &context)
{
    crash = prepared[preparedIndex.load()];
    CrashRecord &record = crash.record;
    record.process = self.process;
    record.thread = self.thread;
    ::clock_gettime(CLOCK_REALTIME, &record.crashTime);
    record.signal = signal;
    copyRegisters(context, record);
    uncaughtException.addTo(record);
}

/*! The log is there or it is not; what the helper says of it does not count. */
void writeLog()
{
    const CrashLogFile log(crash.record);
    if (attempt == Attempt::Helper)
        runHelper(crash.helper, crash.record);
    attempt = Attempt::Alone;
    log.removeUnfinished();
    if (!log.exists())
        writeMinimalCrashLog(crash.record);
}

/*! Delivers the signal once more, as it was, to whoever had it before the handler: by default that is death,
    with the exit status and the core dump that belong to it. It arrives when this thread no longer blocks it.
*/
void deliverAgain(const siginfo_t &signal, const struct sigaction &action)
{
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, signal.si_signo);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::sigaction(signal.si_signo, &action, nullptr);
    if (::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), ::gettid(), signal.si_signo, &signal) != 0)
        ::syscall(SYS_tgkill, ::getpid(), ::gettid(), signal.si_signo);
}

struct sigaction defaultAction()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    return action;
}

/*! The handler itself has crashed: tries what is left to try, and dies of the first crash's signal. */
[[noreturn]] void endCrashOfHandler()
{
    const Attempt failed = attempt.exchange(Attempt::Failed);
    if (failed == Attempt::Helper) {
        stopHelper();
        attempt = Attempt::Alone;
        writeLog();
    } else if (failed == Attempt::Alone) {
        CrashLogFile(crash.record).removeUnfinished();
    }
    deliverAgain(crash.record.signal, defaultAction());
    sigset_t none;
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    ::_exit(128 + crash.record.signal.si_signo); // No one is left to go on to.
}

/*! Whether a handler of the host's goes on with the crash. */
bool endCrash(ThreadIdentity self, const siginfo_t &signal)
{
    const struct sigaction &former = formerAction(signal.si_signo);
    const bool isHandled = former.sa_handler != SIG_DFL && former.sa_handler != SIG_IGN;
    deliverAgain(signal, isHandled ? former : defaultAction());
    if (isHandled && writer == self) {
        handedOnCrash = {.thread = self.thread, .signal = signal.si_signo};
        writer = ThreadIdentity{}; // Other crashed threads go on, to the host's handlers.
    }
    return isHandled;
}

void handleCrash(int, siginfo_t *signal, void *crashedContext)
{
    if (isIgnored(*signal))
        return;
    const int formerError = errno;
    int formerState = 0;
    ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &formerState); // System calls must not end the thread.

    const auto &context = *static_cast<const ucontext_t *>(crashedContext);
    const ThreadIdentity self = thisThread();
    if (writer == self) {
        endCrashOfHandler();
    } else if (!isMadeOfHandedOnCrash(context) && becomeWriter(self)) {
        recordCrash(self, *signal, context);
        attempt = Attempt::Helper;
        writeLog();
    }
    if (endCrash(self, *signal)) // Otherwise a thread that was cancelled meanwhile would end here, not die.
        ::pthread_setcancelstate(formerState, nullptr);
    errno = formerError;
}

/*! While the handler runs all signals wait, but for those by which it may crash itself. */
struct sigaction crashAction()
{
    struct sigaction action = {};
    action.sa_sigaction = &handleCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    ::sigfillset(&action.sa_mask);
    for (const CrashSignal &signal : crashSignals) {
        if (signal.number != SIGABRT)
            ::sigdelset(&action.sa_mask, signal.number);
    }
    return action;
}

} // namespace

bool CrashHandler::install()
{
    prepareForHelper();
    const struct sigaction action = crashAction();
    for (std::size_t index = 0; index < crashSignals.size(); ++index) {
        if (::sigaction(crashSignals[index].number, &action, &formerActions[index]) == 0)
            continue;
        const int error = errno;
        while (index-- > 0)
            ::sigaction(crashSignals[index].number, &formerActions[index], nullptr);
        errno = error;
        return false;
    }
    installed = true;
    return true;
}

bool CrashHandler::isInstalled() { return installed.load(std::memory_order_relaxed); }

void CrashHandler::prepare(const CrashRecord &record, const char *helper)
{
    const unsigned next = 1 - preparedIndex.load();
    prepared[next].record = record;
    FixedText(prepared[next].helper).append(helper);
    preparedIndex = next;
}
