#pragma once

#include "CrashReporter/CrashRecord.h"

#include <optional>

/*! Reads the record of a crash; waits until it is there. Nil where what comes is too short or no record of
   this build.
*/
std::optional<CrashRecord> readRecord(int descriptor);
