#pragma once

#include "Tools/CrashLog/CrashedProcess.h"

#include <chrono>

/*! How much of the crash a report tells. Each one needs less of what may be damaged than the one before. */
enum class Detail {
    Everything,
    NoSymbols, ///< addresses of the frames, without functions and lines
    NoStacks, ///< of each thread only where it was
};

/*! Writes the report to a file: a line with a header, then a body, both JSON. False where it could not be
    written. After the deadline no stack is walked and no symbol looked up any more.
*/
bool writeReport(int descriptor, const CrashedProcess &process, Detail detail,
                 std::chrono::steady_clock::time_point deadline);
