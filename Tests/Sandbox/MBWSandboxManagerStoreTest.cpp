#include "Tests/Sandbox/SandboxTest.h"

#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Platform/CoreData/SmallDisk.h"
#include "Tests/Support/ResourceLimit.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <Marblewick/NSManagedObjectContext.h>
#include <Marblewick/NSManagedObjectModel.h>

#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;
using ::testing::HasSubstr;

namespace {

class SandboxStore : public SandboxTest
{
protected:
    /*! Grants a file, saves that, and damages the store. */
    void makeStoreWithAGrant() const
    {
        BookmarkStore store(storePath());
        store.insert(newFile(u"Iceland.map"_s).toString());
        ASSERT_TRUE(store.save());
    }
    void damageStoreWithAGrant(const QByteArray &contents) const
    {
        makeStoreWithAGrant();
        writeFile(storePath(), contents);
    }
    /*! The message of a store that cannot be opened, up to the error. */
    std::string openMessage() const
    {
        return "] Unable to open secure bookmarks file at " + storePath().toStdString() + ": Error Domain=";
    }
    static int count(const std::string &text, const std::string &part)
    {
        return static_cast<int>(QString::fromStdString(text).count(QString::fromStdString(part)));
    }

    /*! The shared manager, as what the tests made it. */
    static HostManager *hostManager() { return dynamic_cast<HostManager *>(manager()); }
};

const std::string saveMessage = "] Unable to save secure persisted bookmarks file: Error Domain=";

} // namespace

TEST_F(SandboxStore, ModelIsTheOneOfTheFramework)
{
    struct Attribute
    {
        const char *name;
        NSAttributeType type;
        bool isTransient;
        QVariant defaultValue;
    };
    const Attribute expected[] = {
        {"data", NSAttributeType::BinaryData, false, {}},
        {"isDirectory", NSAttributeType::Boolean, false, false},
        {"isReadOnly", NSAttributeType::Boolean, false, false},
        {"resolvedURL", NSAttributeType::URL, true, {}},
        {"urlString", NSAttributeType::String, false, {}},
        {"isUnresolvable", NSAttributeType::Boolean, false, false},
    };
    const NSManagedObjectModel *const model = manager()->managedObjectModel();
    ASSERT_TRUE(model);
    EXPECT_EQ(manager()->managedObjectModel(), model);
    ASSERT_EQ(model->entities().size(), 1);
    const NSEntityDescription *const entity = model->entityNamed(u"Bookmark"_s);
    ASSERT_TRUE(entity);
    EXPECT_EQ(entity->managedObjectClassName(), u"MBWSandboxPersistedBookmark"_s);
    ASSERT_EQ(entity->attributes().size(), std::ssize(expected));
    for (qsizetype i = 0; i < std::ssize(expected); ++i) {
        const NSAttributeDescription &attribute = entity->attributes().at(i);
        EXPECT_EQ(attribute.name, QLatin1StringView(expected[i].name));
        EXPECT_EQ(attribute.type, expected[i].type) << expected[i].name;
        EXPECT_EQ(attribute.isTransient, expected[i].isTransient) << expected[i].name;
        EXPECT_EQ(attribute.defaultValue, expected[i].defaultValue) << expected[i].name;
    }
}

TEST_F(SandboxStore, ContextAndCoordinatorAreMadeOnce)
{
    NSManagedObjectContext *const context = manager()->managedObjectContext();
    ASSERT_TRUE(context);
    EXPECT_EQ(manager()->managedObjectContext(), context);
    EXPECT_EQ(context->mergePolicy(), NSOverwriteMergePolicy);
    EXPECT_EQ(manager()->persistentStoreCoordinator(), context->persistentStoreCoordinator().get());
    EXPECT_EQ(manager()->persistentStoreCoordinator()->managedObjectModel().get(),
              manager()->managedObjectModel());
}

TEST_F(SandboxStore, IsMadeWhereItIsMissingWithoutAWordInTheLog)
{
    const CapturedStandardError log;
    EXPECT_TRUE(manager()->managedObjectContext());
    EXPECT_TRUE(QFile::exists(storePath()));
    EXPECT_EQ(log.text(), QString());
}

