#pragma once

#include "CrashReporter/CrashRecord.h"

// The program that observes a crashed process and writes its log, as the crashed process sees it. Nothing
// here allocates or takes a lock.

/*! Runs the program at `path` until it ends, for 3 seconds at most; then it is killed. The record is in its
    standard input; it may observe the process, whatever the system's rules for observing are. Where it cannot
    be run nothing happens.
*/
void runHelper(const char *path, const CrashRecord &record);

/*! Kills what runHelper() has started and left running because a crash of the handler has interrupted it. */
void stopHelper();
