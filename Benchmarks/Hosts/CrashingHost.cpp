// A host with as many threads as its first argument says, which prints its process id and the time, in
// seconds of the monotonic clock, and crashes. With a second argument it writes no crash log but waits,
// crashed, to be looked at.

#include "Benchmarks/Hosts/Host.h"

#include <Marblewick/MBWCrashLogWriter.h>

#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

static int threadCount = 1;

static void waitForDebugger(int)
{
    for (;;)
        ::pause();
}

static void crash()
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    std::printf("%d %lld.%09ld\n", ::getpid(), static_cast<long long>(now.tv_sec), now.tv_nsec);
    std::fflush(stdout);
    static volatile int *volatile pointer = nullptr;
    *pointer = 1;
}

int main(int argc, char **argv)
{
    constexpr rlimit noCoreDump{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCoreDump);
    threadCount = argc > 1 ? std::atoi(argv[1]) : 1;
    if (argc > 2)
        std::signal(SIGSEGV, waitForDebugger);
    else if (!MBWCrashLogWriter::install())
        return EXIT_FAILURE;
    return runHost(argc, argv, [] {
        for (int i = 1; i < threadCount; ++i)
            std::thread([] { ::pause(); }).detach();
        QTimer::singleShot(0, crash);
    });
}
