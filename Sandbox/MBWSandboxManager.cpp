#include "Sandbox/MBWSandboxManager.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Platform/Foundation/NSURL+Bookmarks.h"
#include "Platform/Foundation/NSURL.h"
#include "Sandbox/DirectoryAtURL.h"
#include "Sandbox/MBWSandboxManagerPrivate.h"
#include "Sandbox/MBWSandboxPersistedBookmark.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! An empty path is the beginning of none: a home folder or an entitled URL without a path would otherwise
    entitle to everything.
*/
bool hasPrefix(const QString &path, const QString &prefix)
{
    return !prefix.isEmpty() && path.startsWith(prefix);
}

template <typename URLs>
bool anyIsPrefix(const URLs &urls, const QString &path)
{
    return std::ranges::any_of(urls, [&](const QUrl &url) { return hasPrefix(path, NSURL::path(url)); });
}

} // namespace

MBWSandboxManager *MBWSandboxManager::sharedManagerMadeBy(std::unique_ptr<MBWSandboxManager> (*init)())
{
    static MBWSandboxManager *shared = nullptr;
    static auto *const nil = new MBWSandboxManager;
    if (!shared)
        shared = init().release();
    return shared ? shared : nil;
}

MBWSandboxManager::MBWSandboxManager()
    : d(std::make_unique<Private>())
{ }

MBWSandboxManager::~MBWSandboxManager() = default;

bool MBWSandboxManager::isNil() const { return !d->fileManager; }

bool MBWSandboxManager::initialize()
{
    if (!NSURL::instancesRespondToStartAccessingSecurityScopedResource())
        return false;
    d->fileManager = NSFileManager::defaultManager();
    for (MBWSandboxPersistedBookmark *const bookmark :
         fetchBookmarks(u"Error loading persisted secure bookmarks: %@")) {
        if (const std::optional<QUrl> url = bookmark->resolvedURL())
            (bookmark->isDirectory() ? d->allowedDirectoryURLs : d->allowedFileURLs).insert(*url);
    }
    return true;
}

QSet<QUrl> MBWSandboxManager::entitledDirectoryURLs() const
{
    return isNil() ? QSet<QUrl>() : d->entitledDirectoryURLs.load();
}

void MBWSandboxManager::setEntitledDirectoryURLs(const QSet<QUrl> &urls)
{
    d->entitledDirectoryURLs.store(urls);
}

QSet<QUrl> MBWSandboxManager::readOnlyEntitledDirectoryURLs() const
{
    return isNil() ? QSet<QUrl>() : d->readOnlyEntitledDirectoryURLs.load();
}

void MBWSandboxManager::setReadOnlyEntitledDirectoryURLs(const QSet<QUrl> &urls)
{
    d->readOnlyEntitledDirectoryURLs.store(urls);
}

QList<QUrl> MBWSandboxManager::additionalEntitledDirectoryURLs() const { return {}; }

bool MBWSandboxManager::entitledURLsContainsURL(const QUrl &url, bool readOnly) const
{
    const QString path = NSURL::path(url);
    return hasPrefix(path, NSHomeDirectory()) || anyIsPrefix(additionalEntitledDirectoryURLs(), path)
           || anyIsPrefix(readOnly ? readOnlyEntitledDirectoryURLs() : entitledDirectoryURLs(), path);
}

bool MBWSandboxManager::appNeedsToObtainPermissionToAccessURL(const QUrl &url)
{
    return appNeedsToObtainPermissionToAccessURLReadOnly(url, false);
}

bool MBWSandboxManager::appNeedsToObtainReadOnlyPermissionToAccessURL(const QUrl &url)
{
    return appNeedsToObtainPermissionToAccessURLReadOnly(url, true);
}

bool MBWSandboxManager::appNeedsToObtainPermissionToAccessURLReadOnly(const QUrl &url, bool readOnly)
{
    if (isNil() || entitledURLsContainsURL(url, readOnly) || !NSURL::checkResourceIsReachable(url))
        return false;
    return isDirectory(url) ? needsPermissionToAccessDirectory(NSURL::path(url))
                            : needsPermissionToAccessFile(url, readOnly);
}

