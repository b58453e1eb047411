#pragma once

#include "CrashReporter/CrashRecord.h"

// The program that observes a crashed process and writes its log, as the crashed process sees it. Nothing
// here allocates or takes a lock.

/*! Remembers by whose rights the process runs and whether it may be observed. At install time. */
void prepareForHelper();

/*! Runs the program at `path` until it ends, for 3 seconds at most; then it is killed. The record is in its
    standard input; it may observe the process, also where the host has forbidden that to everybody since
    prepareForHelper(), but not where it has changed its user or group since. Where it cannot be run nothing
    happens.
*/
void runHelper(const char *path, const CrashRecord &record);

/*! Kills what runHelper() has started and left running because a crash of the handler has interrupted it, and
    lets nobody observe the process any more.
*/
void stopHelper();
