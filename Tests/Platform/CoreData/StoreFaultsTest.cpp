#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Platform/CoreData/SmallDisk.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/ResourceLimit.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace {

/*! A good store with one bookmark, "a". */
class StoreFaultsTest : public ::testing::Test
{
protected:
    StoreFaultsTest()
    {
        EXPECT_TRUE(QDir().mkpath(m_folder));
        makeStore(m_path);
    }

    static void makeStore(const QString &path)
    {
        BookmarkStore store(path);
        store.insert(u"a"_s);
        EXPECT_TRUE(store.save()) << qPrintable(store.error().description());
    }
    static void setPermissions(const QString &path, QFile::Permissions permissions)
    {
        EXPECT_TRUE(QFile::setPermissions(path, permissions));
    }

    TemporaryHome m_home;
    const QString m_folder = m_home.path() + u"/folder"_s;
    const QString m_path = m_folder + u"/store"_s;

    void SetUp() override { ASSERT_TRUE(QFile::exists(m_path)); }
};

/*! Another process that locks a store, from construction to destruction. */
class Lock
{
public:
    explicit Lock(const QString &path)
        : m_sqlite({u"sqlite3"_s, path})
    {
        m_sqlite.write("BEGIN EXCLUSIVE;\n.print locked\n");
        EXPECT_TRUE(QTest::qWaitFor([this] { return m_sqlite.output() == "locked\n"; }));
    }

private:
    ChildProgram m_sqlite;
};

/*! That a step does not keep its caller much longer than the wait for a lock. */
class ShortStep
{
public:
    ShortStep() { m_timer.start(); }
    ~ShortStep() { EXPECT_LT(m_timer.elapsed(), 2000) << "milliseconds"; }

private:
    QElapsedTimer m_timer;
};

QByteArray refusedPath;
int refusal = 0;

/*! Makes the system refuse to look at a path, from construction to destruction. */
class RefusedStat
{
public:
    RefusedStat(const QString &path, int systemError)
    {
        refusedPath = QFile::encodeName(path);
        refusal = systemError;
    }
    ~RefusedStat() { refusal = 0; }
    RefusedStat(const RefusedStat &) = delete;
    RefusedStat &operator=(const RefusedStat &) = delete;
};

class FullDiskTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!m_disk.isThere())
            GTEST_SKIP() << "this system lets nobody mount";
    }
    QStringList itemsOnDisk() const
    {
        return QDir(m_disk.path()).entryList({u"store*"_s}, QDir::Files | QDir::Hidden);
    }

    const SmallDisk m_disk;
    const QString m_path = m_disk.path() + u"/store"_s;
};

} // namespace

// This stands in front of the system's function, as no file system can be taken away on demand.
#pragma GCC visibility push(default)

extern "C" int stat(const char *path, struct stat *status) noexcept
{
    if (refusal != 0 && path == refusedPath) {
        errno = refusal;
        return -1;
    }
    static const auto next = reinterpret_cast<int (*)(const char *, struct stat *)>(
        ::dlsym(RTLD_NEXT, "stat"));
    return next(path, status);
}

#pragma GCC visibility pop

TEST_F(StoreFaultsTest, AnUnreadableStoreCannotBeOpenedAndIsLeftAsItIs)
{
    setPermissions(m_path, {});
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [this] {
        const BookmarkStore store(m_path);
        return !store.isOpen() && store.error().code() == NSPersistentStoreOpenError;
    }));
    setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"a"_s});
}

TEST_F(StoreFaultsTest, AReadOnlyStoreIsFetchedButNotSaved)
{
    setPermissions(m_path, QFile::ReadOwner);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [this] {
        BookmarkStore store(m_path);
        const bool isFetched = store.isOpen() && store.urlStrings() == QStringList{u"a"_s};
        store.insert(u"b"_s);
        return isFetched && !store.save() && store.error().code() == NSFileWriteNoPermissionError
               && store.urlStrings() == (QStringList{u"a"_s, u"b"_s});
    }));
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"a"_s});
}

