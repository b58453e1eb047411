#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QString>

/*! Writes a crash log when the host crashes, where MBWCrashReporter finds it at the next launch.

    A crash is a SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTRAP or SIGSYS, in any thread, and so an
   exception that nobody catches. The log is `<application name>_<date and time>_<process id>.ips` in the
   folder `Logs/DiagnosticReports` of the user's state folder; a slash in the name becomes a colon there. A
   program of its own, `marblewick-crashlog`, observes the crashed process and writes it, within 3 seconds;
   where that fails the process itself writes a short one. Then the process dies by its signal, with the exit
   status and the core dump as they would have been; a handler of that signal that the host installed before
   is called.

    In the log are the threads with their frames, the crashed one's registers, the loaded files, versions and
    times, and the type and text of an uncaught exception. No contents of memory, no environment and no
    command-line arguments.

    Main thread.
*/
class MARBLEWICK_CORE_EXPORT MBWCrashLogWriter
{
public:
    MBWCrashLogWriter() = delete;

    /*! From now on crashes are written. To be called first thing in `main`, before other threads are started,
        because those that run already cannot write an overflow of their stack.

        The application's name (see MBWApplicationName()), its versions and its bundle identifier are followed
        as they become known: when the application object is made, and when its name or version changes. Of
       the host's own logs the 20 newest are kept, the others are removed. Calling it again takes over what
       has changed without an application object.

        False, with `error` set and nothing installed: EPERM where the process has more rights than its user
        (set-user-ID and the like), whose files it must not write; the system's reason, with the path, where
       the folder is missing and cannot be made; the system's reason where the handlers cannot be installed.
    */
    static bool install(Marblewick::NSError *error = nullptr);

    /*! The same with the helper program at another absolute path than `marblewick/marblewick-crashlog` beside
        the library, for a host that is packed otherwise. A missing helper is no error but a line in the
       process log.
    */
    static bool installWithHelperAtPath(const QString &path, Marblewick::NSError *error = nullptr);
};
