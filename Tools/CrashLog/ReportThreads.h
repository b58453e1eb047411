#pragma once

#include "Tools/CrashLog/CrashedProcess.h"
#include "Tools/CrashLog/Report.h"

#include "CrashReporter/JSONWriter.h"

#include <elfutils/libdwfl.h>

/*! Writes the threads with their frames, and which one crashed. `images` may be null for Detail::NoStacks. */
void writeThreads(JSONWriter &json, const CrashedProcess &process, Dwfl *images, Detail detail,
                  std::chrono::steady_clock::time_point deadline);