TEST_F(StoreFaultsTest, AStoreInAReadOnlyFolderIsFetchedButNotSaved)
{
    setPermissions(m_folder, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [this] {
        BookmarkStore store(m_path);
        const bool isFetched = store.isOpen() && store.urlStrings() == QStringList{u"a"_s};
        store.insert(u"b"_s);
        return isFetched && !store.save() && store.error().code() == NSFileWriteNoPermissionError;
    }));
    setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"a"_s});
}

TEST_F(StoreFaultsTest, AStoreThatCannotBeCreatedInAReadOnlyFolderCannotBeOpened)
{
    setPermissions(m_folder, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [this] {
        const BookmarkStore store(m_folder + u"/new"_s);
        return !store.isOpen() && store.error().code() == NSPersistentStoreOpenError;
    }));
    setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_FALSE(QFile::exists(m_folder + u"/new"_s));
}

TEST_F(StoreFaultsTest, ALockedStoreIsOpenedAndFetchAndSaveReportTheLockUntilItEnds)
{
    auto lock = std::make_unique<Lock>(m_path);
    std::optional<BookmarkStore> store;
    {
        const ShortStep step;
        store.emplace(m_path);
        EXPECT_TRUE(store->isOpen());
    }
    {
        const ShortStep step;
        EXPECT_FALSE(store->canFetch());
        EXPECT_EQ(store->error().code(), NSPersistentStoreTimeoutError);
    }
    store->insert(u"b"_s);
    {
        const ShortStep step;
        EXPECT_FALSE(store->save());
        EXPECT_EQ(store->error().code(), NSPersistentStoreTimeoutError);
    }
    lock.reset();
    EXPECT_EQ(store->urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_TRUE(store->save());
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), (QStringList{u"a"_s, u"b"_s}));
}

TEST_F(StoreFaultsTest, AStoreThatIsLockedLaterReportsTheLockToo)
{
    BookmarkStore store(m_path);
    EXPECT_EQ(store.urlStrings(), QStringList{u"a"_s});
    store.insert(u"b"_s);
    {
        const Lock lock(m_path);
        const ShortStep steps;
        EXPECT_FALSE(store.canFetch());
        EXPECT_EQ(store.error().code(), NSPersistentStoreTimeoutError);
        EXPECT_FALSE(store.save());
        EXPECT_EQ(store.error().code(), NSPersistentStoreTimeoutError);
    }
    EXPECT_TRUE(store.save());
    EXPECT_EQ(store.urlStrings(), (QStringList{u"a"_s, u"b"_s}));
}

TEST_F(StoreFaultsTest, AForeignFileThatWasLockedWhenItWasOpenedIsNotWrittenTo)
{
    const QString path = m_folder + u"/foreign"_s;
    OtherConnection(path).execute("CREATE TABLE Bookmark (urlString TEXT)");
    const QByteArray before = readFile(path);
    auto lock = std::make_unique<Lock>(path);
    BookmarkStore store(path);
    EXPECT_TRUE(store.isOpen());
    lock.reset();
    EXPECT_FALSE(store.canFetch());
    EXPECT_EQ(store.error().code(), NSPersistentStoreIncompatibleSchemaError);
    store.insert(u"a"_s);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(store.error().code(), NSPersistentStoreIncompatibleSchemaError);
    EXPECT_EQ(readFile(path), before);
}

TEST_F(StoreFaultsTest, AProcessWithoutFileDescriptorsOpensTheStoreWhenItHasSome)
{
    std::optional<BookmarkStore> store;
    BookmarkStore(m_path).urlStrings(); // loads the plugin
    {
        const int free = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        const ResourceLimit none(RLIMIT_NOFILE, static_cast<rlim_t>(free));
        ::close(free);
        store.emplace(m_path);
        EXPECT_TRUE(store->isOpen()) << qPrintable(store->error().description());
        EXPECT_FALSE(store->canFetch());
        EXPECT_EQ(store->error().code(), NSPersistentStoreOperationError);
    }
    EXPECT_EQ(store->urlStrings(), QStringList{u"a"_s});
}

