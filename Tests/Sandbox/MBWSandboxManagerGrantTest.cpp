#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Sandbox/SandboxTest.h"

#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSManagedObjectContext.h>

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

namespace {

using Stored = std::vector<StoredBookmark>;

class SandboxGrant : public SandboxTest
{
protected:
    StoredBookmark stored(const QString &name, bool isDirectory, bool isReadOnly) const
    {
        return {path(name).toStdString(), isDirectory, isReadOnly};
    }
};

} // namespace

TEST_F(SandboxGrant, OfAFileIsStored)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    EXPECT_EQ(storedBookmarks(), (Stored{stored(u"Iceland.map"_s, false, false)}));
}

TEST_F(SandboxGrant, OfAFileForReadingOnlyIsStoredAsSuch)
{
    manager()->appDidObtainReadOnlyPermissionToAccessURL(newFile(u"Iceland.map"_s));
    EXPECT_EQ(storedBookmarks(), (Stored{stored(u"Iceland.map"_s, false, true)}));
}

TEST_F(SandboxGrant, OfAFolderIsStoredAsOneAndOfAFilePackageAsAFile)
{
    manager()->appDidObtainPermissionToAccessURL(newFolder(u"Atlas"_s));
    manager()->appDidObtainReadOnlyPermissionToAccessURL(newFolder(u"Atlas.app"_s));
    EXPECT_EQ(storedBookmarks(),
              (Stored{stored(u"Atlas"_s, true, false), stored(u"Atlas.app"_s, false, true)}));
}

TEST_F(SandboxGrant, CountsInThisLaunchWithoutAccessBeingStarted)
{
    RecordingScope scope;
    const QUrl file = newFile(u"Iceland.map"_s);
    const QUrl folder = newFolder(u"Atlas"_s);
    manager()->appDidObtainPermissionToAccessURL(file);
    manager()->appDidObtainReadOnlyPermissionToAccessURL(folder);
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(newFile(u"Atlas/Ireland.map"_s)));
    EXPECT_EQ(scope.started, QList<QUrl>());
}

TEST_F(SandboxGrant, CountsInLaterLaunches)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(file);
    for (int launch = 0; launch < 3; ++launch)
        EXPECT_FALSE(nextLaunch()->appNeedsToObtainPermissionToAccessURL(file));
}

TEST_F(SandboxGrant, OfAnItemThatNeedsNoneIsNotStored)
{
    HostManager::additionalFolders = {newFolder(u"Library"_s)};
    manager()->setEntitledDirectoryURLs({newFolder(u"Shared"_s)});
    manager()->setReadOnlyEntitledDirectoryURLs({newFolder(u"Public"_s)});
    writeFile(home.path() + u"/Iceland.map"_s, "map");
    manager()->appDidObtainPermissionToAccessURL(QUrl::fromLocalFile(home.path() + u"/Iceland.map"_s));
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Library/Iceland.map"_s));
    manager()->appDidObtainReadOnlyPermissionToAccessURL(newFile(u"Library/Ireland.map"_s));
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Shared/Iceland.map"_s));
    manager()->appDidObtainReadOnlyPermissionToAccessURL(newFile(u"Public/Iceland.map"_s));
    EXPECT_EQ(storedBookmarks(), Stored());

    manager()->appDidObtainReadOnlyPermissionToAccessURL(url(u"Shared/Iceland.map"_s));
    EXPECT_EQ(storedBookmarks(), (Stored{stored(u"Shared/Iceland.map"_s, false, true)}));
}

TEST_F(SandboxGrant, OfTheSameURLForTheSecondTimeChangesNothing)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(file);
    const QByteArray bytes = readFile(storePath());
    manager()->appDidObtainPermissionToAccessURL(file);
    manager()->appDidObtainReadOnlyPermissionToAccessURL(file);
    nextLaunch()->appDidObtainPermissionToAccessURL(file);
    EXPECT_EQ(readFile(storePath()), bytes);
    EXPECT_EQ(records(manager()).size(), 1);
}

