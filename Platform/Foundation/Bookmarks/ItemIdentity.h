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
    /*! The file system, and the item's number in it; both 0 where the numbers do not outlast a mount. */
    quint64 fileSystem = 0;
    quint64 number = 0;
    quint32 kind = 0; ///< file, folder, link …: the type bits of a mode
    quint64 birthSeconds = 0; ///< since 1970; 0, like the next, where the file system does not keep it
    quint32 birthNanoseconds = 0;
    QByteArray handle; ///< the kernel's file handle with its type; empty where the file system has none

    /*! Whether nothing tells the two apart that both have. The number of the file system may differ where
       date of birth and handle agree: for some it is that of the device, which is another one after a boot.
    */
    bool mayBe(const ItemIdentity &other) const;
    /*! Whether the handle or the date of birth says so, too, and not the number alone. */
    bool isCertainly(const ItemIdentity &other) const;
    /*! Whether the handle says so, too. */
    bool isByHandle(const ItemIdentity &other) const;

private:
    bool hasBirthDate() const { return birthSeconds != 0 || birthNanoseconds != 0; }
    bool hasBirthDateOf(const ItemIdentity &other) const;
    bool hasHandleOf(const ItemIdentity &other) const { return !handle.isEmpty() && handle == other.handle; }
};

/*! The identity of the item at a path, of a symbolic link itself. The item is not opened in a way that it
   would notice. Nil, with the reason in `errno`, where it cannot be looked at. Any thread.
*/
std::optional<ItemIdentity> identityOfItem(const QByteArray &path);

/*! The same of a folder, symbolic links followed. */
std::optional<ItemIdentity> identityOfFolder(const QByteArray &path);

} // namespace Marblewick