TEST_F(SandboxStore, WithoutAURLIsDoneWithoutAndNothingIsThrown)
{
    HostManager::store = std::nullopt;
    const QUrl file = newFile(u"Iceland.map"_s);
    const CapturedStandardError log;
    EXPECT_FALSE(manager()->MBWSandboxManager::storeFileURL());
    EXPECT_THAT(log.text().toStdString(),
                HasSubstr("] Unable to open secure bookmarks file at (null): Error Domain="));
    EXPECT_EQ(records(manager()).size(), 0);

    manager()->appDidObtainPermissionToAccessURL(file);
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file)) << "granted in this launch";
    EXPECT_EQ(count(log.text().toStdString(), saveMessage), 1);
    NSError error;
    EXPECT_FALSE(hostManager()->saveStoreFile(&error));
    EXPECT_EQ(error.code(), NSPersistentStoreSaveError);
    EXPECT_FALSE(hostManager()->saveStoreFile());
    EXPECT_EQ(count(log.text().toStdString(), saveMessage), 3);
    EXPECT_EQ(count(log.text().toStdString(), "Unable to open"), 1) << "the coordinator stays held";
}

TEST_F(SandboxStore, OfTheBaseClassIsNone)
{
    const CapturedStandardError log;
    MBWSandboxManager *const base = MBWSandboxManager::sharedManager();
    EXPECT_FALSE(base->isNil());
    EXPECT_THAT(log.text().toStdString(),
                HasSubstr("] Unable to open secure bookmarks file at (null): Error Domain="));
}

TEST_F(SandboxStore, ThatIsDamagedIsThrownAwayAndMadeAfresh)
{
    damageStoreWithAGrant("no store");
    const CapturedStandardError log;
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(url(u"Iceland.map"_s)));
    EXPECT_EQ(count(log.text().toStdString(), openMessage()), 1);
    EXPECT_EQ(count(log.text().toStdString(), "\n"), 1) << log.text().toStdString();
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());
    manager()->appDidObtainPermissionToAccessURL(url(u"Iceland.map"_s));
    EXPECT_EQ(storedBookmarks().size(), 1U);
}

TEST_F(SandboxStore, ThatIsDamagedBehindItsHeaderIsThrownAwayAndMadeAfresh)
{
    makeStoreWithAGrant();
    const QByteArray contents = readFile(storePath());
    constexpr qsizetype pageSize = 4096;
    ASSERT_GT(contents.size(), pageSize);
    writeFile(storePath(), contents.left(pageSize) + QByteArray(contents.size() - pageSize, '\0'));
    const CapturedStandardError log;
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(url(u"Iceland.map"_s)));
    EXPECT_EQ(count(log.text().toStdString(), openMessage()), 1);
    manager()->appDidObtainPermissionToAccessURL(url(u"Iceland.map"_s));
    EXPECT_EQ(storedBookmarks().size(), 1U);
}

TEST_F(SandboxStore, OfAnotherProgramOrANewerLayoutIsThrownAwayAndMadeAfresh)
{
    OtherConnection(storePath()).execute("CREATE TABLE notes(text)");
    manager();
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());

    OtherConnection(storePath()).execute("PRAGMA user_version = 99");
    const CapturedStandardError log;
    EXPECT_TRUE(nextLaunch()->managedObjectContext());
    EXPECT_EQ(count(log.text().toStdString(), openMessage()), 1);
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());
}

TEST_F(SandboxStore, ThatIsThrownAwayTakesItsJournalAlong)
{
    damageStoreWithAGrant("no store");
    for (const QString &suffix : {u"-journal"_s, u"-wal"_s, u"-shm"_s})
        writeFile(storePath() + suffix, "left over");
    const CapturedStandardError log;
    EXPECT_TRUE(manager()->managedObjectContext());
    for (const QString &suffix : {u"-journal"_s, u"-wal"_s, u"-shm"_s})
        EXPECT_FALSE(QFile::exists(storePath() + suffix)) << qPrintable(suffix);
}

TEST_F(SandboxStore, ThatIsALinkToADamagedFileLosesTheLinkAndNotTheFile)
{
    writeFile(path(u"elsewhere"_s), "no store");
    ASSERT_TRUE(QFile::link(path(u"elsewhere"_s), storePath()));
    const CapturedStandardError log;
    EXPECT_TRUE(manager()->managedObjectContext());
    EXPECT_FALSE(QFileInfo(storePath()).isSymLink());
    EXPECT_EQ(readFile(path(u"elsewhere"_s)), "no store");
}