TEST_F(SandboxGrant, OfAnItemWithoutABookmarkIsLoggedAndUndone)
{
    const QUrl missing = url(u"fehlt & Käfer"_s);
    {
        const CapturedStandardError log;
        manager()->appDidObtainPermissionToAccessURL(missing);
        EXPECT_THAT(log.text().toStdString(),
                    testing::ContainsRegex("Error creating secure persisted bookmark for "
                                           + missing.path().toStdString()
                                           + ": Error Domain=.*\n.*Cannot start accessing just created "
                                             "security scoped URL: "
                                           + missing.toEncoded().toStdString() + "\n"));
    }
    EXPECT_EQ(storedBookmarks(), Stored());
    newFile(u"fehlt & Käfer"_s);
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(missing));
}

TEST_F(SandboxGrant, OfMoreItemsWritesOnlyTheNewOne)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    MBWSandboxPersistedBookmark *const first = records(manager()).value(0);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->resolvedURL(), url(u"Iceland.map"_s));
    EXPECT_FALSE(manager()->managedObjectContext()->hasChanges()) << "it leads to what it led to";

    // What somebody else writes stays, where this one does not write the record again.
    OtherConnection(storePath()).execute("UPDATE Bookmark SET urlString = 'file:///other'");
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Ireland.map"_s));
    EXPECT_EQ(storedBookmarks(), (Stored{{"/other", false, false}, stored(u"Ireland.map"_s, false, false)}));
}

TEST_F(SandboxGrant, ThatIsTakenBackIsRemovedFromTheStoreAndItsAccessEnds)
{
    RecordingScope scope;
    for (const QUrl &url : {newFile(u"Iceland.map"_s), newFolder(u"Atlas"_s)}) {
        manager()->appDidObtainPermissionToAccessURL(url);
        manager()->removePersistedBookmarkForURL(url);
        EXPECT_EQ(storedBookmarks(), Stored());
        EXPECT_EQ(scope.stopped, QList<QUrl>{url});
        EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(url));
        scope.stopped.clear();
    }
}

TEST_F(SandboxGrant, ThatIsTakenBackTakesOnlyRecordsOfItsOwnPathAlong)
{
    manager()->appDidObtainPermissionToAccessURL(newFolder(u"Atlas"_s));
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Atlas2"_s));
    manager()->removePersistedBookmarkForURL(url(u"Atlas"_s));
    EXPECT_EQ(storedBookmarks(), (Stored{stored(u"Atlas2"_s, false, false)}));
}

TEST_F(SandboxGrant, ThatIsTakenBackByAURLWithASlashLosesItsRecordOfTheSamePath)
{
    const QUrl folder = newFolder(u"Atlas"_s);
    manager()->appDidObtainPermissionToAccessURL(folder);
    manager()->removePersistedBookmarkForURL(QUrl(folder.toString() + u'/'));
    EXPECT_EQ(storedBookmarks(), Stored());
}

TEST_F(SandboxGrant, ThatHasNoRecordAnyMoreIsStillTakenBackAndAllChangesAreSaved)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(file);
    manager()->managedObjectContext()->deleteObject(records(manager()).first());
    RecordingScope scope;
    manager()->removePersistedBookmarkForURL(file);
    EXPECT_EQ(scope.stopped, QList<QUrl>{file});
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_EQ(storedBookmarks(), Stored());
}

TEST_F(SandboxGrant, ThatNeverWasIsTakenBackWithoutHarm)
{
    RecordingScope scope;
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->removePersistedBookmarkForURL(file);
    EXPECT_EQ(scope.stopped, QList<QUrl>{file});
    EXPECT_EQ(storedBookmarks(), Stored());
}

