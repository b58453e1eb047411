#include "Platform/Foundation/NSBundle.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/Foundation/PropertyList/NSPropertyListSerialization.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QResource>

#include <array>
#include <climits>
#include <dlfcn.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! More than any host's own list needs, and little enough to be read at launch. */
constexpr qint64 maximumInfoPropertyListSize = 4 * 1024 * 1024;

QString runningExecutablePath()
{
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
    if (length <= 0)
        return {};
    constexpr QLatin1StringView deletedMark(" (deleted)");
    QString path = NSFileManager::stringWithFileSystemRepresentation({buffer.data(), length});
    // The kernel's mark on a program file that an update replaced while it runs.
    if (path.endsWith(deletedMark) && !NSFileManager::defaultManager()->isRegularFileAtPath(path))
        path.chop(deletedMark.size());
    return path;
}

QString folderOf(const QString &path) { return path.left(path.lastIndexOf(u'/')); }

QString lastPathComponent(const QString &path) { return path.mid(path.lastIndexOf(u'/') + 1); }

/*! What the translators have for an information property; nil where none knows its key. */
std::optional<QString> translationOfProperty(const QString &key)
{
    const QString translation = QCoreApplication::translate("InfoPlist", key.toUtf8().constData());
    return translation == key ? std::nullopt : std::optional(translation);
}

} // namespace

NSBundle *NSBundle::mainBundle()
{
    // Never destroyed: the log names the executable to the very end.
    static NSBundle *const bundle = new NSBundle(runningExecutablePath());
    return bundle;
}

NSBundle::NSBundle(const QString &executablePath)
    : NSBundle(executablePath, u":/"_s)
{ }

NSBundle::NSBundle(const QString &executablePath, const QString &resourceFolder)
    : m_executablePath(executablePath)
    , m_resourceFolder(resourceFolder)
{ }

NSBundle *NSBundle::bundleOfImageAt(const void *address)
{
    static NSBundle *const framework = new NSBundle({}, u":/Marblewick/"_s);
    Dl_info image{};
    Dl_info ours{};
    const bool isFramework = ::dladdr(address, &image) != 0 && ::dladdr(&framework, &ours) != 0
                             && image.dli_fbase == ours.dli_fbase;
    return isFramework ? framework : mainBundle();
}

QString NSBundle::executableName() const { return lastPathComponent(m_executablePath); }

std::optional<QString> NSBundle::pathForResource(const QString &name, const QString &type) const
{
    const QString file = name + u'.' + type;
    const QString resource = m_resourceFolder + file;
    if (QFileInfo(resource).isFile())
        return resource;
    if (m_executablePath.isEmpty())
        return std::nullopt;
    const QString folder = folderOf(m_executablePath);
    for (const QString &candidate :
         {folder + u'/' + file, folderOf(folder) + u"/share/"_s + executableName() + u'/' + file}) {
        if (NSFileManager::defaultManager()->isRegularFileAtPath(candidate))
            return candidate;
    }
    return std::nullopt;
}

std::optional<QUrl> NSBundle::URLForResource(const QString &name, const QString &type) const
{
    const std::optional<QString> path = pathForResource(name, type);
    if (!path)
        return std::nullopt;
    if (!path->startsWith(u':'))
        return QUrl::fromLocalFile(*path);
    QUrl url;
    url.setScheme(u"qrc"_s);
    url.setPath(path->mid(1));
    return url;
}

std::optional<QByteArray> NSBundle::contentsOfResourceAtPath(const QString &path, qint64 maximumSize,
                                                             NSError *error)
{
    if (path.startsWith(u':'))
        return QResource(path).uncompressedData();
    return NSFileManager::defaultManager()->contentsAtPath(path, maximumSize, error);
}

QVariantMap NSBundle::infoDictionary() const
{
    std::call_once(m_infoRead, [this] { m_info = readInfoPropertyList(); });
    return m_info ? *m_info : infoDictionaryFromApplication();
}

std::optional<QVariantMap> NSBundle::readInfoPropertyList() const
{
    const std::optional<QString> path = pathForResource(u"Info"_s, u"plist"_s);
    if (!path)
        return std::nullopt;

    NSError error;
    const std::optional<QByteArray> data = contentsOfResourceAtPath(*path, maximumInfoPropertyListSize,
                                                                    &error);
    std::optional<QVariantMap> properties;
    if (data)
        properties = NSPropertyListSerialization::dictionaryWithData(*data, &error);
    if (!properties)
        NSLog(u"Ignored the information property list %@: %@", {*path, error.localizedDescription()});
    return properties;
}

QVariantMap NSBundle::infoDictionaryFromApplication() const
{
    QVariantMap properties;
    const auto insertUnlessEmpty = [&](QLatin1StringView key, const QString &value) {
        if (!value.isEmpty())
            properties.insert(key, value);
    };
    insertUnlessEmpty(kCFBundleExecutableKey, executableName());
    insertUnlessEmpty(kCFBundleNameKey, QCoreApplication::applicationName());
    insertUnlessEmpty(kCFBundleShortVersionStringKey, QCoreApplication::applicationVersion());
    return properties;
}

QVariantMap NSBundle::localizedInfoDictionary() const
{
    const QStringList keys = infoDictionary().keys()
                             + QStringList{kCFBundleNameKey, kCFBundleDisplayNameKey,
                                           kCFBundleShortVersionStringKey, kNSHumanReadableCopyrightKey};
    QVariantMap properties;
    for (const QString &key : keys) {
        if (const std::optional<QString> translation = translationOfProperty(key))
            properties.insert(key, *translation);
    }
    return properties;
}

QVariant NSBundle::objectForInfoDictionaryKey(const QString &key) const
{
    const std::optional<QString> translation = translationOfProperty(key);
    return translation ? *translation : infoDictionary().value(key);
}

QString NSBundle::localizedStringForKey(const QString &key, const QString &value, const QString &table) const
{
    const QString translation = QCoreApplication::translate(table.toUtf8().constData(),
                                                            key.toUtf8().constData());
    return translation == key && !value.isEmpty() ? value : translation;
}

} // namespace Marblewick
