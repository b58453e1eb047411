#include "Platform/ExceptionHandling/TerminateHandler.h"

#include "Platform/Foundation/Atomic.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <unistd.h>
#include <utility>

namespace Marblewick {

namespace {

using Steps = std::span<const TerminationStep>;

constexpr time_t timeLimit = 10; // seconds

/*! Never destroyed: there may be an exception to the very end. */
Atomic<Steps> &recordingSteps()
{
    static auto *const steps = new Atomic<Steps>;
    return *steps;
}

Atomic<Steps> &reportingSteps()
{
    static auto *const steps = new Atomic<Steps>;
    return *steps;
}

constinit std::atomic<std::terminate_handler> formerHandler = nullptr;

constinit std::atomic<bool> hasFirst = false;
/*! How many threads take their steps. */
constinit std::atomic<int> busyThreads = 0;

/*! A thread on its way to the end. */
struct Ending
{
    const Termination termination;
    const bool isFirst = !hasFirst.exchange(true);
    Steps recording = isFirst && termination.exception ? recordingSteps().load() : Steps();
    Steps reporting = termination.exception ? reportingSteps().load() : Steps();
};

/*! Null before, and after all steps. It outlives the thread, whose own variables may be destroyed already. */
constinit thread_local Ending *ending = nullptr;
constinit thread_local bool hasBegun = false;

/*! A SIGABRT for this thread when the time is over. By a timer of the system's, because another thread would
   be one more that has to be started, and that crash logs show.
*/
std::optional<timer_t> startTimeLimit()
{
    sigset_t abortSignal;
    ::sigemptyset(&abortSignal);
    ::sigaddset(&abortSignal, SIGABRT);
    ::pthread_sigmask(SIG_UNBLOCK, &abortSignal, nullptr);

    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGABRT;
    event._sigev_un._tid = ::gettid();
    timer_t timer = nullptr;
    constexpr itimerspec time = {.it_interval = {}, .it_value = {.tv_sec = timeLimit, .tv_nsec = 0}};
    if (::timer_create(CLOCK_MONOTONIC, &event, &timer) != 0)
        return std::nullopt;
    ::timer_settime(timer, 0, &time, nullptr);
    return timer;
}

/*! A step that throws ends here, too, and comes back through terminate(): then those behind it follow. */
void take(Steps &steps, const Termination &termination) noexcept
{
    while (!steps.empty()) {
        const TerminationStep step = steps.front();
        steps = steps.subspan(1);
        step(termination);
    }
}

[[noreturn]] void waitForTheEnd()
{
    for (;;)
        ::pause();
}

void takeSteps()
{
    take(ending->recording, ending->termination);
    take(ending->reporting, ending->termination);
    --busyThreads;
    busyThreads.notify_all();
    if (!std::exchange(ending, nullptr)->isFirst)
        waitForTheEnd(); // The first thread ends the process.
    while (const int count = busyThreads)
        busyThreads.wait(count);
}

[[noreturn]] void terminate()
{
    static constinit std::optional<timer_t> timer;
    if (!std::exchange(hasBegun, true)) {
        ++busyThreads;
        ending = new Ending{
            .termination = {std::current_exception(), StackTrace(__builtin_return_address(0))}};
        if (ending->isFirst)
            timer = startTimeLimit();
        if (!ending->reporting.empty() && formerHandler == &__gnu_cxx::__verbose_terminate_handler)
            formerHandler = nullptr; // It would print the exception once more, and unescaped.
    }
    if (ending) {
        takeSteps();
        if (timer)
            ::timer_delete(*timer);
    }
    if (const std::terminate_handler former = formerHandler.exchange(nullptr))
        former();
    std::abort();
}

void installOnce()
{
    static const bool isInstalled = [] {
        formerHandler = std::set_terminate(&terminate);
        return true;
    }();
    static_cast<void>(isInstalled);
}

} // namespace

void setRecordingSteps(std::span<const TerminationStep> steps)
{
    recordingSteps().store(steps);
    installOnce();
}

void setReportingSteps(std::span<const TerminationStep> steps)
{
    reportingSteps().store(steps);
    installOnce();
}

} // namespace Marblewick
