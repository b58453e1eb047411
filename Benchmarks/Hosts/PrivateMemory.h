#pragma once

#include <cstdio>
#include <cstring>

/*! Prints the memory, in KiB, that this process shares with no other. */
inline void printPrivateMemory()
{
    FILE *const file = std::fopen("/proc/self/smaps_rollup", "re");
    char line[256];
    long total = 0;
    while (file && std::fgets(line, sizeof line, file)) {
        long amount = 0;
        if (std::strncmp(line, "Private_", 8) == 0 && std::sscanf(line, "%*s %ld", &amount) == 1)
            total += amount;
    }
    if (file)
        std::fclose(file);
    std::printf("%ld\n", total);
}