TEST_F(StoreFaultsTest, AProcessWithoutFileDescriptorsMakesNoStoreAndSaysNothingAgainstTheFile)
{
    BookmarkStore(m_path).urlStrings(); // loads the plugin
    const int free = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const ResourceLimit none(RLIMIT_NOFILE, static_cast<rlim_t>(free));
    ::close(free);
    const BookmarkStore store(m_folder + u"/new"_s);
    EXPECT_FALSE(store.isOpen());
    EXPECT_EQ(store.error().code(), NSPersistentStoreOperationError);
    EXPECT_FALSE(QFile::exists(m_folder + u"/new"_s));
}

TEST_F(StoreFaultsTest, AStoreOnAFileSystemThatIsAwayIsOpenedAndFetchedWhenThatIsBack)
{
    BookmarkStore(m_path).urlStrings(); // loads the plugin
    for (const int systemError : {EIO, ENOMEM, ESTALE, ENOTCONN, ETIMEDOUT}) {
        std::optional<BookmarkStore> store;
        {
            const RefusedStat away(m_path, systemError);
            store.emplace(m_path);
            EXPECT_TRUE(store->isOpen()) << systemError;
            EXPECT_FALSE(store->canFetch());
            EXPECT_EQ(store->error().code(), NSPersistentStoreOperationError);
        }
        EXPECT_EQ(store->urlStrings(), QStringList{u"a"_s}) << systemError;
    }
}

TEST_F(StoreFaultsTest, AStoreThatMayNotBeLookedAtCannotBeOpened)
{
    const RefusedStat refused(m_path, EACCES);
    const BookmarkStore store(m_path);
    EXPECT_FALSE(store.isOpen());
    EXPECT_EQ(store.error().code(), NSPersistentStoreOpenError);
}

TEST_F(StoreFaultsTest, AStoreThatIsDeletedWhileItIsOpenReportsThatToEachSave)
{
    BookmarkStore store(m_path);
    EXPECT_EQ(store.urlStrings(), QStringList{u"a"_s});
    ASSERT_TRUE(QFile::remove(m_path));
    store.insert(u"b"_s);
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(store.save());
        EXPECT_EQ(store.error().code(), NSPersistentStoreSaveError);
        EXPECT_EQ(store.error().localizedDescription(), u"The file of the store was deleted or replaced."_s);
    }
    EXPECT_EQ(store.urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_EQ(QDir(m_folder).entryList(QDir::Files), QStringList());
}

TEST_F(StoreFaultsTest, AStoreThatIsReplacedWhileItIsOpenReportsThatToEachSave)
{
    BookmarkStore store(m_path);
    EXPECT_EQ(store.urlStrings(), QStringList{u"a"_s});
    const QString other = m_folder + u"/other"_s;
    makeStore(other);
    const QByteArray contents = readFile(other);
    ASSERT_EQ(::rename(qPrintable(other), qPrintable(m_path)), 0);
    store.insert(u"b"_s);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(store.error().code(), NSPersistentStoreSaveError);
    EXPECT_EQ(readFile(m_path), contents);
}

