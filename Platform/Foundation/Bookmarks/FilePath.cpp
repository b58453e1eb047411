#include "Platform/Foundation/Bookmarks/FilePath.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSURL+Bookmarks.h"
#include "Platform/Foundation/NSURL.h"

#include <cerrno>

using namespace Qt::StringLiterals;

namespace Marblewick {

std::optional<QByteArray> filePath(const QUrl &url, NSError *error)
{
    const auto fail = [&](NSFileError code, const QString &sentence) {
        if (error)
            *error = NSError(NSCocoaErrorDomain, code, {{NSLocalizedDescriptionKey, sentence}});
        return std::nullopt;
    };
    if (url.scheme() != "file"_L1 || (!url.host().isEmpty() && url.host() != "localhost"_L1))
        return fail(NSFileReadUnsupportedSchemeError,
                    u"The URL “%1” is not that of a file on this machine."_s.arg(url.toDisplayString()));
    const QString path = NSURL::path(url);
    QByteArray bytes = NSFileManager::fileSystemRepresentationWithPath(path);
    if (!bytes.startsWith('/'))
        return fail(NSFileReadInvalidFileNameError,
                    u"The URL “%1” has no absolute path."_s.arg(url.toDisplayString()));
    return bytes;
}

QByteArray folderOfItem(const QByteArray &path)
{
    return path.left(qMax<qsizetype>(1, path.lastIndexOf('/')));
}

bool isProofOfAbsence(int failure)
{
    return failure == ENOENT || failure == ENOTDIR || failure == ELOOP || failure == ENAMETOOLONG;
}

} // namespace Marblewick
