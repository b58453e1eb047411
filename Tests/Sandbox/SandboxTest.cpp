#include "Tests/Sandbox/SandboxTest.h"

#include <Marblewick/NSManagedObjectContext.h>

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
    const auto reader = HostManager::init<HostManager>();
    std::vector<StoredBookmark> bookmarks;
    for (const MBWSandboxPersistedBookmark *const record : records(reader.get())) {
        const QUrl url(record->urlString().value_or(QString()));
        bookmarks.push_back({NSURL::path(url).toStdString(), record->isDirectory(), record->isReadOnly()});
    }
    return bookmarks;
}

QList<MBWSandboxPersistedBookmark *> SandboxTest::records(MBWSandboxManager *manager)
{
    QList<MBWSandboxPersistedBookmark *> records;
    const auto objects = manager->managedObjectContext()->executeFetchRequest(
        NSFetchRequest(u"Bookmark"_s));
    EXPECT_TRUE(objects);
    for (NSManagedObject *const object : objects.value_or(QList<NSManagedObject *>()))
        records.append(dynamic_cast<MBWSandboxPersistedBookmark *>(object));
    return records;
}
