#include "Tests/Sandbox/SandboxTest.h"

#include <Marblewick/NSManagedObjectContext.h>

#include <QFile>

using namespace Qt::StringLiterals;
using namespace Marblewick;
using ::testing::HasSubstr;

namespace {

class SandboxPersistedBookmark : public SandboxTest
{
protected:
    MBWSandboxPersistedBookmark *insert(const QUrl &url, bool isReadOnly = false) const
    {
        manager();
        return MBWSandboxPersistedBookmark::insertBookmarkForURL(url, isReadOnly);
    }
    static bool save() { return static_cast<HostManager *>(manager())->saveStoreFile(); }
    void replaceFileByFolder(const QString &name) const
    {
        ASSERT_TRUE(QFile::remove(path(name)));
        newFolder(name);
    }
};

} // namespace

TEST_F(SandboxPersistedBookmark, HoldsWhatWasGrantedAndHow)
{
    const QUrl file = newFile(u"Käfer & Co.map"_s);
    const MBWSandboxPersistedBookmark *const bookmark = insert(file, true);
    ASSERT_TRUE(bookmark);
    EXPECT_EQ(NSURL::URLByResolvingBookmarkData(bookmark->data(), NSURLBookmarkResolutionWithoutUI), file);
    EXPECT_TRUE(bookmark->isReadOnly());
    EXPECT_FALSE(bookmark->isDirectory());
    EXPECT_FALSE(bookmark->isUnresolvable());
    EXPECT_EQ(bookmark->urlString(), QString::fromLatin1(file.toEncoded()));
}

TEST_F(SandboxPersistedBookmark, TellsFoldersFromFilesAndFilePackages)
{
    EXPECT_TRUE(insert(newFolder(u"Atlas"_s))->isDirectory());
    EXPECT_FALSE(insert(newFolder(u"Atlas.app"_s))->isDirectory());
    EXPECT_FALSE(insert(newFile(u"Iceland.map"_s))->isDirectory());
    EXPECT_FALSE(insert(newFile(u"Iceland.map"_s))->isReadOnly());
}

TEST_F(SandboxPersistedBookmark, IsInTheContextOfTheSharedManagerAndNotSaved)
{
    const auto other = nextLaunch();
    MBWSandboxPersistedBookmark *const bookmark = insert(newFile(u"Iceland.map"_s));
    EXPECT_EQ(records(manager()), QList<MBWSandboxPersistedBookmark *>{bookmark});
    EXPECT_EQ(records(other.get()), QList<MBWSandboxPersistedBookmark *>());
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());
    EXPECT_TRUE(save());
    EXPECT_EQ(storedBookmarks().size(), 1U);
}

TEST_F(SandboxPersistedBookmark, IsNotMadeOfAnItemThatIsMissing)
{
    manager();
    const CapturedStandardError log;
    EXPECT_EQ(insert(url(u"missing"_s)), nullptr);
    EXPECT_EQ(records(manager()).size(), 0);
    EXPECT_THAT(log.text().toStdString(), HasSubstr("] Error creating secure persisted bookmark for "
                                                    + path(u"missing"_s).toStdString() + ": Error Domain="));
}

TEST_F(SandboxPersistedBookmark, ResolvesToTheItemAndNotesItsURL)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    MBWSandboxPersistedBookmark *const bookmark = insert(file);
    ASSERT_TRUE(QFile::rename(path(u"Iceland.map"_s), path(u"Island.map"_s)));
    EXPECT_EQ(bookmark->resolvedURL(), url(u"Island.map"_s));
    EXPECT_EQ(bookmark->urlString(), url(u"Island.map"_s).toString());
}

TEST_F(SandboxPersistedBookmark, IsUnresolvableOnceItsItemIsGoneAndIsThenDeletedByTheNextSave)
{
    manager()->appDidObtainPermissionToAccessURL(newFile(u"Iceland.map"_s));
    ASSERT_TRUE(QFile::remove(path(u"Iceland.map"_s)));
    const CapturedStandardError log;
    const auto later = nextLaunch();
    MBWSandboxPersistedBookmark *const bookmark = records(later.get()).value(0);
    ASSERT_TRUE(bookmark);
    EXPECT_THAT(log.text().toStdString(),
                HasSubstr("] Error resolving persisted secure bookmark "
                          + url(u"Iceland.map"_s).toString().toStdString() + ": Error Domain="));
    EXPECT_TRUE(bookmark->isUnresolvable());
    EXPECT_EQ(bookmark->resolvedURL(), std::nullopt);
    EXPECT_EQ(storedBookmarks().size(), 1U);
    EXPECT_TRUE(later->saveStoreFile());
    EXPECT_EQ(storedBookmarks().size(), 0U);
}

TEST_F(SandboxPersistedBookmark, IsNotDeletedWhereItsItemHasComeBackBeforeTheSave)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    MBWSandboxPersistedBookmark *const bookmark = insert(file);
    ASSERT_TRUE(QFile::rename(path(u"Iceland.map"_s), home.path() + u"/Iceland.map"_s));
    EXPECT_EQ(bookmark->resolvedURL(), std::nullopt);
    EXPECT_TRUE(bookmark->isUnresolvable());
    ASSERT_TRUE(QFile::rename(home.path() + u"/Iceland.map"_s, path(u"Iceland.map"_s)));
    EXPECT_EQ(bookmark->resolvedURL(), file);
    EXPECT_FALSE(bookmark->isUnresolvable());
    EXPECT_TRUE(save());
    EXPECT_EQ(storedBookmarks().size(), 1U);
}

