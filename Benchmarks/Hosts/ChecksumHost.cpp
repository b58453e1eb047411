// Prints the checksum of what lies at a path, and the most memory that this process ever had, in KiB.

#include <Marblewick/NSData+MBWExtensions.h>
#include <Marblewick/NSFileManager+MBWExtensions.h>

#include <QFile>

#include <cstdio>
#include <cstring>

namespace {

long peakMemory()
{
    FILE *const file = std::fopen("/proc/self/status", "re");
    char line[256];
    long peak = 0;
    while (file && std::fgets(line, sizeof line, file)) {
        if (std::strncmp(line, "VmHWM:", 6) == 0)
            std::sscanf(line, "%*s %ld", &peak);
    }
    if (file)
        std::fclose(file);
    return peak;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace Marblewick;
    if (argc != 2)
        return 2;
    const auto checksum = MBWExtensions::checksumForFileAtPath(NSFileManager::defaultManager(),
                                                               QFile::decodeName(argv[1]));
    if (!checksum)
        return 1;
    std::printf("%s %ld\n", qPrintable(MBWExtensions::hexadecimalString(*checksum)), peakMemory());
    return 0;
}
