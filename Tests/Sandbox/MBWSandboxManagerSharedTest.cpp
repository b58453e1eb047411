#include "Tests/Sandbox/SandboxTest.h"

#include <QFile>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

class SharedSandbox : public SandboxTest
{ };

/*! A system whose URLs have no security scope, until destruction. */
class SystemWithoutScope
{
public:
    SystemWithoutScope() { NSSecurityScope::setCurrent(nullptr); }
    ~SystemWithoutScope() { NSSecurityScope::setCurrent(NSSecurityScope::systemScope()); }
    SystemWithoutScope(const SystemWithoutScope &) = delete;
    SystemWithoutScope &operator=(const SystemWithoutScope &) = delete;
};

/*! Says whether its overrides were asked while it was made. */
class AskedManager : public HostManager
{
public:
    static inline int askedForStore = 0;

    std::optional<QUrl> storeFileURL() const override
    {
        ++askedForStore;
        return HostManager::storeFileURL();
    }
};

} // namespace

TEST_F(SharedSandbox, BelongsToTheClassThatAsksFirst)
{
    MBWSandboxManager *const shared = MBWSandboxManager::sharedManager<HostManager>();
    EXPECT_TRUE(dynamic_cast<HostManager *>(shared));
    EXPECT_EQ(MBWSandboxManager::sharedManager(), shared);
    EXPECT_EQ(MBWSandboxManager::sharedManager<AskedManager>(), shared);
    EXPECT_FALSE(shared->isNil());
}

TEST_F(SharedSandbox, IsABaseManagerWhereThatIsAskedFirst)
{
    MBWSandboxManager *const shared = MBWSandboxManager::sharedManager();
    EXPECT_FALSE(dynamic_cast<HostManager *>(shared));
    EXPECT_EQ(MBWSandboxManager::sharedManager<HostManager>(), shared);
}

TEST_F(SharedSandbox, IsMadeWithTheOverridesOfItsClassInForce)
{
    EXPECT_TRUE(MBWSandboxManager::sharedManager<AskedManager>());
    EXPECT_EQ(AskedManager::askedForStore, 1);
    EXPECT_TRUE(QFile::exists(storePath()));
}

TEST_F(SharedSandbox, AManagerIsNilWhereURLsHaveNoSecurityScope)
{
    const SystemWithoutScope system;
    EXPECT_EQ(MBWSandboxManager::init<HostManager>(), nullptr);
    EXPECT_EQ(MBWSandboxManager::init(), nullptr);
    EXPECT_TRUE(manager()->isNil());
    EXPECT_FALSE(QFile::exists(storePath()));
}

TEST_F(SharedSandbox, CallsThroughNilDoNothingAndAnswerFalse)
{
    const SystemWithoutScope system;
    const CapturedStandardError log;
    const QUrl file = newFile(u"Iceland.map"_s);
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_FALSE(manager()->appNeedsToObtainReadOnlyPermissionToAccessURL(file));
    manager()->appDidObtainPermissionToAccessURL(file);
    manager()->appDidObtainReadOnlyPermissionToAccessURL(file);
    manager()->removePersistedBookmarkForURL(file);
    manager()->closeAllSecureBookmarks();
    manager()->setEntitledDirectoryURLs({file});
    EXPECT_EQ(manager()->entitledDirectoryURLs(), QSet<QUrl>());
    manager()->setReadOnlyEntitledDirectoryURLs({file});
    EXPECT_EQ(manager()->readOnlyEntitledDirectoryURLs(), QSet<QUrl>());
    EXPECT_EQ(manager()->storeFileURL(), std::nullopt);
    EXPECT_EQ(manager()->additionalEntitledDirectoryURLs(), QList<QUrl>());
    EXPECT_EQ(manager()->managedObjectModel(), nullptr);
    EXPECT_EQ(manager()->persistentStoreCoordinator(), nullptr);
    EXPECT_EQ(manager()->managedObjectContext(), nullptr);
    EXPECT_EQ(MBWSandboxPersistedBookmark::insertBookmarkForURL(file, false), nullptr);
    EXPECT_EQ(log.text(), QString());
    EXPECT_FALSE(QFile::exists(storePath()));
}

TEST_F(SharedSandbox, ThatIsNilIsTriedAgainByTheNextCall)
{
    MBWSandboxManager *nil = nullptr;
    {
        const SystemWithoutScope system;
        nil = manager();
    }
    EXPECT_FALSE(manager()->isNil());
    EXPECT_TRUE(dynamic_cast<HostManager *>(manager()));
    EXPECT_TRUE(nil->isNil());
    EXPECT_FALSE(nil->appNeedsToObtainPermissionToAccessURL(newFile(u"Iceland.map"_s)));
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(url(u"Iceland.map"_s)));
}

TEST_F(SharedSandbox, AManagerThatAHostMadeItselfStandsForNil)
{
    const CapturedStandardError log;
    HostManager manager;
    EXPECT_TRUE(manager.isNil());
    manager.appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    EXPECT_FALSE(manager.saveStoreFile());
    EXPECT_FALSE(QFile::exists(storePath()));
    EXPECT_EQ(log.text(), QString());
}

TEST_F(SharedSandbox, KeepsTheEntitledFoldersThatTheConstructorOfItsClassHasSet)
{
    class EntitledManager : public MBWSandboxManager
    {
    public:
        EntitledManager()
        {
            setEntitledDirectoryURLs({QUrl(u"file:///maps"_s)});
            setReadOnlyEntitledDirectoryURLs({QUrl(u"file:///atlas"_s)});
        }
    };
    const auto *const shared = MBWSandboxManager::sharedManager<EntitledManager>();
    EXPECT_EQ(shared->entitledDirectoryURLs(), QSet<QUrl>{QUrl(u"file:///maps"_s)});
    EXPECT_EQ(shared->readOnlyEntitledDirectoryURLs(), QSet<QUrl>{QUrl(u"file:///atlas"_s)});
}

TEST_F(SharedSandbox, IsMadeOfTheBaseClassByARecordThatIsInsertedBeforeAnybodyAsked)
{
    EXPECT_TRUE(MBWSandboxPersistedBookmark::insertBookmarkForURL(newFile(u"Iceland.map"_s), false));
    EXPECT_FALSE(dynamic_cast<HostManager *>(manager()));
    EXPECT_EQ(records(manager()).size(), 1);
}

TEST_F(SharedSandbox, StartsNoAccessAndSavesNothingWhenItIsMade)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    const QByteArray bytes = readFile(storePath());
    ASSERT_TRUE(QFile::rename(path(u"Iceland.map"_s), path(u"Island.map"_s)));
    RecordingScope scope;
    const auto later = nextLaunch();
    EXPECT_EQ(scope.started, QList<QUrl>());
    EXPECT_EQ(readFile(storePath()), bytes);
}
