#include "Platform/ExceptionHandling/TerminateHandler.h"

#include "Platform/ExceptionHandling/TimeLimit.h"
#include "Platform/Foundation/Atomic.h"

#include <QList>

#include <atomic>
#include <cstdlib>
#include <optional>
#include <unistd.h>
#include <utility>

namespace Marblewick {

namespace {

using Steps = std::span<const TerminationStep>;

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

/*! Those that were current when ours took their place, the latest last: it goes on first, and comes back here
    where it calls the one that it replaced itself.
*/
Atomic<QList<std::terminate_handler>> &formerHandlers()
{
    static auto *const handlers = new Atomic<QList<std::terminate_handler>>;
    return *handlers;
}

void removeFormerHandler(std::terminate_handler handler)
{
    formerHandlers().change([=](auto &handlers) { handlers.removeAll(handler); });
}

std::terminate_handler takeFormerHandler()
{
    std::terminate_handler handler = &std::abort;
    formerHandlers().change([&](auto &handlers) {
        if (!handlers.isEmpty())
            handler = handlers.takeLast();
    });
    return handler;
}

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
    std::optional<TimeLimit> timeLimit = std::nullopt;
};

/*! Null before, and after all steps. It outlives the thread, whose own variables may be destroyed already. */
constinit thread_local Ending *ending = nullptr;
constinit thread_local bool hasBegun = false;

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
    Ending *const done = std::exchange(ending, nullptr);
    if (!done->isFirst)
        waitForTheEnd(); // The first thread ends the process.
    while (const int count = busyThreads)
        busyThreads.wait(count);
    done->timeLimit.reset();
}

[[noreturn]] void terminate()
{
    if (!std::exchange(hasBegun, true)) {
        ++busyThreads;
        ending = new Ending{
            .termination = {std::current_exception(), StackTrace(__builtin_return_address(0))}};
        if (ending->isFirst)
            ending->timeLimit.emplace();
        if (!ending->reporting.empty()) // It would print the exception once more, and unescaped.
            removeFormerHandler(&__gnu_cxx::__verbose_terminate_handler);
    }
    if (ending)
        takeSteps();
    takeFormerHandler()();
    std::abort();
}

/*! In front of what the host has installed, also since the last time. */
void install()
{
    const std::terminate_handler current = std::set_terminate(&terminate);
    if (current == &terminate)
        return;
    removeFormerHandler(current); // Once is enough, however often the host installs it.
    formerHandlers().change([=](auto &handlers) { handlers.append(current); });
}

} // namespace

void setRecordingSteps(std::span<const TerminationStep> steps)
{
    recordingSteps().store(steps);
    if (!steps.empty())
        install();
}

void setReportingSteps(std::span<const TerminationStep> steps)
{
    reportingSteps().store(steps);
    if (!steps.empty())
        install();
}

} // namespace Marblewick
