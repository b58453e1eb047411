#include "Platform/AppKit/NSWorkspace.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSPathUtilities.h"

#include <QMutexLocker>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr std::array packageExtensions{
    "app"_L1,    "appex"_L1,    "bundle"_L1, "kext"_L1,  "mpkg"_L1, "pkg"_L1,
    "plugin"_L1, "prefpane"_L1, "rtfd"_L1,   "saver"_L1, "wdgt"_L1, "xpc"_L1,
};

NSFileManager &manager() { return *NSFileManager::defaultManager(); }

QString lastComponent(const QString &path) { return path.mid(path.lastIndexOf(u'/') + 1); }

/*! The name that a folder itself has, by whatever path it is reached. */
QString ownName(const QString &path) { return lastComponent(stringByResolvingSymlinksInPath(path)); }

/*! What follows the last dot of a name, in lower case; none for a name like ".app". */
QString extension(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.mid(dot + 1).toLower() : QString();
}

bool isBundle(const QString &folder)
{
    return manager().isRegularFileAtPath(folder + "/Contents/Info.plist"_L1);
}

bool isAppDir(const QString &folder)
{
    if (!manager().isRegularFileAtPath(folder + "/AppRun"_L1))
        return false;
    bool hasDesktopFile = false;
    manager().enumerateContentsOfDirectoryAtPath(folder, [&](QByteArrayView name) {
        hasDesktopFile = hasDesktopFile || (name.endsWith(".desktop") && name != ".desktop");
    });
    return hasDesktopFile;
}

} // namespace

NSWorkspace *NSWorkspace::sharedWorkspace()
{
    // Never destroyed: a thread that hung in a file system may go on while the process ends.
    static auto *const workspace = new NSWorkspace;
    return workspace;
}

bool NSWorkspace::isFilePackageAtPath(const QString &fullPath) const
{
    bool isDirectory = false;
    if (!manager().fileExistsAtPath(fullPath, &isDirectory) || !isDirectory)
        return false;
    const QString kind = extension(ownName(fullPath));
    if (kind == "framework"_L1)
        return false;
    return std::ranges::find(packageExtensions, kind) != packageExtensions.end() || isAddedExtension(kind)
           || isBundle(fullPath) || isAppDir(fullPath);
}

void NSWorkspace::addFilePackageExtension(const QString &extension)
{
    const QString kind = (extension.startsWith(u'.') ? extension.mid(1) : extension).toLower();
    if (kind.isEmpty())
        return; // Every folder without an extension would be a package.
    const QMutexLocker locker(&m_mutex);
    m_addedExtensions.insert(kind);
}

bool NSWorkspace::isAddedExtension(const QString &extension) const
{
    const QMutexLocker locker(&m_mutex);
    return m_addedExtensions.contains(extension);
}

bool NSWorkspace::opensScheme(const QString &scheme)
{
    constexpr std::array refused{
        ""_L1,           "about"_L1,      "blob"_L1, "data"_L1,     "file"_L1,
        "filesystem"_L1, "javascript"_L1, "qrc"_L1,  "vbscript"_L1, "view-source"_L1,
    };
    return std::ranges::find(refused, scheme) == refused.end();
}

bool NSWorkspace::openURL(const QUrl &url)
{
    if (!url.isValid() || !opensScheme(url.scheme()))
        return false;
    return m_urlOpener && m_urlOpener(url);
}

} // namespace Marblewick
