#include "CrashReporter/MBWCrashLogPreviewItem.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSPathUtilities.h"

#include <QUuid>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr QStringView jsonReportOpening = u"{\"app_name";

} // namespace

MBWCrashLogPreviewItem::MBWCrashLogPreviewItem(const QString &crashLog)
    : m_crashLog(crashLog)
{ }

QUrl MBWCrashLogPreviewItem::previewItemURL()
{
    if (tempFileURL().isEmpty())
        setTempFileURL(saveCrashLogToFile());
    return tempFileURL();
}

QUrl MBWCrashLogPreviewItem::saveCrashLogToFile() const
{
    const QString report = crashLog();
    const qsizetype json = report.indexOf(jsonReportOpening);
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces)
                         + (json < 0 ? u".log"_s : u".ips"_s);
    const QString path = stringByAppendingPathComponent(NSTemporaryDirectory(), name);
    // Without the file the preview stays empty; the report itself is not affected.
    NSFileManager::defaultManager()->createFileAtPath(
        path, QStringView(report).sliced(qMax<qsizetype>(0, json)).toUtf8());
    return QUrl::fromLocalFile(path);
}
