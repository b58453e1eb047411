#include "Sandbox/MBWSandboxManager.h"

#include "Platform/CoreData/NSFetchRequest.h"
#include "Platform/CoreData/NSManagedObjectModel.h"
#include "Platform/CoreData/NSPersistentStoreCoordinator.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSException.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSURL.h"
#include "Sandbox/MBWSandboxManagerPrivate.h"
#include "Sandbox/MBWSandboxPersistedBookmark.h"

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! Nil where no error was set, as by a fetch without a context. */
std::optional<QString> descriptionOf(const NSError &error)
{
    return error.domain().isEmpty() ? std::nullopt : std::optional(error.description());
}

/*! False, with a line in the log, where the store cannot be opened. */
bool addStore(NSPersistentStoreCoordinator *coordinator, const std::optional<QUrl> &url,
              const std::optional<QString> &path)
{
    NSError error;
    const QVariantMap options{{NSMigratePersistentStoresAutomaticallyOption, true}};
    if (coordinator->addPersistentStoreWithType(NSSQLiteStoreType, std::nullopt, url, options, &error))
        return true;
    NSLog(u"Unable to open secure bookmarks file at %@: %@", {path, error.description()});
    return false;
}

bool removeStore(const QUrl &url, const QString &path)
{
    NSError error;
    if (NSPersistentStoreCoordinator::destroyPersistentStoreAtURL(url, &error))
        return true;
    NSLog(u"Cannot remove secure bookmarks file %@: %@", {path, error.description()});
    return false;
}

} // namespace

std::optional<QUrl> MBWSandboxManager::storeFileURL() const
{
    // Made but not thrown: a host without a store works, for as long as it runs.
    [[maybe_unused]] const NSException exception(u"MBWSandboxManagerStoreURLException"_s,
                                                 u"Cannot create Sandbox store file, no URL specified!"_s);
    return std::nullopt;
}

const NSManagedObjectModel *MBWSandboxManager::managedObjectModel()
{
    if (!d->managedObjectModel && !isNil()) {
        NSManagedObject::registerClass<MBWSandboxPersistedBookmark>(u"MBWSandboxPersistedBookmark"_s);
        const auto url = NSBundle::bundleForClass<MBWSandboxManager>()->URLForResource(
            u"SandboxPersistedBookmarks"_s, u"momd"_s);
        if (url)
            d->managedObjectModel = NSManagedObjectModel::initWithContentsOfURL(*url);
    }
    return d->managedObjectModel.get();
}

NSPersistentStoreCoordinator *MBWSandboxManager::persistentStoreCoordinator()
{
    managedObjectModel();
    while (!d->persistentStoreCoordinator && !isNil()) {
        d->persistentStoreCoordinator = std::make_shared<NSPersistentStoreCoordinator>(d->managedObjectModel);
        const std::optional<QUrl> url = storeFileURL();
        const std::optional<QString> path = url ? std::optional(NSURL::path(*url)) : std::nullopt;
        if (addStore(d->persistentStoreCoordinator.get(), url, path)
            || !(path && d->fileManager->fileExistsAtPath(*path)))
            break;
        d->persistentStoreCoordinator.reset();
        if (!removeStore(*url, *path))
            break;
    }
    return d->persistentStoreCoordinator.get();
}

NSManagedObjectContext *MBWSandboxManager::managedObjectContext()
{
    if (!d->managedObjectContext && persistentStoreCoordinator()) {
        d->managedObjectContext = std::make_unique<NSManagedObjectContext>(NSMainQueueConcurrencyType);
        d->managedObjectContext->setPersistentStoreCoordinator(d->persistentStoreCoordinator);
        d->managedObjectContext->setMergePolicy(NSOverwriteMergePolicy);
    }
    return d->managedObjectContext.get();
}

QList<MBWSandboxPersistedBookmark *> MBWSandboxManager::fetchBookmarks(
    QStringView failureMessage, const std::optional<NSPredicate> &predicate)
{
    NSFetchRequest request(u"Bookmark"_s);
    request.setPredicate(predicate);
    NSError error;
    NSManagedObjectContext *const context = managedObjectContext();
    const auto objects = context ? context->executeFetchRequest(request, &error) : std::nullopt;
    if (!objects && !failureMessage.isEmpty())
        NSLog(failureMessage, {descriptionOf(error)});
    QList<MBWSandboxPersistedBookmark *> bookmarks;
    for (NSManagedObject *const object : objects.value_or(QList<NSManagedObject *>()))
        bookmarks.append(static_cast<MBWSandboxPersistedBookmark *>(object));
    return bookmarks;
}

bool MBWSandboxManager::saveStoreFile(NSError *error)
{
    if (isNil())
        return false;
    const auto isUnresolvable = NSPredicate::predicateWithFormat(u"isUnresolvable == YES"_s);
    for (auto *const bookmark : fetchBookmarks(u"Error fetching unresolveable bookmarks: %@", isUnresolvable))
        managedObjectContext()->deleteObject(bookmark);
    NSManagedObjectContext *const context = managedObjectContext();
    NSError failure;
    if (context && context->save(&failure))
        return true;
    NSLog(u"Unable to save secure persisted bookmarks file: %@", {descriptionOf(failure)});
    if (error)
        *error = failure;
    return false;
}