TEST_F(SandboxStore, OfAnEarlierLayoutIsMigratedAndKeepsItsGrants)
{
    makeStoreOfLayout1(storePath(), {newFile(u"Iceland.map"_s).toString()});
    const CapturedStandardError log;
    ASSERT_EQ(records(manager()).size(), 1);
    EXPECT_FALSE(records(manager()).first()->isReadOnly());
    EXPECT_THAT(log.text().toStdString(), testing::Not(HasSubstr("Unable to open")));
}

TEST_F(SandboxStore, WhosePlaceAFolderHasCannotBeRemovedAndIsTriedAgainAtEachUse)
{
    ASSERT_TRUE(QDir().mkpath(storePath() + u"/folder"_s));
    const QUrl file = newFile(u"Iceland.map"_s);
    const std::string removeMessage = "] Cannot remove secure bookmarks file " + storePath().toStdString()
                                      + ": Error Domain=";
    {
        const CapturedStandardError log;
        EXPECT_FALSE(manager()->isNil());
        EXPECT_EQ(count(log.text().toStdString(), openMessage()), 1);
        EXPECT_EQ(count(log.text().toStdString(), removeMessage), 1);
        EXPECT_THAT(log.text().toStdString(),
                    HasSubstr("] Error loading persisted secure bookmarks: (null)\n"));
    }
    {
        const CapturedStandardError log;
        EXPECT_EQ(manager()->persistentStoreCoordinator(), nullptr);
        EXPECT_EQ(manager()->managedObjectContext(), nullptr);
        EXPECT_EQ(count(log.text().toStdString(), removeMessage), 2);
        EXPECT_TRUE(QFile::exists(storePath() + u"/folder"_s));
    }
    {
        const CapturedStandardError log;
        manager()->appDidObtainPermissionToAccessURL(file);
        EXPECT_THAT(log.text().toStdString(),
                    HasSubstr("] Cannot start accessing just created security scoped URL: "
                              + file.toString().toStdString() + '\n'));
        EXPECT_THAT(log.text().toStdString(),
                    HasSubstr("] Error loading persisted secure bookmarks to remove a bookmark: (null)\n"));
        EXPECT_THAT(log.text().toStdString(),
                    HasSubstr("] Error fetching unresolveable bookmarks: (null)\n"));
        EXPECT_THAT(log.text().toStdString(),
                    HasSubstr("] Unable to save secure persisted bookmarks file: (null)\n"));
        EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(file));
        NSError error;
        EXPECT_FALSE(hostManager()->saveStoreFile(&error));
    }
    ASSERT_TRUE(QDir(storePath()).removeRecursively());
    manager()->appDidObtainPermissionToAccessURL(file);
    EXPECT_EQ(storedBookmarks().size(), 1U);
}

TEST_F(SandboxStore, WhoseContextComesBackDuringASaveIsSaved)
{
    class RecoveringManager : public HostManager
    {
    public:
        std::optional<QUrl> storeFileURL() const override
        {
            return refusals-- > 0 ? QUrl::fromLocalFile(QDir::rootPath()) : HostManager::storeFileURL();
        }
        mutable int refusals = 2;
    };
    {
        BookmarkStore store(storePath());
        store.insert(u"file:///gone"_s)->setValue(u"isUnresolvable"_s, true);
        ASSERT_TRUE(store.save());
    }
    const CapturedStandardError log;
    const auto manager = MBWSandboxManager::init<RecoveringManager>();
    EXPECT_TRUE(manager->saveStoreFile());
    EXPECT_THAT(log.text().toStdString(), HasSubstr("] Error fetching unresolveable bookmarks: (null)\n"));
    EXPECT_EQ(storedBookmarks().size(), 1U);
    EXPECT_TRUE(manager->saveStoreFile());
    EXPECT_EQ(storedBookmarks().size(), 0U);
}

