#include "Platform/Foundation/Bookmarks/FolderListing.h"

#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/Bookmarks/ItemIdentity.h"

#include <QScopeGuard>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <sys/stat.h>
#include <vector>

namespace Marblewick {

namespace {

constexpr int maximumEntryCount = 250'000;

/*! The coarsest clock of a file system with handles ticks once a second: the next change of a folder that
   last changed longer ago than this has another date.
*/
constexpr time_t settlingTime = 2; // seconds

/*! What was read of the folder that was searched last. */
struct FolderListing
{
    struct Entry
    {
        ino_t number;
        qsizetype name; ///< where it begins in `names`
    };

    struct stat folder = {}; ///< as it was before it was read
    bool isRead = false; ///< false after the first search, which stops at the item
    std::vector<Entry> entries = {}; ///< by their numbers
    QByteArray names = {}; ///< each with a NUL at its end
};

bool hasSettled(const struct stat &folder) { return folder.st_ctim.tv_sec + settlingTime < ::time(nullptr); }

bool isUnchanged(const struct stat &folder, const struct stat &former)
{
    return folder.st_dev == former.st_dev && folder.st_ino == former.st_ino
           && folder.st_ctim.tv_sec == former.st_ctim.tv_sec
           && folder.st_ctim.tv_nsec == former.st_ctim.tv_nsec;
}

/*! Calls `visit` with the entries of a folder until it returns false. False, with the reason in `errno`,
   where they cannot all be read.
*/
template <typename Visit>
bool visitEntries(const QByteArray &path, Visit visit)
{
    DIR *const folder = ::opendir(path.constData());
    if (!folder)
        return false;
    const auto closing = qScopeGuard([folder] { ::closedir(folder); });
    for (int count = 0;; ++count) {
        errno = 0;
        const dirent *const entry = ::readdir(folder);
        if (!entry)
            return errno == 0;
        if (count == maximumEntryCount) {
            errno = EOVERFLOW;
            return false;
        }
        if (!visit(*entry))
            return true;
    }
}

/*! Whether the item is the one at a path. Nil, with the reason in `errno`, where that cannot be told. */
std::optional<bool> isItem(const QByteArray &path, const ItemIdentity &item)
{
    const auto found = identityOfItem(path);
    if (!found && !isProofOfAbsence(errno))
        return std::nullopt;
    return found && found->isByHandle(item);
}

/*! Looks for the item in a folder, whose path ends with a slash, up to where it is. */
std::optional<QByteArray> searchFolder(const QByteArray &folder, const ItemIdentity &item)
{
    QByteArray path;
    std::optional<bool> isFound = false;
    const bool isRead = visitEntries(folder, [&](const dirent &entry) {
        if (entry.d_ino != item.number)
            return true;
        path = folder + entry.d_name;
        isFound = isItem(path, item);
        return isFound == false;
    });
    if (!isRead || !isFound)
        return std::nullopt;
    return *isFound ? path : QByteArray();
}

bool readFolder(const QByteArray &folder, FolderListing *listing)
{
    listing->isRead = visitEntries(folder, [listing](const dirent &entry) {
        listing->entries.push_back({entry.d_ino, listing->names.size()});
        listing->names.append(entry.d_name, qsizetype(std::strlen(entry.d_name)) + 1);
        return true;
    });
    std::ranges::sort(listing->entries, {}, &FolderListing::Entry::number);
    return listing->isRead;
}

/*! Looks for the item in what was read of a folder, whose path ends with a slash. */
std::optional<QByteArray> searchListing(const FolderListing &listing, const QByteArray &folder,
                                        const ItemIdentity &item)
{
    auto entry = std::ranges::lower_bound(listing.entries, item.number, {}, &FolderListing::Entry::number);
    for (; entry != listing.entries.end() && entry->number == item.number; ++entry) {
        const QByteArray path = folder + (listing.names.constData() + entry->name);
        const auto isFound = isItem(path, item);
        if (!isFound)
            return std::nullopt;
        if (*isFound)
            return path;
    }
    return QByteArray();
}

} // namespace

std::optional<QByteArray> pathOfItemInFolder(const ItemIdentity &item, const QByteArray &folder)
{
    static FolderListing last;
    if (item.handle.isEmpty())
        return QByteArray();
    const QByteArray prefix = folder.endsWith('/') ? folder : folder + '/';
    struct stat status = {};
    if (::stat(prefix.constData(), &status) != 0)
        return std::nullopt;
    if (!isUnchanged(status, last.folder) || !hasSettled(status)) {
        last = {.folder = status};
        return searchFolder(prefix, item);
    }
    if (!last.isRead && !readFolder(prefix, &last)) {
        const int failure = errno;
        last = {};
        errno = failure;
        return std::nullopt;
    }
    return searchListing(last, prefix, item);
}

} // namespace Marblewick
