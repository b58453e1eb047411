// A helper program that fails in the way that its own file name says.

#include "CrashReporter/CrashLogFile.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace {

CrashRecord receivedRecord()
{
    CrashRecord record;
    auto *bytes = reinterpret_cast<char *>(&record);
    std::size_t length = 0;
    while (length < sizeof record) {
        const ssize_t count = ::read(STDIN_FILENO, bytes + length, sizeof record - length);
        if (count <= 0)
            std::exit(EXIT_FAILURE);
        length += static_cast<std::size_t>(count);
    }
    return record;
}

[[noreturn]] void hang()
{
    for (;;)
        ::pause();
}

/*! Begins a log, with a second process as it might be in the middle of something, and gets no further. */
[[noreturn]] void hangWithUnfinishedLog()
{
    const CrashRecord record = receivedRecord();
    CrashLogFile file(record);
    if (!file.create() || ::write(file.descriptor(), "{", 1) != 1)
        std::exit(EXIT_FAILURE);
    ::fork();
    hang();
}

} // namespace

int main(int, char **argv)
{
    const std::string_view path(argv[0]);
    const std::string_view name = path.substr(path.rfind('/') + 1);
    if (name == "hangs")
        hang();
    if (name == "hangs-in-the-middle")
        hangWithUnfinishedLog();
    if (name == "is-killed")
        ::raise(SIGKILL);
    if (name == "closes-its-input") {
        ::close(STDIN_FILENO);
        hang();
    }
    return name == "lies" ? EXIT_SUCCESS : EXIT_FAILURE;
}