TEST_F(SandboxStore, AtARelativePathOrOnAnotherMachineIsDoneWithoutAndNothingIsDeleted)
{
    writeFile(home.path() + u"/Grants.store"_s, "precious");
    ASSERT_TRUE(QDir::setCurrent(home.path()));
    for (const QUrl &url :
         {QUrl(u"file:Grants.store"_s), QUrl(u"file://server%1/Grants.store"_s.arg(home.path()))}) {
        HostManager::store = url;
        const CapturedStandardError log;
        const auto manager = MBWSandboxManager::init<HostManager>();
        EXPECT_FALSE(manager->saveStoreFile()) << qPrintable(url.toString());
        EXPECT_THAT(log.text().toStdString(), HasSubstr("] Cannot remove secure bookmarks file "));
        EXPECT_EQ(readFile(home.path() + u"/Grants.store"_s), "precious");
    }
}

TEST_F(SandboxStore, OfAProcessWithoutFileDescriptorsIsNotThrownAwayAndIsReadLater)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    std::unique_ptr<HostManager> later;
    {
        const int free = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        const ResourceLimit none(RLIMIT_NOFILE, static_cast<rlim_t>(free));
        ::close(free);
        later = nextLaunch();
    }
    EXPECT_EQ(records(later.get()).size(), 1);
}

TEST_F(SandboxStore, InAFolderThatIsMissingIsDoneWithout)
{
    HostManager::store = QUrl::fromLocalFile(home.path() + u"/missing/Grants.store"_s);
    const CapturedStandardError log;
    EXPECT_TRUE(manager()->managedObjectContext());
    EXPECT_EQ(count(log.text().toStdString(), "Unable to open"), 1);
    EXPECT_EQ(count(log.text().toStdString(), "Cannot remove"), 0);
    EXPECT_FALSE(hostManager()->saveStoreFile());
}

TEST_F(SandboxStore, ThatNeitherOpensNorGoesAwayLeavesTheManagerWithoutOne)
{
    writeFile(storePath(), "no store");
    ASSERT_EQ(::chmod(qPrintable(home.dataFolder()), 0500), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [&] {
        const CapturedStandardError log;
        return !manager()->managedObjectContext()
               && log.text().contains(u"] Cannot remove secure bookmarks file "_s)
               && readFile(storePath()) == "no store";
    }));
}

TEST_F(SandboxStore, ThatIsUnreadableIsThrownAwayAndMadeAfresh)
{
    writeFile(storePath(), "no store");
    ASSERT_EQ(::chmod(qPrintable(storePath()), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [&] {
        const CapturedStandardError log;
        return manager()->managedObjectContext() && hostManager()->saveStoreFile()
               && log.text().contains(u"] Unable to open secure bookmarks file at "_s);
    }));
}

TEST_F(SandboxStore, ThatIsReadOnlyIsReadAndNotThrownAway)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    ASSERT_EQ(::chmod(qPrintable(path({})), 0755), 0);
    ASSERT_EQ(::chmod(qPrintable(file.path()), 0666), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [&] {
        manager()->appDidObtainPermissionToAccessURL(file);
        const QByteArray bytes = readFile(storePath());
        ::chmod(qPrintable(storePath()), 0400);
        const auto later = nextLaunch();
        const CapturedStandardError log;
        records(later.get()).first()->setReadOnly(true);
        return !later->appNeedsToObtainPermissionToAccessURL(file) && !later->saveStoreFile()
               && log.text().contains(u"] Unable to save secure persisted bookmarks file: "_s)
               && readFile(storePath()) == bytes;
    }));
}

TEST_F(SandboxStore, ThatIsLockedIsNotThrownAwayAndWhatIsNotSavedGoesOutLater)
{
    const QUrl earlier = newFile(u"earlier.map"_s);
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(earlier);
    {
        OtherConnection other(storePath());
        other.execute("BEGIN EXCLUSIVE");
        const CapturedStandardError log;
        EXPECT_TRUE(nextLaunch()->managedObjectContext());
        EXPECT_THAT(log.text().toStdString(),
                    HasSubstr("] Error loading persisted secure bookmarks: Error Domain="));
        manager()->appDidObtainPermissionToAccessURL(file);
        EXPECT_THAT(log.text().toStdString(),
                    HasSubstr("] Error fetching unresolveable bookmarks: Error Domain="));
        EXPECT_EQ(count(log.text().toStdString(), saveMessage), 1);
        EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
        NSError error;
        EXPECT_FALSE(hostManager()->saveStoreFile(&error));
        EXPECT_EQ(error.code(), NSPersistentStoreTimeoutError);
        EXPECT_EQ(count(log.text().toStdString(), "Unable to open"), 0);
        other.execute("ROLLBACK");
    }
    EXPECT_EQ(storedBookmarks().size(), 1U);
    EXPECT_TRUE(hostManager()->saveStoreFile());
    EXPECT_EQ(storedBookmarks().size(), 2U);
}

