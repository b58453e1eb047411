#include "Sandbox/MBWSandboxPersistedBookmark.h"

#include "Platform/CoreData/NSManagedObjectContext.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSURL+Bookmarks.h"
#include "Platform/Foundation/NSURL.h"
#include "Sandbox/DirectoryAtURL.h"
#include "Sandbox/MBWSandboxManager.h"

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

const QString dataKey = u"data"_s;
const QString isDirectoryKey = u"isDirectory"_s;
const QString isReadOnlyKey = u"isReadOnly"_s;
const QString resolvedURLKey = u"resolvedURL"_s;
const QString urlStringKey = u"urlString"_s;
const QString isUnresolvableKey = u"isUnresolvable"_s;

} // namespace

MBWSandboxPersistedBookmark *MBWSandboxPersistedBookmark::insertBookmarkForURL(const QUrl &url,
                                                                               bool isReadOnly)
{
    NSError error;
    const auto data = NSURL::bookmarkDataWithOptions(
        url,
        isReadOnly ? NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess
                   : NSURLBookmarkCreationWithSecurityScope,
        &error);
    if (!data) {
        NSLog(u"Error creating secure persisted bookmark for %@: %@",
              {NSURL::path(url), error.description()});
        return nullptr;
    }
    NSManagedObjectContext *const context = MBWSandboxManager::sharedManager()->managedObjectContext();
    const NSEntityDescription *const entity = context ? NSEntityDescription::entityForName(u"Bookmark"_s,
                                                                                           *context)
                                                      : nullptr;
    if (!entity)
        return nullptr;
    auto *const bookmark = static_cast<MBWSandboxPersistedBookmark *>(initWithEntity(*entity, *context));
    bookmark->setData(*data);
    bookmark->setReadOnly(isReadOnly);
    bookmark->setUrlString(url.toString(QUrl::FullyEncoded));
    if (isDirectoryAtURL(url, false))
        bookmark->setDirectory(true);
    return bookmark;
}

QByteArray MBWSandboxPersistedBookmark::data() const { return value(dataKey).toByteArray(); }

void MBWSandboxPersistedBookmark::setData(const QByteArray &data) { setValue(dataKey, data); }

bool MBWSandboxPersistedBookmark::isDirectory() const { return value(isDirectoryKey).toBool(); }

void MBWSandboxPersistedBookmark::setDirectory(bool isDirectory) { setValue(isDirectoryKey, isDirectory); }

bool MBWSandboxPersistedBookmark::isReadOnly() const { return value(isReadOnlyKey).toBool(); }

void MBWSandboxPersistedBookmark::setReadOnly(bool isReadOnly) { setValue(isReadOnlyKey, isReadOnly); }

std::optional<QString> MBWSandboxPersistedBookmark::urlString() const
{
    const QVariant string = value(urlStringKey);
    return string.isValid() ? std::optional(string.toString()) : std::nullopt;
}

void MBWSandboxPersistedBookmark::setUrlString(const QString &string) { setValue(urlStringKey, string); }

bool MBWSandboxPersistedBookmark::isUnresolvable() const { return value(isUnresolvableKey).toBool(); }

void MBWSandboxPersistedBookmark::setUnresolvable(bool isUnresolvable)
{
    setValue(isUnresolvableKey, isUnresolvable);
}

std::optional<QUrl> MBWSandboxPersistedBookmark::resolvedURL()
{
    willAccessValueForKey(resolvedURLKey);
    const QVariant value = primitiveValueForKey(resolvedURLKey);
    didAccessValueForKey(resolvedURLKey);
    const std::optional<QUrl> held = value.isValid() ? std::optional(value.toUrl()) : std::nullopt;
    if (held && !NSURL::checkResourceIsReachable(*held))
        return held;

    NSError error;
    const std::optional<QUrl> resolved = NSURL::URLByResolvingBookmarkData(
        data(), NSURLBookmarkResolutionWithoutUI | NSURLBookmarkResolutionWithSecurityScope, nullptr, &error);
    if (!resolved) {
        NSLog(u"Error resolving persisted secure bookmark %@: %@", {urlString(), error.description()});
        setUnresolvable(true);
        return held;
    }
    setUrlString(resolved->toString(QUrl::FullyEncoded));
    willChangeValueForKey(resolvedURLKey);
    setPrimitiveValue(*resolved, resolvedURLKey);
    didChangeValueForKey(resolvedURLKey);
    setUnresolvable(false);
    return resolved;
}

QVariant MBWSandboxPersistedBookmark::valueForKey(const QString &key)
{
    if (key != resolvedURLKey)
        return NSManagedObject::valueForKey(key);
    const std::optional<QUrl> url = resolvedURL();
    return url ? QVariant(*url) : QVariant();
}
