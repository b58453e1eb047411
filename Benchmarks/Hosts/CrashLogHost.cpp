// A host that has crash logs written, with an argument; without one the same host without them. Prints its
// private memory in KiB, then how many milliseconds went by at the start of main.

#include "Benchmarks/Hosts/Host.h"

#include <Marblewick/MBWCrashLogWriter.h>

#include <chrono>

int main(int argc, char **argv)
{
    const auto start = std::chrono::steady_clock::now();
    if (argc > 1 && !MBWCrashLogWriter::install())
        return 1;
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    const int status = runHost(argc, argv, [] {});
    std::printf("%f\n", time.count());
    return status;
}
