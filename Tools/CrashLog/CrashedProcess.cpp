#include "Tools/CrashLog/CrashedProcess.h"

#include <algorithm>

namespace {

/*! How long the threads may take to stand still, which is a matter of microseconds unless they wait for a
 * disk. */
constexpr std::chrono::milliseconds patience{200};

} // namespace

CrashedProcess observe(const CrashRecord &record)
{
    Threads threads = stopThreads(record.process, record.thread, patience);
    CrashedProcess process{.record = record,
                           .regions = regionsOfProcess(record.process),
                           .images = {},
                           .threads = std::move(threads.shown),
                           .omittedThreads = threads.omitted};
    process.images = imagesInRegions(process.regions);
    auto crashed = std::ranges::find(process.threads, record.thread, &Thread::id);
    if (crashed == process.threads.end()) // The list of threads could not be read.
        crashed = process.threads.insert(crashed, {record.thread, {}, {}});
    crashed->registers = registersOfSignal(record.registers);
    process.crashedThread = static_cast<std::size_t>(crashed - process.threads.begin());
    return process;
}
