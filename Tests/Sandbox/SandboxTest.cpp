#include "Tests/Sandbox/SandboxTest.h"

#include "Tests/Platform/CoreData/BookmarkStore.h"

using namespace Qt::StringLiterals;
using namespace Marblewick;

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
    BookmarkStore store(storePath(), {{NSReadOnlyPersistentStoreOption, true}});
    EXPECT_TRUE(store.isOpen()) << qPrintable(store.error().description());
    std::vector<StoredBookmark> bookmarks;
    for (const NSManagedObject *const record : store.bookmarks()) {
        bookmarks.push_back({NSURL::path(QUrl(record->value(u"urlString"_s).toString())).toStdString(),
                             record->value(u"isDirectory"_s).toBool(),
                             record->value(u"isReadOnly"_s).toBool()});
    }
    return bookmarks;
}

QList<MBWSandboxPersistedBookmark *> SandboxTest::records(MBWSandboxManager *manager)
{
    NSError error;
    const auto objects = manager->managedObjectContext()->executeFetchRequest(NSFetchRequest(u"Bookmark"_s),
                                                                              &error);
    EXPECT_TRUE(objects) << qPrintable(error.description());
    QList<MBWSandboxPersistedBookmark *> records;
    for (NSManagedObject *const record : objects.value_or(QList<NSManagedObject *>()))
        records.append(dynamic_cast<MBWSandboxPersistedBookmark *>(record));
    return records;
}
