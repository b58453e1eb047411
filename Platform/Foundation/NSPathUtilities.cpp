#include "Platform/Foundation/NSPathUtilities.h"

#include "Platform/Foundation/NSFileManager.h"

#include <pwd.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! The absolute path that an environment variable holds, without trailing slashes, else an empty string. */
QString absolutePathFromEnvironment(const char *variable)
{
    QByteArray value = qgetenv(variable);
    if (!value.startsWith('/'))
        return {};
    while (value.size() > 1 && value.endsWith('/'))
        value.chop(1);
    return NSFileManager::stringWithFileSystemRepresentation(value);
}

QString homeFromUserDatabase()
{
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd *found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found
        || !found->pw_dir || found->pw_dir[0] != '/')
        return {};
    return NSFileManager::stringWithFileSystemRepresentation(found->pw_dir);
}

QString folder(const char *variable, const QString &belowHome, bool expandTilde)
{
    const QString path = absolutePathFromEnvironment(variable);
    if (!path.isEmpty())
        return path;
    return stringByAppendingPathComponent(expandTilde ? NSHomeDirectory() : u"~"_s, belowHome);
}

} // namespace

QStringList NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory, NSSearchPathDomainMask,
                                                bool expandTilde)
{
    switch (directory) {
    case NSSearchPathDirectory::LibraryDirectory:
        return {folder("XDG_STATE_HOME", u".local/state"_s, expandTilde)};
    case NSSearchPathDirectory::ApplicationSupportDirectory:
        return {folder("XDG_DATA_HOME", u".local/share"_s, expandTilde)};
    case NSSearchPathDirectory::PreferencesDirectory:
        return {folder("XDG_CONFIG_HOME", u".config"_s, expandTilde)};
    }
    return {};
}

QString NSHomeDirectory()
{
    QString home = absolutePathFromEnvironment("HOME");
    if (home.isEmpty())
        home = homeFromUserDatabase();
    return home.isEmpty() ? u"/"_s : home;
}

QString NSTemporaryDirectory()
{
    const QString path = absolutePathFromEnvironment("TMPDIR");
    return path.isEmpty() ? u"/tmp"_s : path;
}

QString stringByAppendingPathComponent(const QString &path, const QString &component)
{
    return path.endsWith(u'/') ? path + component : path + u'/' + component;
}

} // namespace Marblewick
