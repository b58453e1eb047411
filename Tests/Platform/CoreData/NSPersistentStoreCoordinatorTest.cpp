#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <cerrno>
#include <sys/stat.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

class NSPersistentStoreCoordinatorTest : public ::testing::Test
{
protected:
    /*! The error's code, or 0 where the store was opened. */
    qint64 codeOfAdding(const std::optional<QUrl> &url, const QString &type = NSSQLiteStoreType,
                        const std::optional<QString> &configuration = {})
    {
        NSError error;
        NSPersistentStoreCoordinator coordinator(bookmarkModel());
        const bool isAdded = coordinator.addPersistentStoreWithType(type, configuration, url,
                                                                    BookmarkStore::migrating(), &error);
        EXPECT_EQ(isAdded, error.code() == 0);
        return error.code();
    }
    QStringList itemsInFolder() const
    {
        return QDir(m_folder).entryList(QDir::Files | QDir::Dirs | QDir::System | QDir::NoDotAndDotDot);
    }

    TemporaryHome m_home;
    const QString m_folder = m_home.dataFolder();
    const QString m_path = m_folder + u"/store"_s;
    const QUrl m_url = QUrl::fromLocalFile(m_path);

    void SetUp() override { ASSERT_TRUE(QDir().mkpath(m_folder)); }
};

} // namespace

