#include "Platform/Foundation/Bookmarks/FolderListing.h"

#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/Bookmarks/ItemIdentity.h"

#include <QScopeGuard>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <sys/stat.h>
#include <vector>

namespace Marblewick {

namespace {

constexpr size_t maximumEntryCount = 250'000;

/*! The coarsest clock of a file system with handles ticks once a second: the next change of a folder that
   last changed longer ago than this has another date.
*/
constexpr time_t settlingTime = 2; // seconds

struct FolderListing
{
    struct Entry
    {
        ino_t number;
        qsizetype name; ///< where it begins in `names`
    };

    struct stat folder = {}; ///< as it was before the entries were read
    bool isLasting = false; ///< whether every later change of the folder shows by its date
    std::vector<Entry> entries = {};
    QByteArray names = {}; ///< each with a NUL at its end
};

bool hasSettled(const struct stat &folder) { return folder.st_ctim.tv_sec + settlingTime < ::time(nullptr); }

bool isUnchanged(const struct stat &folder, const struct stat &former)
{
    return folder.st_dev == former.st_dev && folder.st_ino == former.st_ino
           && folder.st_ctim.tv_sec == former.st_ctim.tv_sec
           && folder.st_ctim.tv_nsec == former.st_ctim.tv_nsec;
}

/*! Reads the entries of an open folder; false, with the reason in `errno`, where that fails. */
bool read(DIR *folder, FolderListing *listing)
{
    errno = 0;
    while (const dirent *entry = ::readdir(folder)) {
        if (listing->entries.size() == maximumEntryCount) {
            errno = EOVERFLOW;
            return false;
        }
        listing->entries.push_back({entry->d_ino, listing->names.size()});
        listing->names.append(entry->d_name, qsizetype(std::strlen(entry->d_name)) + 1);
    }
    return errno == 0;
}

/*! The entries of a folder; null, with the reason in `errno`, where they cannot be read. */
const FolderListing *listingOfFolder(const QByteArray &path)
{
    static FolderListing last;
    DIR *const folder = ::opendir(path.constData());
    if (!folder)
        return nullptr;
    const auto closing = qScopeGuard([folder] { ::closedir(folder); });
    struct stat status = {};
    if (::fstat(::dirfd(folder), &status) != 0)
        return nullptr;
    if (last.isLasting && isUnchanged(status, last.folder))
        return &last;
    last = {.folder = status, .isLasting = hasSettled(status)};
    if (!read(folder, &last)) {
        last = {};
        return nullptr;
    }
    return &last;
}

} // namespace

std::optional<QByteArray> pathOfItemInFolder(const ItemIdentity &item, const QByteArray &folder)
{
    if (item.handle.isEmpty())
        return QByteArray();
    const FolderListing *const listing = listingOfFolder(folder);
    if (!listing)
        return std::nullopt;
    const QByteArray prefix = folder.endsWith('/') ? folder : folder + '/';
    for (const FolderListing::Entry &entry : listing->entries) {
        if (entry.number != item.number)
            continue;
        const QByteArray path = prefix + (listing->names.constData() + entry.name);
        const auto found = identityOfItem(path);
        if (!found && !isProofOfAbsence(errno))
            return std::nullopt;
        if (found && found->isByHandle(item))
            return path;
    }
    return QByteArray();
}

} // namespace Marblewick
