#pragma once

#include "CrashReporter/CrashRecord.h"

/*! Answers the crashes of this process: has a log written, then lets the process die as it would have.

    install() and prepare() belong to ordinary times. What happens at a crash calls only what the list in
    docs/architecture.md names, because the crashed thread may hold any lock, that of malloc among them, and
    nothing that it shares with others can be trusted.
*/
namespace CrashHandler {

/*! Takes over the crash signals of the whole process. False, with `errno` set and nothing taken over, where
   the system refuses. Once for each process.
*/
bool install();

/*! Whether install() has succeeded. */
bool isInstalled();

/*! What is known before a crash: the names, the versions and the paths of the record, and the absolute path
   of the helper. Copied; what did not fit is cut. To be called before install() and whenever that changes.
   One thread at a time.
*/
void prepare(const CrashRecord &record, const char *helper);

} // namespace CrashHandler
