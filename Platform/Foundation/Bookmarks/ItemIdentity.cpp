#include "Platform/Foundation/Bookmarks/ItemIdentity.h"

#include <QScopeGuard>

#include <array>
#include <cstddef>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace Marblewick {

namespace {

quint64 fileSystemNumber(const struct statfs &status)
{
    const auto &number = status.f_fsid.__val;
    return quint64(quint32(number[0])) << 32 | quint32(number[1]);
}

/*! Whether an item keeps its number and its handle when the file system is mounted anew. FAT has nothing on
   the disk to take them from, and file systems in user space commonly count.
*/
bool hasLastingNumbers(const struct statfs &fileSystem)
{
    return fileSystem.f_type != FUSE_SUPER_MAGIC && fileSystem.f_type != MSDOS_SUPER_MAGIC
           && fileSystem.f_type != EXFAT_SUPER_MAGIC;
}

/*! The kernel's handle of an open item, its type first. */
QByteArray handle(int item)
{
    alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> room = {};
    auto *const found = reinterpret_cast<file_handle *>(room.data());
    found->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    if (::name_to_handle_at(item, "", found, &mount, AT_EMPTY_PATH) != 0)
        return {};
    constexpr size_t type = offsetof(file_handle, handle_type);
    return {room.data() + type, qsizetype(sizeof(file_handle) - type + found->handle_bytes)};
}

std::optional<ItemIdentity> identity(const QByteArray &path, int flags)
{
    const int item = ::open(path.constData(), O_PATH | O_CLOEXEC | flags);
    if (item < 0)
        return std::nullopt;
    const auto closing = qScopeGuard([item] { ::close(item); });
    struct statx status = {};
    struct statfs fileSystem = {};
    if (::statx(item, "", AT_EMPTY_PATH, STATX_TYPE | STATX_INO | STATX_BTIME, &status) != 0
        || ::fstatfs(item, &fileSystem) != 0)
        return std::nullopt;

    ItemIdentity identity;
    identity.kind = status.stx_mode & quint32(S_IFMT);
    if (status.stx_mask & STATX_BTIME) {
        identity.birthSeconds = static_cast<quint64>(status.stx_btime.tv_sec);
        identity.birthNanoseconds = status.stx_btime.tv_nsec;
    }
    if (hasLastingNumbers(fileSystem)) {
        identity.fileSystem = fileSystemNumber(fileSystem);
        identity.number = status.stx_ino;
        identity.handle = handle(item);
    }
    return identity;
}

} // namespace

bool ItemIdentity::hasBirthDateOf(const ItemIdentity &other) const
{
    return hasBirthDate() && birthSeconds == other.birthSeconds && birthNanoseconds == other.birthNanoseconds;
}

bool ItemIdentity::mayBe(const ItemIdentity &other) const
{
    if (number != other.number || kind != other.kind)
        return false;
    if (hasBirthDateOf(other) && hasHandleOf(other))
        return true;
    const bool hasOtherBirthDate = hasBirthDate() && other.hasBirthDate() && !hasBirthDateOf(other);
    const bool hasOtherHandle = !handle.isEmpty() && !other.handle.isEmpty() && !hasHandleOf(other);
    return fileSystem == other.fileSystem && !hasOtherBirthDate && !hasOtherHandle;
}

bool ItemIdentity::isCertainly(const ItemIdentity &other) const
{
    return mayBe(other) && (hasBirthDateOf(other) || hasHandleOf(other));
}

bool ItemIdentity::isByHandle(const ItemIdentity &other) const { return mayBe(other) && hasHandleOf(other); }

std::optional<ItemIdentity> identityOfItem(const QByteArray &path) { return identity(path, O_NOFOLLOW); }

std::optional<ItemIdentity> identityOfFolder(const QByteArray &path) { return identity(path, O_DIRECTORY); }

} // namespace Marblewick
