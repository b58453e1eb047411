#pragma once

#include <QByteArray>

#include <optional>

namespace Marblewick {

/*! What makes an item of a file system itself, whatever its name.

    The number alone does not: a file system gives the number of a deleted item to the next new one. The
   handle tells the two apart, where the file system has handles; the date of birth does, unless both were
   made within the few milliseconds of one tick of the system's clock.
*/
struct ItemIdentity
{
    quint64 fileSystem = 0;
    quint64 number = 0;
    quint32 kind = 0; ///< file, folder, link …: the type bits of a mode
    quint64 birthSeconds = 0; ///< since 1970; 0, like the next, where the file system does not keep it
    quint32 birthNanoseconds = 0;
    QByteArray handle; ///< the kernel's file handle with its type; empty where the file system has none

    bool operator==(const ItemIdentity &) const = default;
};

/*! The identity of the item at a path, of a symbolic link itself. The item is not opened in a way that it
   would notice. Nil, with the reason in `errno`, where it cannot be looked at. Any thread.
*/
std::optional<ItemIdentity> identityOfItem(const QByteArray &path);

/*! The same of a folder, symbolic links followed. */
std::optional<ItemIdentity> identityOfFolder(const QByteArray &path);

/*! The path of an item somewhere in a folder, subfolders left out; empty where it is not there, or has no
   handle that would prove it is the one.
*/
QByteArray pathOfItem(const ItemIdentity &item, const QByteArray &folder);

} // namespace Marblewick
