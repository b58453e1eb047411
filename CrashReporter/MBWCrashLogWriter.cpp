#include "CrashReporter/MBWCrashLogWriter.h"

#include "CrashReporter/AlternateStack.h"
#include "CrashReporter/CrashHandler.h"
#include "CrashReporter/CrashLogFile.h"
#include "CrashReporter/CrashLogFolder.h"
#include "CrashReporter/FixedText.h"
#include "CrashReporter/OldCrashLogs.h"
#include "CrashReporter/TerminateHandler.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/Plugin.h"
#include "Utilities/MBWApplicationName.h"

#include <QCoreApplication>

#include <cerrno>
#include <mutex>
#include <optional>
#include <sys/auxv.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! What install() was told or found out, and what it needs; the rest of the record follows the application.
 */
struct Installation
{
    /*! The application may be renamed on any thread. */
    std::mutex mutex;
    QString folder;
    QByteArray helper;
    timespec launchTime = {};
    QByteArray applicationName;
    std::optional<AlternateStack> mainThreadStack;
};

/*! Never destroyed: there may be a crash to the very end. */
Installation &installation()
{
    static Installation *const shared = new Installation;
    return *shared;
}

void copyText(std::span<char> target, const QString &text)
{
    FixedText(target).append(NSFileManager::fileSystemRepresentationWithPath(text).constData());
}

int secondsEastOfUTC()
{
    const time_t now = ::time(nullptr);
    tm local = {};
    ::localtime_r(&now, &local);
    return static_cast<int>(local.tm_gmtoff);
}

void prepareRecord()
{
    const std::lock_guard lock(installation().mutex);
    const NSBundle *bundle = NSBundle::mainBundle();
    const QVariantMap info = bundle->infoDictionary();
    const auto property = [&](QLatin1StringView key) { return info.value(key).toString(); };

    CrashRecord record;
    record.launchTime = installation().launchTime;
    record.secondsEastOfUTC = secondsEastOfUTC();
    copyText(record.applicationName, MBWApplicationName().value_or(QString()));
    copyText(record.bundleIdentifier, property(kCFBundleIdentifierKey));
    copyText(record.shortVersion, property(kCFBundleShortVersionStringKey));
    copyText(record.bundleVersion, property(kCFBundleVersionKey));
    copyText(record.executablePath, bundle->executablePath());
    copyText(record.folder, installation().folder);
    CrashHandler::prepare(record, installation().helper.constData());

    const QByteArray name =
        QByteArray(record.applicationName).left(crashLogNameLength).replace('/', crashLogSlash);
    if (std::exchange(installation().applicationName, name) != name)
        removeOldCrashLogs(name, installation().folder);
}

void followApplication()
{
    prepareRecord();
    QObject::connect(qApp, &QCoreApplication::applicationNameChanged, &prepareRecord);
    QObject::connect(qApp, &QCoreApplication::applicationVersionChanged, &prepareRecord);
}

/*! Always false. */
bool failure(int code, NSError *error, const QString &path = {})
{
    if (error)
        *error = NSError::posixError(code, path);
    return false;
}

bool installOnce(NSError *error)
{
    if (::getauxval(AT_SECURE) != 0)
        return failure(EPERM, error);
    installation().folder = diagnosticReportsFolder();
    if (!NSFileManager::defaultManager()->createDirectoryAtPath(installation().folder, error))
        return false;
    ::clock_gettime(CLOCK_REALTIME, &installation().launchTime);
    prepareRecord();
    if (!CrashHandler::install())
        return failure(errno, error);
    installation().mainThreadStack.emplace();
    installTerminateHandler();
    qAddPreRoutine(&followApplication); // At once where the application object is there.
    return true;
}

} // namespace

bool MBWCrashLogWriter::install(NSError *error)
{
    return installWithHelperAtPath(
        NSFileManager::stringWithFileSystemRepresentation(pluginFolder() + "marblewick-crashlog"), error);
}

bool MBWCrashLogWriter::installWithHelperAtPath(const QString &path, NSError *error)
{
    const QByteArray helper = NSFileManager::fileSystemRepresentationWithPath(path);
    {
        const std::lock_guard lock(installation().mutex);
        installation().helper = helper;
    }
    if (::access(helper.constData(), X_OK) != 0)
        NSLog(u"Crash logs will be short, without their helper program %@", {path});
    if (!CrashHandler::isInstalled())
        return installOnce(error);
    prepareRecord();
    return true;
}
