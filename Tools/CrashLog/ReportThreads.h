#pragma once

#include "Tools/CrashLog/CrashedProcess.h"
#include "Tools/CrashLog/Report.h"

#include "CrashReporter/JSONWriter.h"

#include <elfutils/libdwfl.h>

/*! Writes the threads with their frames, and which one crashed. Where `images` is null, each thread has one
    frame and no symbol.
*/
void writeThreads(JSONWriter &json, const CrashedProcess &process, Dwfl *images, Detail detail,
                  std::chrono::steady_clock::time_point deadline);
