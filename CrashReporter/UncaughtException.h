#pragma once

struct CrashRecord;

/*! Remembers, from now on, the exception that nobody caught when it ends the process. Then goes on with the
    terminate handler that was there before.
*/
void rememberUncaughtExceptions();

/*! Puts the remembered exception into the record where the crashed thread is the one that threw it. Allocates
    nothing and takes no lock.
*/
void addUncaughtException(CrashRecord &record);
