#pragma once

#include "CrashReporter/CrashRecord.h"
#include "CrashReporter/JSONWriter.h"

#include <string_view>

// What a crash log says that the record alone tells. Nothing here allocates or takes a lock, so that a signal
// handler may use it.

/*! The first document, a line of its own. `osVersion` is the system by name and version. */
void writeCrashLogHeader(JSONWriter &json, const CrashRecord &record, std::string_view osVersion);

/*! Members of the second document's object: the process, the times, and why it ended. */
void writeProcessMembers(JSONWriter &json, const CrashRecord &record);
void writeExceptionMembers(JSONWriter &json, const CrashRecord &record);

/*! The member "threadState" of the crashed thread's object: its registers. */
void writeThreadState(JSONWriter &json, const CrashRecord &record);