TEST_F(SandboxGrant, AccessEndsForEverythingThatWasGrantedOrAccessedAndIsNotStartedAgain)
{
    const QUrl earlier = newFile(u"earlier.map"_s);
    const QUrl untouched = newFile(u"untouched.map"_s);
    const QUrl folder = newFolder(u"Atlas"_s);
    manager()->appDidObtainPermissionToAccessURL(earlier);
    manager()->appDidObtainPermissionToAccessURL(untouched);
    manager()->appDidObtainPermissionToAccessURL(folder);

    RecordingScope scope;
    manager()->closeAllSecureBookmarks();
    EXPECT_THAT(scope.stopped, testing::UnorderedElementsAre(earlier, untouched, folder));

    const auto later = nextLaunch();
    EXPECT_FALSE(later->appNeedsToObtainPermissionToAccessURL(earlier));
    EXPECT_FALSE(later->appNeedsToObtainPermissionToAccessURL(folder));
    scope.stopped.clear();
    scope.started.clear();
    later->closeAllSecureBookmarks();
    EXPECT_THAT(scope.stopped, testing::UnorderedElementsAre(earlier, folder));
    EXPECT_FALSE(later->appNeedsToObtainPermissionToAccessURL(earlier));
    EXPECT_FALSE(later->appNeedsToObtainPermissionToAccessURL(folder));
    EXPECT_EQ(scope.started, QList<QUrl>());
    EXPECT_EQ(storedBookmarks().size(), 3U);
}

TEST_F(SandboxGrant, MayBeTakenBackByTheScopeWhileAccessEnds)
{
    class ForgettingScope : public NSSecurityScope
    {
    public:
        bool startAccessing(const QUrl &, bool) override { return true; }
        void stopAccessing(const QUrl &url) override
        {
            if (!std::exchange(m_isForgetting, true)) {
                const QUrl other = url == first ? second : first;
                manager()->removePersistedBookmarkForURL(other);
                m_isForgetting = false;
            }
            ++count;
        }
        QUrl first;
        QUrl second;
        int count = 0;

    private:
        bool m_isForgetting = false;
    };
    ForgettingScope scope;
    scope.first = newFile(u"Iceland.map"_s);
    scope.second = newFile(u"Ireland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(scope.first);
    manager()->appDidObtainPermissionToAccessURL(scope.second);
    NSSecurityScope::setCurrent(&scope);
    manager()->closeAllSecureBookmarks();
    NSSecurityScope::setCurrent(NSSecurityScope::systemScope());
    EXPECT_EQ(scope.count, 4) << "each once for the end of all access, and once for being taken back";
    EXPECT_EQ(storedBookmarks(), Stored());
}

TEST_F(SandboxGrant, FollowsAnItemThatIsRenamedWhileTheHostIsNotRunning)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    ASSERT_TRUE(QFile::rename(path(u"Iceland.map"_s), path(u"Island.map"_s)));
    const auto later = nextLaunch();
    EXPECT_FALSE(later->appNeedsToObtainPermissionToAccessURL(url(u"Island.map"_s)));
    newFile(u"Iceland.map"_s);
    EXPECT_TRUE(later->appNeedsToObtainPermissionToAccessURL(url(u"Iceland.map"_s)));
}

TEST_F(SandboxGrant, OfANameThatIsNotUTF8IsKept)
{
    const QByteArray name = path(u"Isl"_s).toUtf8() + "\xe4nd.map";
    ASSERT_GE(::close(::open(name.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600)), 0);
    const QUrl url = NSURL::fileURLWithPath(NSFileManager::stringWithFileSystemRepresentation(name));
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(url));
    manager()->appDidObtainPermissionToAccessURL(url);
    EXPECT_FALSE(nextLaunch()->appNeedsToObtainPermissionToAccessURL(url));
    manager()->removePersistedBookmarkForURL(url);
    EXPECT_EQ(storedBookmarks(), Stored());
    EXPECT_EQ(::unlink(name.constData()), 0); // QTemporaryDir does not know such names.
}
