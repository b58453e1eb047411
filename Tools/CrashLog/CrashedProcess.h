#pragma once

#include "Tools/CrashLog/MemoryMap.h"
#include "Tools/CrashLog/StoppedThreads.h"

#include "CrashReporter/CrashRecord.h"

#include <vector>

/*! What the kernel told of a crashed process. */
struct CrashedProcess
{
    const CrashRecord &record;
    std::vector<Region> regions;
    std::vector<Image> images;
    std::vector<Thread> threads; ///< the crashed one has the registers of the record
    std::size_t omittedThreads = 0; ///< number of those that are too many
    std::size_t crashedThread = 0; ///< its index
};

/*! Looks at a process and stops it. The record must outlive the result. */
CrashedProcess observe(const CrashRecord &record);
