#include "Tools/CrashLog/RecordInput.h"

#include "CrashReporter/CrashSignals.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <unistd.h>

namespace {

/*! How many bytes were read: fewer than `size` where the input ended or could not be read on. */
std::size_t readBytes(int descriptor, void *bytes, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(descriptor, static_cast<char *>(bytes) + done, size - done);
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (count == 0 || errno != EINTR)
            break;
    }
    return done;
}

bool isCrash(const siginfo_t &signal)
{
    return std::ranges::find(crashSignals, signal.si_signo, &CrashSignal::number) != crashSignals.end();
}

/*! A crashed process may have written over its own record. */
template <std::size_t size>
void terminate(char (&text)[size])
{
    text[size - 1] = '\0';
}

} // namespace

std::optional<CrashRecord> readRecord(int descriptor)
{
    CrashRecord record;
    const bool isWhole = readBytes(descriptor, &record, sizeof record) == sizeof record;
    if (!isWhole || record.size != sizeof record || record.process <= 0 || !isCrash(record.signal))
        return std::nullopt;
    terminate(record.applicationName);
    terminate(record.bundleIdentifier);
    terminate(record.shortVersion);
    terminate(record.bundleVersion);
    terminate(record.executablePath);
    terminate(record.folder);
    terminate(record.exceptionType);
    terminate(record.exceptionText);
    return record;
}
