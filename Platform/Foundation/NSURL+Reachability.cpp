#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"
#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/Bookmarks/FlatpakSandbox.h"
#include "Platform/Foundation/NSURL.h"

#include <cerrno>
#include <sys/stat.h>

namespace Marblewick::NSURL {

namespace {

bool exists(const QByteArray &path, struct stat *status) { return ::stat(path.constData(), status) == 0; }

bool isProofOfAbsence(int failure)
{
    return failure == ENOENT || failure == ENOTDIR || failure == ELOOP || failure == ENAMETOOLONG;
}

/*! Whether something that looks missing in a sandbox, or in the documents portal, may only be hidden by that.
   The folders that a sandbox consists of, such as /home, are on the file system of its root, and hold nothing
   but what it shows.
*/
bool mayBeHidden(QByteArray path)
{
    struct stat root = {};
    struct stat status = {};
    if (!exists("/", &root))
        return true;
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
    return isDocument || (FlatpakSandbox::current() && status.st_dev == root.st_dev);
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