TEST_F(NSPersistentStoreCoordinatorTest, CreatesTheFileForItsUserAloneAndNothingBesideIt)
{
    const mode_t former = ::umask(0);
    EXPECT_EQ(codeOfAdding(m_url), 0);
    ::umask(former);
    EXPECT_EQ(itemsInFolder(), QStringList{u"store"_s});
    struct stat status = {};
    ASSERT_EQ(::stat(qPrintable(m_path), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(NSPersistentStoreCoordinatorTest, LeavesNothingBesideTheFileAfterASave)
{
    BookmarkStore store(m_path);
    store.insert(u"a"_s);
    ASSERT_TRUE(store.save());
    EXPECT_EQ(itemsInFolder(), QStringList{u"store"_s});
}

TEST_F(NSPersistentStoreCoordinatorTest, MarksTheFileAndItsLayout)
{
    EXPECT_EQ(codeOfAdding(m_url), 0);
    OtherConnection other(m_path);
    EXPECT_EQ(other.result("PRAGMA application_id"), QByteArray::number(0x4d425753));
    EXPECT_EQ(other.result("PRAGMA user_version"), "2");
}

TEST_F(NSPersistentStoreCoordinatorTest, TakesAnEmptyFileForANewStore)
{
    writeFile(m_path, {});
    EXPECT_EQ(codeOfAdding(m_url), 0);
    EXPECT_EQ(OtherConnection(m_path).result("PRAGMA user_version"), "2");
}

TEST_F(NSPersistentStoreCoordinatorTest, CannotAddAStoreWithoutAFileURL)
{
    EXPECT_EQ(codeOfAdding({}), NSPersistentStoreOpenError);
    EXPECT_EQ(codeOfAdding(QUrl()), NSPersistentStoreOpenError);
    EXPECT_EQ(codeOfAdding(QUrl(u"http://localhost"_s + m_path)), NSPersistentStoreOpenError);
    EXPECT_EQ(codeOfAdding(QUrl(u"store"_s)), NSPersistentStoreOpenError);
    EXPECT_EQ(itemsInFolder(), QStringList());
}

TEST_F(NSPersistentStoreCoordinatorTest, NeitherAddsNorDestroysAStoreAtARelativePathOrOnAnotherMachine)
{
    writeFile(m_path, "precious");
    ASSERT_TRUE(QDir::setCurrent(m_folder));
    for (const QUrl &url : {QUrl(u"file:store"_s), QUrl(u"file://server"_s + m_path)}) {
        EXPECT_EQ(codeOfAdding(url), NSPersistentStoreOpenError) << qPrintable(url.toString());
        NSError error;
        EXPECT_FALSE(NSPersistentStoreCoordinator::destroyPersistentStoreAtURL(url, &error));
        EXPECT_EQ(error.code(), ENOENT) << qPrintable(url.toString());
    }
    EXPECT_EQ(readFile(m_path), "precious");
}

TEST_F(NSPersistentStoreCoordinatorTest, TellsWithTheErrorWhichFileItIsAbout)
{
    writeFile(m_path, "no store");
    const BookmarkStore store(m_path);
    EXPECT_FALSE(store.isOpen());
    EXPECT_EQ(store.error().domain(), NSCocoaErrorDomain);
    EXPECT_EQ(store.error().userInfo().value(NSFilePathErrorKey).toString(), m_path);
    EXPECT_EQ(store.error().localizedDescription(),
              u"The file is damaged, or no store (SQLite: file is not a database)."_s);
}

TEST_F(NSPersistentStoreCoordinatorTest, KnowsOneTypeAndNoConfiguration)
{
    EXPECT_EQ(codeOfAdding(m_url, u"XML"_s), NSPersistentStoreOpenError);
    EXPECT_EQ(codeOfAdding(m_url, NSSQLiteStoreType, u"Default"_s), NSPersistentStoreOpenError);
    EXPECT_EQ(itemsInFolder(), QStringList());
}

TEST_F(NSPersistentStoreCoordinatorTest, AddsNoSecondStore)
{
    NSPersistentStoreCoordinator coordinator(bookmarkModel());
    EXPECT_TRUE(coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, m_url, {}));
    EXPECT_FALSE(coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, m_url, {}));
}

TEST_F(NSPersistentStoreCoordinatorTest, AddsNoStoreWithoutAModel)
{
    NSError error;
    NSPersistentStoreCoordinator coordinator(nullptr);
    EXPECT_FALSE(coordinator.addPersistentStoreWithType(NSSQLiteStoreType, {}, m_url, {}, &error));
    EXPECT_EQ(error.code(), NSPersistentStoreOpenError);
    EXPECT_EQ(itemsInFolder(), QStringList());
}

TEST_F(NSPersistentStoreCoordinatorTest, OpensNothingButRegularFiles)
{
    ASSERT_TRUE(QDir().mkpath(m_path));
    EXPECT_EQ(codeOfAdding(m_url), NSPersistentStoreOpenError);
    const QString fifo = m_folder + u"/fifo"_s;
    ASSERT_EQ(::mkfifo(qPrintable(fifo), 0600), 0);
    EXPECT_EQ(codeOfAdding(QUrl::fromLocalFile(fifo)), NSPersistentStoreOpenError);
    EXPECT_EQ(codeOfAdding(QUrl(u"file:///dev/zero"_s)), NSPersistentStoreOpenError);
    EXPECT_EQ(itemsInFolder(), (QStringList{u"fifo"_s, u"store"_s}));
}

TEST_F(NSPersistentStoreCoordinatorTest, MakesNoFolder)
{
    EXPECT_EQ(codeOfAdding(QUrl::fromLocalFile(m_folder + u"/missing/store"_s)), NSPersistentStoreOpenError);
    EXPECT_EQ(codeOfAdding(QUrl::fromLocalFile(m_folder + u"/"_s + QString(300, u'x'))),
              NSPersistentStoreOpenError);
    EXPECT_EQ(itemsInFolder(), QStringList());
}

TEST_F(NSPersistentStoreCoordinatorTest, MakesNoFileAtTheEndOfALinkThatLeadsNowhere)
{
    ASSERT_TRUE(QFile::link(m_folder + u"/missing"_s, m_path));
    EXPECT_EQ(codeOfAdding(m_url), NSPersistentStoreOpenError);
    EXPECT_EQ(itemsInFolder(), QStringList{u"store"_s});
}

TEST_F(NSPersistentStoreCoordinatorTest, FollowsALinkToAStore)
{
    const QString real = m_folder + u"/real"_s;
    BookmarkStore store(real);
    store.insert(u"a"_s);
    ASSERT_TRUE(store.save());
    ASSERT_TRUE(QFile::link(real, m_path));
    BookmarkStore linked(m_path);
    linked.insert(u"b"_s);
    EXPECT_TRUE(linked.save()) << qPrintable(linked.error().description());
    EXPECT_EQ(BookmarkStore(real).urlStrings(), (QStringList{u"a"_s, u"b"_s}));
}

TEST_F(NSPersistentStoreCoordinatorTest, ReadOnlyNeitherCreatesNorChangesAFile)
{
    const QVariantMap readOnly{{NSReadOnlyPersistentStoreOption, true}};
    EXPECT_FALSE(BookmarkStore(m_path, readOnly).isOpen());
    EXPECT_EQ(itemsInFolder(), QStringList());

    makeStoreOfLayout1(m_path, {u"a"_s});
    const QByteArray before = readFile(m_path);
    BookmarkStore store(m_path, readOnly);
    ASSERT_TRUE(store.isOpen());
    EXPECT_EQ(store.urlStrings(), QStringList{u"a"_s});
    store.insert(u"b"_s);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(store.error().code(), NSFileWriteNoPermissionError);
    EXPECT_EQ(readFile(m_path), before);
    EXPECT_EQ(itemsInFolder(), QStringList{u"store"_s});
}

TEST_F(NSPersistentStoreCoordinatorTest, DestroysAStoreWithItsJournals)
{
    for (const QString &suffix : {u""_s, u"-journal"_s, u"-wal"_s, u"-shm"_s, u"-other"_s})
        writeFile(m_path + suffix, "x");
    EXPECT_TRUE(NSPersistentStoreCoordinator::destroyPersistentStoreAtURL(m_url));
    EXPECT_EQ(itemsInFolder(), QStringList{u"store-other"_s});
}

TEST_F(NSPersistentStoreCoordinatorTest, DestroysNoFolderAndLeavesTheJournalOfWhatItCannotDelete)
{
    writeFile(m_path + u"/document"_s, "x");
    writeFile(m_path + u"-journal"_s, "x");
    NSError error;
    EXPECT_FALSE(NSPersistentStoreCoordinator::destroyPersistentStoreAtURL(m_url, &error));
    EXPECT_EQ(error.code(), EISDIR);
    EXPECT_EQ(readFile(m_path + u"/document"_s), "x");
    EXPECT_EQ(itemsInFolder(), (QStringList{u"store"_s, u"store-journal"_s}));

    EXPECT_FALSE(NSPersistentStoreCoordinator::destroyPersistentStoreAtURL(
        QUrl::fromLocalFile(m_folder + u"/missing"_s), &error));
    EXPECT_EQ(error.code(), ENOENT);
}
