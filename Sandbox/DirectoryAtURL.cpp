#include "Sandbox/DirectoryAtURL.h"

#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSURL.h"
#include "Utilities/NSFileManager+MBWExtensions.h"

using namespace Marblewick;

bool isDirectoryAtURL(const QUrl &url, bool ifUnknown)
{
    const QString path = NSURL::path(url);
    const auto isDirectory = [path] {
        return MBWExtensions::isDirectoryAtPath(NSFileManager::defaultManager(), path) ? 1 : 0;
    };
    const QByteArray name = NSFileManager::fileSystemRepresentationWithPath(path);
    const qsizetype length = documentsFolderLength(name);
    return length > 0
               ? answerOfDocumentsPortal(name.left(length), isDirectory).value_or(ifUnknown ? 1 : 0) != 0
               : isDirectory() != 0;
}
