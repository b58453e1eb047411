#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"
#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/NSURL+Bookmarks.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace Marblewick {

namespace {

/*! Whether the system refuses for certain. Any other failure, such as that of a server which does not answer,
   may be over in a moment, and must not cost the user's grant.
*/
bool isRefusal(int failure)
{
    switch (failure) {
    case EACCES:
    case EPERM:
    case EROFS:
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
        return true;
    default:
        return false;
    }
}

/*! Asks the system for the use of an item: 0, or the `errno` value with which it is refused. What is in a
   folder can only be used where the folder may be searched.
*/
int access(const QByteArray &path, bool isReadOnly)
{
    struct stat status = {};
    const bool isFolder = ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
    const int mode = R_OK | (isReadOnly ? 0 : W_OK) | (isFolder ? X_OK : 0);
    return ::access(path.constData(), mode) == 0 ? 0 : errno;
}

class SystemSecurityScope : public NSSecurityScope
{
public:
    bool startAccessing(const QUrl &url, bool isReadOnly) override
    {
        const auto path = filePath(url, nullptr);
        if (!path)
            return false;
        const auto check = [path = *path, isReadOnly] { return access(path, isReadOnly); };
        const qsizetype length = documentsFolderLength(*path);
        return !isRefusal(length > 0 ? answerOfDocumentsPortal(path->left(length), check).value_or(0)
                                     : check());
    }

    void stopAccessing(const QUrl &) override
    {
        // Nothing was taken that could be given back: the grant is the portal's, and lasts.
    }
};

NSSecurityScope *&currentScope()
{
    static NSSecurityScope *scope = NSSecurityScope::systemScope();
    return scope;
}

} // namespace

NSSecurityScope::~NSSecurityScope() = default;

NSSecurityScope *NSSecurityScope::current() { return currentScope(); }

void NSSecurityScope::setCurrent(NSSecurityScope *scope) { currentScope() = scope; }

NSSecurityScope *NSSecurityScope::systemScope()
{
    static SystemSecurityScope scope;
    return &scope;
}

} // namespace Marblewick