TEST_F(StoreFaultsTest, AnInterruptedSaveIsTakenBackButNotWhereTheStoreIsOnlyRead)
{
    {
        BookmarkStore store(m_path);
        for (int i = 0; i < 100; ++i)
            store.insert(u"b"_s);
        ASSERT_TRUE(store.save());
    }
    // With a small cache SQLite writes to the file before the end of the transaction.
    const QString path = m_folder + u"/interrupted"_s;
    OtherConnection other(m_path);
    other.execute(
        "PRAGMA cache_size = 1; BEGIN; UPDATE Bookmark SET urlString = 'new', data = zeroblob(3000)");
    const QByteArray contents = readFile(m_path);
    writeFile(path, contents);
    writeFile(path + u"-journal"_s, readFile(m_path + u"-journal"_s));

    BookmarkStore reader(path, {{NSReadOnlyPersistentStoreOption, true}});
    EXPECT_FALSE(reader.canFetch());
    EXPECT_EQ(reader.error().code(), NSFileWriteNoPermissionError);
    EXPECT_THAT(reader.error().localizedDescription().toStdString(),
                HasSubstr("A save was interrupted, which the next opening for writing takes back"));
    EXPECT_EQ(readFile(path), contents);

    BookmarkStore store(path);
    EXPECT_EQ(store.urlStrings(), QStringList{u"a"_s} + QStringList(100, u"b"_s));
    EXPECT_FALSE(QFile::exists(path + u"-journal"_s));
    EXPECT_NE(readFile(path), contents);
}

TEST_F(StoreFaultsTest, AHostWithoutItsPluginOpensTheStoreAndReportsThatToFetchAndSave)
{
    const QString library = u"libMarblewickCore.so.0"_s;
    const QString programs = m_home.path() + u"/programs/"_s;
    ASSERT_TRUE(QDir().mkpath(programs));
    ASSERT_TRUE(QFile::copy(QFileInfo(QStringLiteral(SAVING_HOST)).path() + u"/../lib/"_s + library,
                            programs + library));
    qputenv("LD_LIBRARY_PATH", programs.toUtf8());
    ChildProgram host({QStringLiteral(SAVING_HOST), m_path, u"1"_s});
    EXPECT_EQ(host.exitStatus(), 1);
    EXPECT_THAT(host.output().toStdString(), HasSubstr("marblewick-sqlite.so could not be loaded"));
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"a"_s});
}

TEST_F(FullDiskTest, AGoodStoreIsOpenedAndFetchedAndASaveReportsTheFullDisk)
{
    {
        BookmarkStore store(m_path);
        store.insert(u"a"_s);
        ASSERT_TRUE(store.save());
    }
    m_disk.fill();
    BookmarkStore store(m_path);
    ASSERT_TRUE(store.isOpen()) << qPrintable(store.error().description());
    EXPECT_EQ(store.urlStrings(), QStringList{u"a"_s});
    store.insert(u"b"_s);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(store.error().code(), NSFileWriteOutOfSpaceError);
    EXPECT_EQ(store.urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"a"_s});

    m_disk.free();
    EXPECT_TRUE(store.save());
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_EQ(itemsOnDisk(), QStringList{u"store"_s});
}

TEST_F(FullDiskTest, AStoreThatCannotBeCreatedLeavesNoFile)
{
    m_disk.fill();
    const BookmarkStore store(m_path);
    EXPECT_FALSE(store.isOpen());
    EXPECT_EQ(store.error().code(), NSFileWriteOutOfSpaceError);
    EXPECT_EQ(itemsOnDisk(), QStringList());
}

TEST_F(FullDiskTest, AStoreOfAnOlderLayoutIsOpenedAndFetchedAndMigratedByALaterSave)
{
    makeStoreOfLayout1(m_path, {u"a"_s});
    m_disk.fill();
    BookmarkStore store(m_path);
    ASSERT_TRUE(store.isOpen()) << qPrintable(store.error().description());
    EXPECT_EQ(store.urlStrings(), QStringList{u"a"_s});
    EXPECT_EQ(OtherConnection(m_path).result("PRAGMA user_version"), "1");
    store.insert(u"b"_s);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(store.error().code(), NSFileWriteOutOfSpaceError);

    m_disk.free();
    EXPECT_TRUE(store.save());
    EXPECT_EQ(OtherConnection(m_path).result("PRAGMA user_version"), "2");
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), (QStringList{u"a"_s, u"b"_s}));
}
