#include "Tests/Sandbox/SandboxTest.h"

#include <Marblewick/NSManagedObjectContext.h>
#include <Marblewick/NSManagedObjectModel.h>
#include <Marblewick/NSPersistentStoreCoordinator.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

QList<NSManagedObject *> allBookmarks(NSManagedObjectContext *context)
{
    NSError error;
    const auto bookmarks = context->executeFetchRequest(NSFetchRequest(u"Bookmark"_s), &error);
    EXPECT_TRUE(bookmarks) << qPrintable(error.description());
    return bookmarks.value_or(QList<NSManagedObject *>());
}

} // namespace

std::ostream &operator<<(std::ostream &out, const StoredBookmark &bookmark)
{
    return out << bookmark.path << (bookmark.isDirectory ? ", folder" : ", file")
               << (bookmark.isReadOnly ? ", read-only" : ", read-write");
}

SandboxTest::SandboxTest()
{
    EXPECT_TRUE(QDir().mkpath(home.dataFolder()));
    HostManager::store = QUrl::fromLocalFile(storePath());
}

QUrl SandboxTest::newFile(const QString &name) const
{
    writeFile(path(name), "a map");
    return url(name);
}

QUrl SandboxTest::newFolder(const QString &name) const
{
    EXPECT_TRUE(QDir().mkpath(path(name)));
    return url(name);
}

std::vector<StoredBookmark> SandboxTest::storedBookmarks() const
{
    const auto model = NSManagedObjectModel::initWithContentsOfURL(
        QUrl(u"qrc:/Marblewick/SandboxPersistedBookmarks.momd"_s));
    const auto coordinator = std::make_shared<NSPersistentStoreCoordinator>(model);
    EXPECT_TRUE(coordinator->addPersistentStoreWithType(NSSQLiteStoreType, std::nullopt,
                                                        QUrl::fromLocalFile(storePath()),
                                                        {{NSReadOnlyPersistentStoreOption, true}}));
    NSManagedObjectContext context(NSMainQueueConcurrencyType);
    context.setPersistentStoreCoordinator(coordinator);
    std::vector<StoredBookmark> bookmarks;
    for (const NSManagedObject *const record : allBookmarks(&context)) {
        bookmarks.push_back({NSURL::path(QUrl(record->value(u"urlString"_s).toString())).toStdString(),
                             record->value(u"isDirectory"_s).toBool(),
                             record->value(u"isReadOnly"_s).toBool()});
    }
    return bookmarks;
}

QList<MBWSandboxPersistedBookmark *> SandboxTest::records(MBWSandboxManager *manager)
{
    QList<MBWSandboxPersistedBookmark *> records;
    for (NSManagedObject *const record : allBookmarks(manager->managedObjectContext()))
        records.append(dynamic_cast<MBWSandboxPersistedBookmark *>(record));
    return records;
}
