#include "Platform/Foundation/NSURL+Bookmarks.h"

#include "Platform/Foundation/Bookmarks/Bookmark.h"
#include "Platform/Foundation/Bookmarks/DocumentsPortal.h"
#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/Bookmarks/ItemSearch.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/Foundation/NSURL.h"

#include <QHash>

#include <cerrno>
#include <climits>

using namespace Qt::StringLiterals;

namespace Marblewick::NSURL {

namespace {

std::nullopt_t fail(NSError *error, int code, const QByteArray &path)
{
    if (error)
        *error = NSError::posixError(code, NSFileManager::stringWithFileSystemRepresentation(path));
    return std::nullopt;
}

Bookmark::Scope scope(NSURLBookmarkCreationOptions options)
{
    if (options & NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess)
        return Bookmark::Scope::ReadOnly;
    return options & NSURLBookmarkCreationWithSecurityScope ? Bookmark::Scope::ReadWrite
                                                            : Bookmark::Scope::None;
}

QByteArray homeFolder() { return NSFileManager::fileSystemRepresentationWithPath(NSHomeDirectory()); }

bool isInFolder(const QByteArray &path, const QByteArray &folder)
{
    return folder.size() > 1 && path.startsWith(folder)
           && (path.size() == folder.size() || path[folder.size()] == '/');
}

/*! Where the documents portal shows a bookmarked document; not looked for. */
ItemSearch::Result findDocument(const Bookmark &bookmark)
{
    const QByteArray path = currentDocumentPath(bookmark.path, bookmark.baseLength);
    if (documentsFolderLength(path) == 0)
        return {};
    return {path, path == bookmark.path};
}

/*! Whether the bookmark last resolved to a path is for reading only. */
QHash<QString, bool> &readOnlyScopes()
{
    static QHash<QString, bool> scopes;
    return scopes;
}

} // namespace

std::optional<QByteArray> bookmarkDataWithOptions(const QUrl &url, NSURLBookmarkCreationOptions options,
                                                  NSError *error)
{
    const auto path = filePath(url, error);
    if (!path)
        return std::nullopt;
    if (path->size() >= PATH_MAX)
        return fail(error, ENAMETOOLONG, *path);
    Bookmark bookmark{.path = *path, .scope = scope(options)};
    if (const qsizetype length = documentsFolderLength(*path); length > 0) {
        if (!checkResourceIsReachable(url, error))
            return std::nullopt;
        bookmark.base = Bookmark::Base::Documents;
        bookmark.baseLength = length;
        return bookmark.data();
    }
    bookmark.item = identityOfItem(*path);
    if (!bookmark.item)
        return fail(error, errno, *path);
    bookmark.folder = identityOfFolder(folderOfItem(*path));
    if (!bookmark.folder)
        return fail(error, errno, *path);
    if (const QByteArray home = homeFolder(); isInFolder(*path, home)) {
        bookmark.base = Bookmark::Base::Home;
        bookmark.baseLength = home.size();
    }
    return bookmark.data();
}

std::optional<QUrl> URLByResolvingBookmarkData(const QByteArray &data, NSURLBookmarkResolutionOptions options,
                                               bool *isStale, NSError *error)
{
    const auto bookmark = Bookmark::fromData(data, error);
    if (!bookmark)
        return std::nullopt;
    const auto found = bookmark->base == Bookmark::Base::Documents
                           ? findDocument(*bookmark)
                           : ItemSearch(*bookmark, homeFolder()).result();
    if (found.path.isEmpty()) {
        if (error) {
            const QString path = NSFileManager::stringWithFileSystemRepresentation(bookmark->path);
            *error = NSError(NSCocoaErrorDomain, NSFileNoSuchFileError,
                             {{NSLocalizedDescriptionKey, u"The bookmarked item is not there any more."_s},
                              {NSFilePathErrorKey, path}});
        }
        return std::nullopt;
    }
    const QString path = NSFileManager::stringWithFileSystemRepresentation(found.path);
    if (bookmark->scope != Bookmark::Scope::None && (options & NSURLBookmarkResolutionWithSecurityScope))
        readOnlyScopes().insert(path, bookmark->scope == Bookmark::Scope::ReadOnly);
    if (isStale)
        *isStale = !found.isAsBookmarked;
    return fileURLWithPath(path);
}

bool instancesRespondToStartAccessingSecurityScopedResource()
{
    return NSSecurityScope::current() != nullptr;
}

bool startAccessingSecurityScopedResource(const QUrl &url)
{
    const auto isReadOnly = readOnlyScopes().constFind(path(url));
    NSSecurityScope *const scope = NSSecurityScope::current();
    return scope && isReadOnly != readOnlyScopes().constEnd() && scope->startAccessing(url, *isReadOnly);
}

void stopAccessingSecurityScopedResource(const QUrl &url)
{
    if (NSSecurityScope *const scope = NSSecurityScope::current())
        scope->stopAccessing(url);
}

} // namespace Marblewick::NSURL
