#include "Platform/Foundation/NSPathUtilities.h"

#include "Platform/Foundation/Bookmarks/FlatpakSandbox.h"
#include "Platform/Foundation/NSFileManager.h"

#include <fcntl.h>
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

QStringView withoutSlashesAtTheEnd(QStringView path)
{
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

/*! One field of a user's entry in the user database; empty where there is no such entry. */
QByteArray fromUserDatabase(uid_t user, char *passwd::*field)
{
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd *found = nullptr;
    if (::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return {};
    return found->*field;
}

QString usersHome()
{
    const QString home = absolutePathFromEnvironment("HOME");
    if (!home.isEmpty())
        return home;
    const QByteArray path = fromUserDatabase(::getuid(), &passwd::pw_dir);
    return path.startsWith('/') ? NSFileManager::stringWithFileSystemRepresentation(path) : u"/"_s;
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
    const FlatpakSandbox *const sandbox = FlatpakSandbox::current();
    return sandbox && !sandbox->applicationIdentifier.isEmpty()
               ? stringByAppendingPathComponent(usersHome(), u".var/app/"_s + sandbox->applicationIdentifier)
               : usersHome();
}

QString NSUserName()
{
    const QByteArray name = fromUserDatabase(::geteuid(), &passwd::pw_name);
    return QString::fromUtf8(name.isEmpty() ? qgetenv("USER") : name);
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

QString stringByResolvingSymlinksInPath(const QString &path)
{
    const QByteArray name = NSFileManager::fileSystemRepresentationWithPath(path);
    const int item = ::open(name.constData(), O_PATH | O_CLOEXEC);
    if (item < 0)
        return path;
    // realpath() asks for every folder above, each by its whole path, which in a deep tree takes minutes.
    const auto resolved = NSFileManager::defaultManager()->destinationOfSymbolicLinkAtPath(
        u"/proc/self/fd/%1"_s.arg(item));
    ::close(item);
    return resolved.value_or(path);
}

QString stringByDeletingLastPathComponent(const QString &path)
{
    const QStringView item = withoutSlashesAtTheEnd(path);
    return withoutSlashesAtTheEnd(item.first(item.lastIndexOf(u'/') + 1)).toString();
}

} // namespace Marblewick
