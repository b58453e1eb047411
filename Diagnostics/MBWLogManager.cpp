#include "Diagnostics/MBWLogManager.h"

#include "Diagnostics/LogRotation.h"
#include "Platform/Foundation/NSDateFormatter.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/Foundation/NSString.h"
#include "Utilities/MBWApplicationName.h"

#include <QtGlobal>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! What stands for the name of a host that has none is what a missing string prints. */
QString applicationName() { return MBWApplicationName().value_or(u"(null)"_s); }

QString launchDate()
{
    NSDateFormatter::setDefaultFormatterBehavior(NSDateFormatterBehavior::Behavior10_4);
    NSDateFormatter formatter;
    formatter.setLocale(QLocale::c());
    formatter.setDateFormat(u"yyyy-MM-dd-HHmmss"_s);
    return formatter.stringFromDate(NSDate::date());
}

/*! Whether a file can be opened for writing; makes one, for the user alone, where there is none.

    Asked before a stream is reopened, because a reopening that fails closes the stream, and the next file
    that the host opens would get standard error's number, and with it the log's lines.
*/
bool canBeWritten(const QByteArray &file)
{
    // A FIFO that nobody reads would otherwise block.
    const int descriptor = ::open(file.constData(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0600);
    return descriptor >= 0 && ::close(descriptor) == 0;
}

void writeToStandardError(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QString text = qFormatLogMessage(type, context, message);
    if (text.isNull())
        return; // The message pattern leaves it out.
    const QByteArray line = text.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stderr);
}

/*! Has Qt's messages written to standard error, where its own handler may choose the system's journal. A
    handler that the host has installed stays.
*/
void sendQtMessagesToStandardError()
{
    const QtMessageHandler current = qInstallMessageHandler(nullptr);
    const QtMessageHandler original = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(current == original ? writeToStandardError : current);
}

} // namespace

MBWLogManager *MBWLogManager::sharedManager()
{
    static auto *const manager = new MBWLogManager;
    return manager;
}

MBWLogManager::MBWLogManager()
{
    rotateLogs(); // Before this launch's file has a name, so that it is never among the old ones.
    setApplicationLogFile(stringByAppendingPathComponent(
        applicationLogDirectory(),
        NSString::stringWithFormat(u"%@_%@.log", {applicationName(), launchDate()})));
}

QString MBWLogManager::applicationLogDirectory() const
{
    const QString support = NSSearchPathForDirectoriesInDomains(
                                NSSearchPathDirectory::ApplicationSupportDirectory,
                                NSSearchPathDomainMask::UserDomain, true)
                                .first();
    const QString folder = stringByAppendingPathComponent(
        stringByAppendingPathComponent(support, applicationName()), u"Logs"_s);
    NSFileManager::defaultManager()->createDirectoryAtPath(folder);
    return folder;
}

void MBWLogManager::redirectStandardErrorToFileAtPath(const QString &path) const
{
    const QByteArray file = NSFileManager::fileSystemRepresentationWithPath(path);
    const QString folder = stringByDeletingLastPathComponent(path);
    if (!NSFileManager::defaultManager()->createDirectoryAtPath(folder) || !canBeWritten(file))
        return;
    if (!std::freopen(file.constData(), "w", stderr))
        return;
    std::setvbuf(stderr, nullptr, _IONBF, 0); // The C library buffers a stream that was reopened.
    sendQtMessagesToStandardError();
}

void MBWLogManager::rotateLogs() const
{
    const NSFileManager *const files = NSFileManager::defaultManager();
    const QString folder = applicationLogDirectory();
    const QByteArray prefix = NSFileManager::fileSystemRepresentationWithPath(applicationName() + u'_');
    std::vector<LogRecord> records;
    files->enumerateSubpathsAtPath(folder, [&](QByteArrayView relativePath) {
        // A name that no file can have, one with a NUL, leaves the prefix empty, with which all begins.
        if (prefix.isEmpty() || !relativePath.startsWith(prefix))
            return;
        const QString fullPath = stringByAppendingPathComponent(
            folder, NSFileManager::stringWithFileSystemRepresentation(relativePath));
        if (const auto attributes = files->attributesOfItemAtPath(fullPath))
            records.push_back({fullPath, *attributes});
    });
    for (const QString &path : logsToRemove(std::move(records)))
        files->removeItemAtPath(path);
}
