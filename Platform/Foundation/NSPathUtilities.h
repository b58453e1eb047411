#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>
#include <QStringList>

/*! Where things lie, and whose they are. Paths are absolute and without a trailing slash. Any thread. */
namespace Marblewick {

enum class NSSearchPathDirectory {
    LibraryDirectory, ///< the per-user state folder: `$XDG_STATE_HOME`, else `~/.local/state`
    ApplicationSupportDirectory, ///< the generic per-user data folder: `$XDG_DATA_HOME`, else
                                 ///< `~/.local/share`
    PreferencesDirectory, ///< the per-user settings folder: `$XDG_CONFIG_HOME`, else `~/.config`
};

enum class NSSearchPathDomainMask {
    UserDomain, ///< the user's own folders
};

/*! The folders of one kind in one domain; whether they exist is not looked at. Here it is always one.
    As the XDG base directory rules say, a variable that holds a relative path counts as unset.
*/
MARBLEWICK_CORE_EXPORT QStringList NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory,
                                                                       NSSearchPathDomainMask domainMask,
                                                                       bool expandTilde);

/*! The user's home folder: `$HOME`, else the one of the user database, else "/". In a Flatpak sandbox it is
   the application's own in that, `~/.var/app/<identifier>`: the rest of the user's is not the application's.
*/
MARBLEWICK_CORE_EXPORT QString NSHomeDirectory();

/*! The login name of the user that this process acts for: the one of the user database, else `$USER`. */
MARBLEWICK_CORE_EXPORT QString NSUserName();

/*! The user's folder for temporary files: `$TMPDIR`, else "/tmp". */
MARBLEWICK_CORE_EXPORT QString NSTemporaryDirectory();

/*! A path and a component joined by exactly one slash. */
MARBLEWICK_CORE_EXPORT QString stringByAppendingPathComponent(const QString &path, const QString &component);

/*! The absolute path of an item by which no symbolic link, "." or ".." leads to it. Where there is nothing,
   or its path would be too long for the system, `path` as it is.
*/
MARBLEWICK_CORE_EXPORT QString stringByResolvingSymlinksInPath(const QString &path);

/*! A path without its last component and the slashes around that: the folder that an item lies in. Empty for
    a bare name; "/" for "/".
*/
MARBLEWICK_CORE_EXPORT QString stringByDeletingLastPathComponent(const QString &path);

} // namespace Marblewick