bool MBWSandboxManager::needsPermissionToAccessDirectory(const QString &path)
{
    const std::optional<QUrl> directory = d->allowedDirectoryURLs.urlThatIsPrefixOfPath(path);
    if (!directory)
        return true;
    if (d->accessedURLs.contains(*directory))
        return false;
    if (NSURL::startAccessingSecurityScopedResource(*directory)) {
        d->accessedURLs.insert(*directory);
        return false;
    }
    NSLog(u"Unable to obtain secure bookmark access for folder %@",
          {directory->toString(QUrl::FullyEncoded)});
    removePersistedBookmarkForURL(*directory);
    return true;
}

bool MBWSandboxManager::needsPermissionToAccessFile(const QUrl &url, bool readOnly)
{
    // Without the slash at its end, with which it would not match itself as a package that was granted.
    const QUrl folder = NSURL::fileURLWithPath(NSURL::path(NSURL::URLByDeletingLastPathComponent(url)));
    // The folder of "/" is "/" again, and is no folder where it has the marks of a package.
    const bool isRoot = folder == url;
    if (!isRoot && !appNeedsToObtainPermissionToAccessURLReadOnly(folder, readOnly))
        return false;
    if (d->accessedURLs.urlThatMatches(url))
        return false;
    if (const std::optional<QUrl> file = d->allowedFileURLs.urlThatMatches(url)) {
        if (NSURL::startAccessingSecurityScopedResource(*file)) {
            d->accessedURLs.insert(url);
            return false;
        }
        NSLog(u"Unable to obtain secure bookmark access for file %@", {file->toString(QUrl::FullyEncoded)});
        removePersistedBookmarkForURL(*file);
        return true;
    }
    // No URL that was granted leads to this file, whatever the records resolve to now. They are resolved so
    // that those whose items are gone are known, and deleted at the next save.
    for (MBWSandboxPersistedBookmark *const bookmark : fetchBookmarks())
        bookmark->resolvedURL();
    return true;
}

void MBWSandboxManager::appDidObtainPermissionToAccessURL(const QUrl &url)
{
    appDidObtainPermissionToAccessURLIsReadOnly(url, false);
}

void MBWSandboxManager::appDidObtainReadOnlyPermissionToAccessURL(const QUrl &url)
{
    appDidObtainPermissionToAccessURLIsReadOnly(url, true);
}

void MBWSandboxManager::appDidObtainPermissionToAccessURLIsReadOnly(const QUrl &url, bool isReadOnly)
{
    if (isNil() || entitledURLsContainsURL(url, isReadOnly))
        return;
    FileURLSet &allowedURLs = allowedURLsForItemAtURL(url);
    if (allowedURLs.contains(url))
        return;
    allowedURLs.insert(url);
    auto *const bookmark = MBWSandboxPersistedBookmark::insertBookmarkForURL(url, isReadOnly);
    if (bookmark && bookmark->resolvedURL()) {
        d->accessedURLs.insert(url);
    } else {
        NSLog(u"Cannot start accessing just created security scoped URL: %@",
              {url.toString(QUrl::FullyEncoded)});
        removePersistedBookmarkForURL(url);
    }
    saveStoreFile();
}

void MBWSandboxManager::removePersistedBookmarkForURL(const QUrl &url)
{
    if (isNil())
        return;
    const auto leadsToURL = NSPredicate::predicateWithFormat(u"resolvedURL.path == %@"_s, NSURL::path(url));
    for (MBWSandboxPersistedBookmark *const bookmark :
         fetchBookmarks(u"Error loading persisted secure bookmarks to remove a bookmark: %@")) {
        if (leadsToURL.evaluateWithObject(*bookmark))
            managedObjectContext()->deleteObject(bookmark);
    }
    allowedURLsForItemAtURL(url).remove(url);
    d->accessedURLs.remove(url);
    NSURL::stopAccessingSecurityScopedResource(url);
    saveStoreFile();
}

void MBWSandboxManager::closeAllSecureBookmarks()
{
    const QList<QUrl> urls = d->accessedURLs.urls();
    for (const QUrl &url : urls)
        NSURL::stopAccessingSecurityScopedResource(url);
}

bool MBWSandboxManager::isDirectory(const QUrl &url) const
{
    return isDirectoryAtURL(url, d->allowedDirectoryURLs.contains(url));
}

FileURLSet &MBWSandboxManager::allowedURLsForItemAtURL(const QUrl &url)
{
    return isDirectory(url) ? d->allowedDirectoryURLs : d->allowedFileURLs;
}
