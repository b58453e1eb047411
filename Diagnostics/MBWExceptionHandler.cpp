#include "Diagnostics/MBWExceptionHandler.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSScanner.h"
#include "Platform/Foundation/StandardError.h"

#include <QRegularExpression>

#include <array>
#include <cerrno>
#include <cstdio>
#include <execinfo.h>
#include <memory>
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
   another function: the place of the call is one byte before. The time limit is on the symbolizer alone, so
   that the programs behind it write what they have got. The symbolizer shall not ask servers for debugging
   information. It prints no head; the two empty lines stand for the one that is dropped.
*/
QByteArray pipeline(const QByteArray &symbolizer, const QByteArray &addresses)
{
    return "{ echo; echo;"
           " DEBUGINFOD_URLS= timeout -k 1 5 "
           + quotedForShell(symbolizer) + " -p " + QByteArray::number(::getpid())
           + " -f --pretty-print"
             " $(for address in "
           + addresses
           + "; do"
             " address=${address#0[xX]};"
             " printf '0x%x ' $((0x$address - 1));"
             " done);"
             " } | tail -n +3 | c++filt | cat -n";
}

/*! The next bytes, as many as fit; 0 at the end. */
std::size_t readChunk(std::FILE *pipe, std::span<char> chunk)
{
    for (;;) {
        const std::size_t count = std::fread(chunk.data(), 1, chunk.size(), pipe);
        if (count > 0 || !std::ferror(pipe) || errno != EINTR)
            return count;
        std::clearerr(pipe);
    }
}

/*! False where the shell cannot be run. */
bool writeSymbols(const QString &symbolizer, const QString &addresses)
{
    const QByteArray command = pipeline(NSFileManager::fileSystemRepresentationWithPath(symbolizer),
                                        addresses.toLatin1());
    const std::unique_ptr<std::FILE, decltype(&::pclose)> pipe(::popen(command.constData(), "r"), &::pclose);
    if (!pipe)
        return false;
    std::array<char, 512> chunk;
    while (const std::size_t count = readChunk(pipe.get(), chunk))
        writeToStandardError(QByteArrayView(chunk.data(), static_cast<qsizetype>(count)));
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
    } catch (const std::exception &failure) {
        NSLog(u"Hot damn! We got an exception while logging an exception: %@",
              {QString::fromUtf8(failure.what())});
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
