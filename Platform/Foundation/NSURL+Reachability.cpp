#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"
#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/Bookmarks/FlatpakSandbox.h"
#include "Platform/Foundation/NSURL.h"

namespace Marblewick::NSURL {

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
