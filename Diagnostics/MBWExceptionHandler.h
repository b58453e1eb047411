#pragma once

#include <Marblewick/NSExceptionHandler.h>

#include <QString>

/*! Writes the backtrace of each exception that the platform's exception handler reports, as numbered lines
   with function, file and line, to standard error: and so to the log file where MBWLogManager has sent it
   there.

    A host installs it at launch, and chooses what is reported:
    `MBWExceptionHandler::sharedHandler();`
    `Marblewick::NSExceptionHandler::defaultExceptionHandler()->setExceptionHandlingMask(`
    `    Marblewick::NSLogUncaughtExceptionMask);`
*/
class MARBLEWICK_CORE_EXPORT MBWExceptionHandler : public Marblewick::NSExceptionHandlerDelegate
{
public:
    /*! The handler of this process, made by the first call and never destroyed. Main thread. */
    static MBWExceptionHandler *sharedHandler();

    /*! Makes itself the delegate of the default exception handler, whose mask it leaves as it is.
       `symbolizer` is the path of an eu-addr2line, or of a program with the same options and output. Main
       thread.
    */
    explicit MBWExceptionHandler(const QString &symbolizer = QStringLiteral("/usr/bin/eu-addr2line"));

    /*! Writes the backtrace of the exception's stack, which is in its user info under NSStackTraceKey. False
        where it has done so; true, with nothing written, where there is no stack or no address in it. The
       sender and the mask do not matter.

        It runs the symbolizer on this process, and waits until that and the programs behind it have ended,
       but not longer than 5 seconds and not for more than 4 MiB: then they are ended, and what they printed
       stands. Where there is no symbolizer, it cannot be started, or the string holds anything but
       hexadecimal addresses (with or without `0x`) and blanks, `printing backtrace` and the symbols that are
       known without debugging information are written instead, for the low 32 bits of each address.

        True, with a line in the process log, where an exception was thrown meanwhile. Any thread, also
       several at once; then their lines may mix.
    */
    bool exceptionHandlerShouldLogException(Marblewick::NSExceptionHandler *sender,
                                            const Marblewick::NSException &exception, quint64 mask) override;

private:
    bool shouldLogException(const Marblewick::NSException &exception) const;

    const QString m_symbolizer;
};
