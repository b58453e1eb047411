#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"
#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/Bookmarks/FlatpakSandbox.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/Foundation/NSURL.h"

#include <cerrno>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace Marblewick::NSURL {

namespace {

bool exists(const QByteArray &path, struct stat *status) { return ::stat(path.constData(), status) == 0; }

/*! Whether a folder holds nothing but what the sandbox shows in it. Such are the folders that the sandbox
   itself consists of, like /home, which are on the file system of its root, and the ones that it covers by a
   file system in memory. The application's own folder may also be in memory, but is all there.
*/
bool isOfSandbox(const QByteArray &folder, const struct stat &status)
{
    struct stat other = {};
    if (!exists("/", &other) || other.st_dev == status.st_dev)
        return true;
    struct statfs fileSystem = {};
    const bool isInMemory = ::statfs(folder.constData(), &fileSystem) == 0
                            && fileSystem.f_type == TMPFS_MAGIC;
    const QByteArray home = NSFileManager::fileSystemRepresentationWithPath(NSHomeDirectory());
    return isInMemory && !(exists(home, &other) && other.st_dev == status.st_dev);
}

/*! Whether something that looks missing in a sandbox, or in the documents portal, may only be hidden by that.
 */
bool mayBeHidden(QByteArray path)
{
    struct stat status = {};
    bool isDocument = false;
    while (!exists(path, &status)) {
        const bool cannotLook = !isProofOfAbsence(errno);
        const bool isLinkToWhatIsMissing = ::lstat(path.constData(), &status) == 0;
        if (cannotLook || isLinkToWhatIsMissing)
            return true;
        const QByteArray folder = folderOfItem(path);
        isDocument = documentsFolderLength(path) == folder.size();
        path = folder;
    }
    return isDocument || (FlatpakSandbox::current() && isOfSandbox(path, status));
}

/*! The errno value that proves an item missing, or 0. */
int provenAbsence(const QByteArray &path)
{
    struct stat status = {};
    if (exists(path, &status))
        return 0;
    const int failure = errno;
    if (!isProofOfAbsence(failure))
        return 0;
    const bool looksMissing = failure == ENOENT || failure == ENOTDIR;
    const bool isPartlyHidden = FlatpakSandbox::current() || documentsFolderLength(path) > 0;
    return looksMissing && isPartlyHidden && mayBeHidden(path) ? 0 : failure;
}

} // namespace

bool checkResourceIsReachable(const QUrl &url, NSError *error)
{
    const auto name = filePath(url, error);
    if (!name)
        return false;
    const auto check = [name = *name] { return provenAbsence(name); };
    const qsizetype length = documentsFolderLength(*name);
    const int failure = length > 0 ? answerOfDocumentsPortal(name->left(length), check).value_or(0) : check();
    if (failure != 0 && error)
        *error = NSError::posixError(failure, path(url));
    return failure == 0;
}

} // namespace Marblewick::NSURL
