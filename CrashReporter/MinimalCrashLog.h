#pragma once

#include "CrashReporter/CrashRecord.h"

/*! Writes the log that the crashed process can write itself where the helper has not: what the record tells,
   and of the crashed thread the registers and where it was. False, with nothing left behind, where it cannot
   be written. Allocates nothing and takes no lock.
*/
bool writeMinimalCrashLog(const CrashRecord &record);
