// The crash-log helper. A crashed process starts it and tells it, on standard input, what happened; it looks
// at that process from outside and writes the report. Its status is 0 where the report is in place.

#include "Tools/CrashLog/ChildAttempt.h"
#include "Tools/CrashLog/CrashedProcess.h"
#include "Tools/CrashLog/RecordInput.h"
#include "Tools/CrashLog/Report.h"

#include "CrashReporter/CrashLogFile.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

enum ExitStatus { reportWritten = 0, noRecord = 1, noReport = 2 };

// The crashed process waits for 3 seconds.
constexpr auto timeForEverything = 2000ms;
constexpr auto timeWithoutSymbols = 2400ms;

/*! Gives the standard streams that are closed a place, so that no file gets their numbers and what a library
   may print.
*/
void openStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    ::close(descriptor);
}

void limit(__rlimit_resource_t resource, rlim_t value)
{
    const rlimit both{value, value};
    ::setrlimit(resource, &both);
}

/*! Bytes of memory that this program may write to. */
rlim_t dataSize()
{
    std::ifstream sizes("/proc/self/statm");
    rlim_t pages = 0;
    for (int field = 1; field <= 6; ++field)
        sizes >> pages;
    return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

/*! What the crashed process loaded may be made to do harm to those who look at it. */
void limitResources()
{
    constexpr rlim_t mebibyte = 1024 * 1024;
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_DATA, dataSize() + 1024 * mebibyte);
    limit(RLIMIT_FSIZE, 60 * mebibyte); // Reports above 64 MiB are not shown.
    ::signal(SIGXFSZ, SIG_IGN); // So to write more fails, rather than to end the program.
}

/*! Writes the report in a process of its own, because the images may crash or hang what reads them. */
bool isWrittenByChild(int descriptor, const CrashedProcess &process, Detail detail, Clock::time_point end)
{
    return succeedsInChild(end, [&] {
        const Clock::time_point now = Clock::now();
        return writeReport(descriptor, process, detail, now + (end - now) * 3 / 4);
    });
}

/*! Removes what an attempt has left in the file. */
bool makeEmpty(int descriptor)
{
    return ::ftruncate(descriptor, 0) == 0 && ::lseek(descriptor, 0, SEEK_SET) == 0;
}

/*! Writes as much as can be found out. */
bool writeBestReport(int descriptor, const CrashedProcess &process, Clock::time_point start)
{
    return isWrittenByChild(descriptor, process, Detail::Everything, start + timeForEverything)
           || (makeEmpty(descriptor)
               && isWrittenByChild(descriptor, process, Detail::NoSymbols, start + timeWithoutSymbols))
           || (makeEmpty(descriptor) && writeReport(descriptor, process, Detail::NoStacks, start));
}

} // namespace

int main()
{
    openStandardStreams();
    limitResources();
    const std::optional<CrashRecord> record = readRecord(STDIN_FILENO);
    if (!record)
        return noRecord;
    const Clock::time_point start = Clock::now();
    const CrashedProcess process = observe(*record);
    CrashLogFile file(*record);
    const bool isWritten = file.create() && writeBestReport(file.descriptor(), process, start)
                           && file.complete();
    return isWritten ? reportWritten : noReport;
}
