#include "Utilities/NSFileManager+MBWExtensions.h"

#include "Platform/AppKit/NSWorkspace.h"
#include "Utilities/FileChecksums.h"

using namespace Marblewick;

namespace MBWExtensions {

bool isDirectoryAtPath(const NSFileManager *manager, const QString &path)
{
    bool isDirectory = false;
    return manager->fileExistsAtPath(path, &isDirectory) && isDirectory
           && !NSWorkspace::sharedWorkspace()->isFilePackageAtPath(path);
}

std::optional<QByteArray> checksumForFileAtPath(const NSFileManager *manager, const QString &path)
{
    const QByteArray checksum = FileChecksums(manager).checksumOfItemAtPath(path);
    return checksum.isEmpty() ? std::nullopt : std::optional(checksum);
}

} // namespace MBWExtensions