TEST_F(SandboxPersistedBookmark, KeepsAURLThatHasBecomeUnreachableAsItIs)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    MBWSandboxPersistedBookmark *const bookmark = insert(file);
    EXPECT_EQ(bookmark->resolvedURL(), file);
    bookmark->setUrlString(u"file:///untouched"_s);
    ASSERT_TRUE(QFile::rename(path(u"Iceland.map"_s), path(u"Island.map"_s)));
    const CapturedStandardError log;
    EXPECT_EQ(bookmark->resolvedURL(), file) << "it would resolve to Island.map";
    EXPECT_EQ(bookmark->urlString(), u"file:///untouched"_s);
    EXPECT_FALSE(bookmark->isUnresolvable());
    EXPECT_EQ(log.text(), QString());
    EXPECT_TRUE(save());
    EXPECT_EQ(storedBookmarks().size(), 1U);
}

TEST_F(SandboxPersistedBookmark, ResolvesAURLThatIsReachableAgain)
{
    MBWSandboxPersistedBookmark *const bookmark = insert(newFile(u"Iceland.map"_s));
    EXPECT_EQ(bookmark->resolvedURL(), url(u"Iceland.map"_s));
    ASSERT_TRUE(QFile::rename(path(u"Iceland.map"_s), path(u"Island.map"_s)));
    newFolder(u"Iceland.map"_s);
    EXPECT_EQ(bookmark->resolvedURL(), url(u"Island.map"_s));
    EXPECT_EQ(bookmark->urlString(), url(u"Island.map"_s).toString());
}

TEST_F(SandboxPersistedBookmark, IsUnresolvableWithItsOldURLWhereThatIsReachableButTheItemIsGone)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    MBWSandboxPersistedBookmark *const bookmark = insert(file);
    EXPECT_EQ(bookmark->resolvedURL(), file);
    replaceFileByFolder(u"Iceland.map"_s);
    const CapturedStandardError log;
    EXPECT_EQ(bookmark->resolvedURL(), file);
    EXPECT_TRUE(bookmark->isUnresolvable());
    EXPECT_THAT(log.text().toStdString(), HasSubstr("] Error resolving persisted secure bookmark "));
    EXPECT_TRUE(save());
    EXPECT_EQ(storedBookmarks().size(), 0U);
}

TEST_F(SandboxPersistedBookmark, WithoutUsableDataIsUnresolvable)
{
    for (const QByteArray &data : {QByteArray(), "no bookmark"_ba}) {
        MBWSandboxPersistedBookmark *const bookmark = insert(newFile(u"Iceland.map"_s));
        bookmark->setData(data);
        EXPECT_EQ(bookmark->resolvedURL(), std::nullopt);
        EXPECT_TRUE(bookmark->isUnresolvable());
    }
    EXPECT_TRUE(save());
    EXPECT_EQ(storedBookmarks().size(), 0U);
}

TEST_F(SandboxPersistedBookmark, WithoutAURLStringLogsNull)
{
    MBWSandboxPersistedBookmark *const bookmark = insert(newFile(u"Iceland.map"_s));
    bookmark->setValue(u"urlString"_s, {});
    EXPECT_EQ(bookmark->urlString(), std::nullopt);
    ASSERT_TRUE(QFile::remove(path(u"Iceland.map"_s)));
    const CapturedStandardError log;
    bookmark->resolvedURL();
    EXPECT_THAT(log.text().toStdString(), HasSubstr("Error resolving persisted secure bookmark (null): "));
}

TEST_F(SandboxPersistedBookmark, StartsWithoutAResolvedURLInEachLaunch)
{
    MBWSandboxPersistedBookmark *const bookmark = insert(newFile(u"Iceland.map"_s));
    EXPECT_FALSE(bookmark->primitiveValueForKey(u"resolvedURL"_s).isValid());
    bookmark->resolvedURL();
    EXPECT_EQ(bookmark->primitiveValueForKey(u"resolvedURL"_s).toUrl(), url(u"Iceland.map"_s));
    EXPECT_TRUE(save());
    ASSERT_TRUE(QFile::remove(path(u"Iceland.map"_s)));
    const auto later = nextLaunch();
    EXPECT_FALSE(records(later.get()).value(0)->primitiveValueForKey(u"resolvedURL"_s).isValid());
}

TEST_F(SandboxPersistedBookmark, ResolvesForWhoeverAsksByKey)
{
    MBWSandboxPersistedBookmark *const bookmark = insert(newFile(u"Iceland.map"_s));
    EXPECT_EQ(bookmark->valueForKey(u"resolvedURL"_s).toUrl(), url(u"Iceland.map"_s));
    EXPECT_EQ(bookmark->valueForKey(u"isDirectory"_s), false);
    bookmark->setData({});
    bookmark->setPrimitiveValue({}, u"resolvedURL"_s);
    EXPECT_FALSE(bookmark->valueForKey(u"resolvedURL"_s).isValid());
}