TEST_F(SandboxStore, ThatIsLockedLetsAGrantBeTakenBackForThisLaunch)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(file);
    RecordingScope scope;
    const CapturedStandardError log;
    OtherConnection other(storePath());
    other.execute("BEGIN EXCLUSIVE");
    manager()->removePersistedBookmarkForURL(file);
    EXPECT_THAT(log.text().toStdString(),
                HasSubstr("] Error loading persisted secure bookmarks to remove a bookmark: Error Domain="));
    EXPECT_EQ(count(log.text().toStdString(), "Error fetching unresolveable bookmarks: Error Domain="), 1);
    EXPECT_EQ(scope.stopped, QList<QUrl>{file});
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    other.execute("ROLLBACK");
    EXPECT_FALSE(nextLaunch()->appNeedsToObtainPermissionToAccessURL(file)) << "its record was not removed";
}

TEST_F(SandboxStore, WhoseDiskIsFullIsReadAndNotThrownAwayAndWhatIsNotSavedGoesOutLater)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"earlier.map"_s));
    const QUrl file = newFile(u"Iceland.map"_s);
    std::signal(SIGXFSZ, SIG_IGN);
    {
        const CapturedStandardError log;
        const ResourceLimit limit(RLIMIT_FSIZE, 0);
        EXPECT_EQ(records(nextLaunch().get()).size(), 1);
        manager()->appDidObtainPermissionToAccessURL(file);
        EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    }
    EXPECT_EQ(storedBookmarks().size(), 1U);
    NSError error(u"untouched"_s, 1);
    EXPECT_TRUE(hostManager()->saveStoreFile(&error));
    EXPECT_EQ(error.domain(), u"untouched"_s) << "only a failure sets it";
    EXPECT_EQ(storedBookmarks().size(), 2U);
}

TEST_F(SandboxStore, ThatCannotBeMadeOnAFullDiskIsDoneWithoutAndLeavesNoFile)
{
    const SmallDisk disk;
    if (!disk.isThere())
        GTEST_SKIP() << "this system lets nobody mount";
    disk.fill();
    HostManager::store = QUrl::fromLocalFile(disk.path() + u"/Grants.store"_s);
    const QUrl file = newFile(u"Iceland.map"_s);
    const CapturedStandardError log;
    manager()->appDidObtainPermissionToAccessURL(file);
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file)) << "granted in this launch";
    EXPECT_EQ(count(log.text().toStdString(), "] Unable to open secure bookmarks file at "), 1);
    EXPECT_EQ(count(log.text().toStdString(), saveMessage), 1);
    EXPECT_FALSE(QFile::exists(disk.path() + u"/Grants.store"_s));
}

TEST_F(SandboxStore, LosesAtASaveWhatCanNoLongerBeResolved)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"gone.map"_s));
    manager()->appDidObtainPermissionToAccessURL(newFile(u"kept.map"_s));
    ASSERT_TRUE(QFile::remove(path(u"gone.map"_s)));
    const CapturedStandardError log;
    const auto later = nextLaunch();
    EXPECT_EQ(storedBookmarks().size(), 2U);
    later->removePersistedBookmarkForURL(url(u"other.map"_s));
    EXPECT_EQ(storedBookmarks(), (std::vector<StoredBookmark>{{path(u"kept.map"_s).toStdString()}}));
}

TEST_F(SandboxStore, DeletedWhileItIsOpenFailsToSaveAndTheGrantLastsForTheLaunch)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager();
    ASSERT_TRUE(QFile::remove(storePath()));
    const CapturedStandardError log;
    manager()->appDidObtainPermissionToAccessURL(file);
    EXPECT_EQ(count(log.text().toStdString(), saveMessage), 1);
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
}
