#include "Sandbox/DirectoryAtURL.h"

#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSURL.h"
#include "Utilities/NSFileManager+MBWExtensions.h"

using namespace Marblewick;

bool isDirectoryAtURL(const QUrl &url, bool ifUnknown)
{
    const QString path = NSURL::path(url);
    const NSFileManager *const files = NSFileManager::defaultManager();
    const QByteArray name = NSFileManager::fileSystemRepresentationWithPath(path);
    const qsizetype length = documentsFolderLength(name);
    if (length == 0)
        return MBWExtensions::isDirectoryAtPath(files, path);

    enum Answer { No, Yes, Unknown };
    const auto question = [files, path]() -> int {
        if (!files->fileExistsAtPath(path))
            return Unknown;
        return MBWExtensions::isDirectoryAtPath(files, path) ? Yes : No;
    };
    const int answer = answerOfDocumentsPortal(name.left(length), question).value_or(Unknown);
    return answer == Unknown ? ifUnknown : answer == Yes;
}
