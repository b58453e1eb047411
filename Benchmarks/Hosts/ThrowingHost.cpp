// A host that prints its process id and the time, in seconds of the monotonic clock, and then throws what
// nobody catches, 30 frames deep, and logs it to standard error. With an argument it waits there, to be
// looked at.

#include "Benchmarks/Hosts/Host.h"

#include <Marblewick/MBWExceptionHandler.h>

#include <ctime>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

static bool waits = false;

[[gnu::noipa]] static void throwText()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    std::printf("%d %lld.%09ld\n", ::getpid(), static_cast<long long>(now.tv_sec), now.tv_nsec);
    std::fflush(stdout);
    while (waits)
        ::pause();
    throw std::runtime_error("the map is upside down");
}

[[gnu::noipa]] static void descend(int levels)
{
    if (levels > 1)
        descend(levels - 1);
    else
        throwText();
    asm volatile(""); // What follows keeps the call from becoming a jump.
}

int main(int argc, char **argv)
{
    constexpr rlimit noCoreDump{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCoreDump);
    waits = argc > 1;
    MBWExceptionHandler::sharedHandler();
    Marblewick::NSExceptionHandler::defaultExceptionHandler()->setExceptionHandlingMask(
        Marblewick::NSLogUncaughtExceptionMask);
    return runHost(argc, argv, [] { QTimer::singleShot(0, [] { descend(13); }); });
}
