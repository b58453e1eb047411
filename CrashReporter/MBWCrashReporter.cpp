#include "CrashReporter/MBWCrashReporter.h"

#include "CrashReporter/CrashLogFile.h"
#include "CrashReporter/CrashLogFolder.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/Foundation/NSString.h"
#include "Platform/Foundation/NSURLSession.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Utilities/MBWApplicationName.h"

#include <vector>

using namespace Qt::StringLiterals;
using namespace Marblewick;

constinit const QLatin1StringView MBWCrashReporterLastCrashReportDateKey(
    "MBWCrashReporterLastCrashReportDate");
constinit const QLatin1StringView MBWCrashReporterNumberOfUnreportedCrashesKey(
    "MBWCrashReporterNumberOfUnreportedCrashes");

namespace {

/*! Far above any real report: a file that only has a report's name shall not fill the memory. */
constexpr qint64 maximumCrashLogSize = 256 * 1024 * 1024;

/*! What stands between the reports of a log that collects several, with 80 asterisks. */
constexpr QStringView reportSeparator =
    u"\n\n********************************************************************************\n\n";

/*! What a log begins with in the combined text. */
constexpr QStringView headFormat =
    u"\n\n********************************************************************************\n"
    u"%@\n"
    u"********************************************************************************\n\n";

/*! No file has a slash in its name; a log has another character in its place. */
QByteArray fileNamePrefix(const QString &applicationName)
{
    return NSFileManager::fileSystemRepresentationWithPath(applicationName + u'_')
        .replace('/', crashLogSlash);
}

/*! The most recently modified log of one application name so far. */
struct NewestLog
{
    QByteArray prefix;
    std::optional<QByteArray> name;
    NSDate modificationDate;

    /*! A name that no file can have, one with a NUL, leaves the prefix empty, with which every entry begins.
     */
    bool matches(QByteArrayView entry) const { return !prefix.isEmpty() && entry.startsWith(prefix); }

    void consider(const QString &folder, QByteArrayView entry)
    {
        const NSFileManager *files = NSFileManager::defaultManager();
        const QString path = stringByAppendingPathComponent(
            folder, NSFileManager::stringWithFileSystemRepresentation(entry));
        const auto attributes = files->attributesOfItemAtPath(path);
        if (!attributes || !files->isRegularFileAtPath(path))
            return;
        // Of two logs of the same moment the later in the listing is taken.
        if (!name || attributes->modificationDate >= modificationDate) {
            name = entry.toByteArray();
            modificationDate = attributes->modificationDate;
        }
    }
};

NSDate lastReportDate()
{
    return NSDate::dateWithTimeIntervalSinceReferenceDate(
        NSUserDefaults::standardUserDefaults()->floatForKey(MBWCrashReporterLastCrashReportDateKey));
}

/*! The last of the reports that a log collects. The pieces are cut from the front, so that of separators that
    share their newlines the first one counts.
*/
QStringView lastReport(QStringView log)
{
    for (;;) {
        const qsizetype separator = log.indexOf(reportSeparator);
        if (separator < 0)
            return log;
        log = log.sliced(separator + reportSeparator.size());
    }
}

QString lastPathComponent(const QString &path) { return path.mid(path.lastIndexOf(u'/') + 1); }

} // namespace

MBWCrashReporter::MBWCrashReporter()
{
    if (const std::optional<QString> name = MBWApplicationName())
        setApplicationNames({*name});
}

MBWCrashReporter::~MBWCrashReporter() = default;

std::optional<QString> MBWCrashReporter::checkForCrashLog() const
{
    QString combined;
    for (const QString &path : getLatestCrashLogs()) {
        const auto attributes = NSFileManager::defaultManager()->attributesOfItemAtPath(path);
        if (!attributes || !(lastReportDate() < attributes->modificationDate))
            continue;
        const auto log = NSString::stringWithContentsOfFile(path, maximumCrashLogSize);
        if (!log || NSString::isBlank(*log))
            continue;
        combined += NSString::stringWithFormat(headFormat, {lastPathComponent(path)});
        combined += lastReport(*log);
    }
    return combined.isEmpty() ? std::nullopt : std::optional(combined);
}

QStringList MBWCrashReporter::getLatestCrashLogs() const
{
    return getLatestCrashLogsFromPath(crashReporterFolder())
           + getLatestCrashLogsFromPath(diagnosticReportsFolder());
}

QStringList MBWCrashReporter::getLatestCrashLogsFromPath(const QString &path) const
{
    std::vector<NewestLog> newestLogs;
    for (const QString &name : applicationNames())
        newestLogs.push_back({fileNamePrefix(name), {}, {}});

    NSFileManager::defaultManager()->enumerateContentsOfDirectoryAtPath(path, [&](QByteArrayView entry) {
        for (NewestLog &newest : newestLogs) {
            if (newest.matches(entry))
                newest.consider(path, entry);
        }
    });

    QStringList paths;
    for (const NewestLog &newest : newestLogs) {
        if (newest.name)
            paths += stringByAppendingPathComponent(
                path, NSFileManager::stringWithFileSystemRepresentation(*newest.name));
    }
    return paths;
}
