#include "Diagnostics/MBWExceptionHandler.h"

#include "Diagnostics/ShellPipe.h"
#include "Platform/ExceptionHandling/ExceptionDescription.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSScanner.h"
#include "Platform/Foundation/StandardError.h"

#include <QRegularExpression>

#include <array>
#include <chrono>
#include <execinfo.h>
#include <span>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! Whether the shell can be given a string: all that is in it are hexadecimal addresses and blanks. */
bool holdsAddressesOnly(const QString &string)
{
    static const QRegularExpression addresses(
        QRegularExpression::anchoredPattern(u"[ \\t]*(?:(?:0[xX])?[0-9a-fA-F]{1,16}(?:[ \\t]+|\\z))+"_s));
    return addresses.match(string).hasMatch();
}

QByteArray quotedForShell(QByteArray word) { return '\'' + word.replace('\'', "'\\''") + '\''; }

/*! The shell command that names the addresses, each a line with a number.

    A return address is that of the instruction after the call, which may belong to another line or even
   another function: the place of the call is one byte before. The symbolizer shall not ask servers for
   debugging information. What it complains of belongs to its output, so that the limits on that hold for it,
   too. It prints no head; the two empty lines stand for the one that is dropped. Nothing waits in a buffer
   for the end, which may be a violent one. Names that cannot be demangled are better than none.
*/
QByteArray pipeline(const QByteArray &symbolizer, const QByteArray &addresses)
{
    return "{ echo; echo;"
           " DEBUGINFOD_URLS= "
           + quotedForShell(symbolizer) + " -p " + QByteArray::number(::getpid())
           + " -f --pretty-print"
             " $(for address in "
           + addresses
           + "; do"
             " address=${address#0[xX]};"
             " printf '0x%x ' $((0x$address - 1));"
             " done) 2>&1;"
             " } | stdbuf -o0 tail -n +3 | { c++filt || cat; } | cat -n";
}

constexpr std::chrono::seconds timeLimit(5);
constexpr std::size_t sizeLimit = 4 * 1024 * 1024; // bytes

/*! False where the shell cannot be run. */
bool writeSymbols(const QString &symbolizer, const QString &addresses)
{
    const QByteArray command = pipeline(NSFileManager::fileSystemRepresentationWithPath(symbolizer),
                                        addresses.toLatin1());
    ShellPipe pipe(command, timeLimit);
    if (!pipe.isOpen())
        return false;
    std::array<char, 512> chunk;
    for (std::size_t size = 0; size < sizeLimit;) {
        const std::size_t count = pipe.read(chunk);
        if (count == 0)
            break;
        writeToStandardError(QByteArrayView(chunk.data(), static_cast<qsizetype>(count)));
        size += count;
    }
    return true;
}

/*! False where there is no address. */
bool writeDynamicSymbols(const QString &stackTrace)
{
    std::vector<void *> addresses;
    NSScanner scanner(stackTrace);
    for (quint32 address = 0; scanner.scanHexInt(&address);)
        addresses.push_back(reinterpret_cast<void *>(quintptr(address)));
    if (addresses.empty())
        return false;
    NSLog(u"printing backtrace");
    const BrokenPipeSignalHeldBack heldBack;
    ::backtrace_symbols_fd(addresses.data(), static_cast<int>(addresses.size()), STDERR_FILENO);
    return true;
}

} // namespace

MBWExceptionHandler *MBWExceptionHandler::sharedHandler()
{
    static auto *const handler = new MBWExceptionHandler;
    return handler;
}

MBWExceptionHandler::MBWExceptionHandler(const QString &symbolizer)
    : m_symbolizer(symbolizer)
{
    NSExceptionHandler::defaultExceptionHandler()->setDelegate(this);
}

bool MBWExceptionHandler::exceptionHandlerShouldLogException(NSExceptionHandler *,
                                                             const NSException &exception, quint64)
{
    try {
        return shouldLogException(exception);
    } catch (...) {
        const std::exception_ptr failure = std::current_exception();
        const std::string text = textOfException(failure).value_or(typeNameOfException(failure));
        NSLog(u"Hot damn! We got an exception while logging an exception: %@",
              {QString::fromStdString(text)});
        return true;
    }
}

bool MBWExceptionHandler::shouldLogException(const NSException &exception) const
{
    const QVariant stackTrace = exception.userInfo().value(NSStackTraceKey);
    if (!stackTrace.isValid())
        return true;
    const QString addresses = stackTrace.toString();
    const bool hasWritten = NSFileManager::defaultManager()->fileExistsAtPath(m_symbolizer)
                            && holdsAddressesOnly(addresses) && writeSymbols(m_symbolizer, addresses);
    return !hasWritten && !writeDynamicSymbols(addresses);
}
