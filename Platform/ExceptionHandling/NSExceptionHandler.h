#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSException.h>

#include <QtGlobal>

namespace Marblewick {

class NSExceptionHandler;

/*! Key in an exception's user info: the stack of the throw, from the function that threw, as a string of
   return addresses in hexadecimal with blanks between them. Absent where there is none.
*/
inline constexpr QLatin1StringView NSStackTraceKey("NSStackTraceKey");

/*! Bit of the exception-handling mask: exceptions that nobody catches are logged. */
inline constexpr quint64 NSLogUncaughtExceptionMask = 1;

/*! Takes part in logging exceptions. It is not owned. */
class MARBLEWICK_CORE_EXPORT NSExceptionHandlerDelegate
{
public:
    virtual ~NSExceptionHandlerDelegate();

    /*! Whether `sender` shall log the exception's stack in its own way; false where the delegate has done so.
        `mask` is the bit of the mask that caught it. On the thread that threw, maybe on several at once.
    */
    virtual bool exceptionHandlerShouldLogException(NSExceptionHandler *sender, const NSException &exception,
                                                    quint64 mask) = 0;
};

/*! Logs C++ exceptions of any type that nobody catches, before they end the process: in any thread, in Qt's
    event handlers and slots, and in functions that are `noexcept`.

    First comes one line in the process log with type and text: `Uncaught exception std::out_of_range: …`.
    Then the delegate is asked. It gets the exception itself where that is an NSException, else one with the
    type as name and the text as reason; the stack is in its user info under NSStackTraceKey. Where the
    delegate answers yes or there is none, the addresses follow as a second line. Then the process ends as it
    would have.

    A delegate that throws counts as one that answers yes. One that crashes ends the process, but the line is
    there. So does one that takes more than 10 seconds: then a SIGABRT ends the process. Of two threads that
    throw at once, both are logged. Only a what() that crashes or does not return leaves no line; one that
    throws leaves the type.
*/
class MARBLEWICK_CORE_EXPORT NSExceptionHandler
{
public:
    /*! The only handler, made by the first call and never destroyed. */
    static NSExceptionHandler *defaultExceptionHandler();

    NSExceptionHandler(const NSExceptionHandler &) = delete;
    NSExceptionHandler &operator=(const NSExceptionHandler &) = delete;

    /*! Which exceptions are logged: at first 0, none. Each time it is set to one that logs uncaught ones, the
        handler takes its place in front of the terminate handler (std::set_terminate()) of that moment, which
        goes on after it. Main thread.
    */
    quint64 exceptionHandlingMask() const;
    void setExceptionHandlingMask(quint64 mask);

    /*! At first null. The delegate must stay until another one is set. Any thread. */
    NSExceptionHandlerDelegate *delegate() const;
    void setDelegate(NSExceptionHandlerDelegate *delegate);

    /*! Whether the stack of each throw is kept, caught or not, so that it is known, too, where it was unwound
        before the exception ended the process: after `throw;`, in a QThread or a QThreadPool, and out of
        `noexcept` functions past destructors. At first false: then such exceptions come with the stack of
        their end. A throw takes 1.6 times (caught 30 frames further out) to 3 times (caught at once) as long.

        It stays false in a process that has loaded Core as part of a plugin and whose throws Core therefore
        does not see. Any thread.
    */
    bool recordsThrows() const;
    void setRecordsThrows(bool recordsThrows);

private:
    NSExceptionHandler() = default;
};

} // namespace Marblewick
