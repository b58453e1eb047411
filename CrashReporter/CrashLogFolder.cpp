#include "CrashReporter/CrashLogFolder.h"

#include "Platform/Foundation/NSPathUtilities.h"

using namespace Qt::StringLiterals;
using namespace Marblewick;

static QString logFolder(const QString &name)
{
    const QString library = NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory::LibraryDirectory,
                                                                NSSearchPathDomainMask::UserDomain, true)
                                .last();
    return stringByAppendingPathComponent(stringByAppendingPathComponent(library, u"Logs"_s), name);
}

QString diagnosticReportsFolder() { return logFolder(u"DiagnosticReports"_s); }

QString crashReporterFolder() { return logFolder(u"CrashReporter"_s); }
