#include "Platform/ExceptionHandling/NSExceptionHandler.h"

#include "Platform/ExceptionHandling/ExceptionDescription.h"
#include "Platform/ExceptionHandling/TerminateHandler.h"
#include "Platform/ExceptionHandling/ThrowRecord.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSString.h"

#include <array>
#include <atomic>
#include <optional>

namespace Marblewick {

namespace {

constinit std::atomic<quint64> handlingMask = 0;
constinit std::atomic<NSExceptionHandlerDelegate *> handlerDelegate = nullptr;

/*! What the steps of one thread hand on. */
struct Report
{
    QString type;
    std::optional<QString> text;
    QString stackTrace;
    bool shouldLogStackTrace = true;
};

/*! Never destroyed: the exception may come from a destructor of the thread's own variables. */
Report &report()
{
    constinit static thread_local Report *report = nullptr;
    if (!report)
        report = new Report;
    return *report;
}

/*! The exception itself where it is one of the platform's, else one that describes it. */
NSException platformException(const std::exception_ptr &exception)
{
    try {
        std::rethrow_exception(exception);
    } catch (const NSException &known) {
        return known;
    } catch (...) {
        return {report().type, report().text.value_or(QString())};
    }
}

void askForText(const Termination &termination)
{
    report().type = QString::fromStdString(typeNameOfException(termination.exception));
    if (const auto text = textOfException(termination.exception))
        report().text = NSString::stringWithData(QByteArray::fromStdString(*text));
}

void logException(const Termination &)
{
    if (report().text)
        NSLog(u"Uncaught exception %@: %@", {report().type, report().text});
    else
        NSLog(u"Uncaught exception %@", {report().type});
}

void findStackTrace(const Termination &termination)
{
    StackTrace stack = ThrowRecord::stackOfThrow(termination.exception);
    if (stack.isEmpty()) {
        stack = termination.stack;
        stack.removeFramesInsideRuntime();
    }
    stack.removeInnerRuntimeFrames();
    report().stackTrace = stack.addressString();
}

void askDelegate(const Termination &termination)
{
    NSExceptionHandlerDelegate *const delegate = handlerDelegate;
    if (!delegate)
        return;
    NSException exception = platformException(termination.exception);
    if (!report().stackTrace.isEmpty()) {
        QVariantMap userInfo = exception.userInfo();
        userInfo.insert(NSStackTraceKey, report().stackTrace);
        exception = NSException(exception.name(), exception.reason(), userInfo);
    }
    report().shouldLogStackTrace = delegate->exceptionHandlerShouldLogException(
        NSExceptionHandler::defaultExceptionHandler(), exception, NSLogUncaughtExceptionMask);
}

void logStackTrace(const Termination &)
{
    if (report().shouldLogStackTrace && !report().stackTrace.isEmpty())
        NSLog(u"Stack trace: %@", {report().stackTrace});
}

constexpr std::array<TerminationStep, 5> reportingSteps = {askForText, logException, findStackTrace,
                                                           askDelegate, logStackTrace};

} // namespace

NSExceptionHandlerDelegate::~NSExceptionHandlerDelegate() = default;

NSExceptionHandler *NSExceptionHandler::defaultExceptionHandler()
{
    static auto *const handler = new NSExceptionHandler;
    return handler;
}

quint64 NSExceptionHandler::exceptionHandlingMask() const { return handlingMask; }

void NSExceptionHandler::setExceptionHandlingMask(quint64 mask)
{
    handlingMask = mask;
    const bool logsUncaughtExceptions = (mask & NSLogUncaughtExceptionMask) != 0;
    setReportingSteps(logsUncaughtExceptions ? std::span<const TerminationStep>(reportingSteps)
                                             : std::span<const TerminationStep>());
}

NSExceptionHandlerDelegate *NSExceptionHandler::delegate() const { return handlerDelegate; }

void NSExceptionHandler::setDelegate(NSExceptionHandlerDelegate *delegate) { handlerDelegate = delegate; }

bool NSExceptionHandler::recordsThrows() const { return ThrowRecord::isEnabled(); }

void NSExceptionHandler::setRecordsThrows(bool recordsThrows) { ThrowRecord::setEnabled(recordsThrows); }

} // namespace Marblewick
