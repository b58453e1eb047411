#pragma once

#include "Tools/CrashLog/MemoryMap.h"

#include <signal.h>

#include <string>
#include <vector>

/*! Says, in a few lines, which region holds the address that a process could not use, and which ones lie
   before and after it. Empty for a signal that came from no such address.
*/
std::string textOfFaultRegion(const siginfo_t &signal, const std::vector<Region> &regions);
