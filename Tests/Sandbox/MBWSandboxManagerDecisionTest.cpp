#include "Tests/Sandbox/SandboxTest.h"

#include <Marblewick/NSWorkspace.h>

#include <QFile>

#include <cstdlib>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;
using ::testing::HasSubstr;

namespace {

class SandboxDecision : public SandboxTest
{
protected:
    /*! Whether the user has to be asked for reading and writing, and for reading. */
    static testing::AssertionResult asks(MBWSandboxManager *manager, const QUrl &url)
    {
        const bool readWrite = manager->appNeedsToObtainPermissionToAccessURL(url);
        const bool readOnly = manager->appNeedsToObtainReadOnlyPermissionToAccessURL(url);
        EXPECT_EQ(readWrite, readOnly) << qPrintable(url.toString());
        return readWrite ? testing::AssertionSuccess() : testing::AssertionFailure();
    }
};

} // namespace

TEST_F(SandboxDecision, AnItemInTheHomeFolderNeedsNoPermission)
{
    writeFile(home.path() + u"/Iceland.map"_s, "map");
    EXPECT_FALSE(asks(manager(), QUrl::fromLocalFile(home.path() + u"/Iceland.map"_s)));
    EXPECT_FALSE(asks(manager(), QUrl::fromLocalFile(home.path())));
}

TEST_F(SandboxDecision, AnItemInAnAdditionalEntitledFolderNeedsNoPermission)
{
    const QUrl file = newFile(u"Library/Iceland.map"_s);
    EXPECT_TRUE(asks(manager(), file));
    HostManager::additionalFolders = {url(u"Elsewhere"_s), url(u"Library"_s)};
    EXPECT_FALSE(asks(manager(), file));
    EXPECT_FALSE(asks(manager(), url(u"Library"_s)));
}

TEST_F(SandboxDecision, AnEntitledFolderEntitlesToReadingAndWritingAndNotToReading)
{
    const QUrl file = newFile(u"Library/Iceland.map"_s);
    manager()->setEntitledDirectoryURLs({url(u"Library"_s)});
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_TRUE(manager()->appNeedsToObtainReadOnlyPermissionToAccessURL(file));
}

TEST_F(SandboxDecision, AReadOnlyEntitledFolderEntitlesToReadingAndNotToReadingAndWriting)
{
    const QUrl file = newFile(u"Library/Iceland.map"_s);
    manager()->setReadOnlyEntitledDirectoryURLs({url(u"Library"_s)});
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_FALSE(manager()->appNeedsToObtainReadOnlyPermissionToAccessURL(file));
}

TEST_F(SandboxDecision, NoFolderIsEntitledAtFirst)
{
    EXPECT_EQ(manager()->entitledDirectoryURLs(), QSet<QUrl>());
    EXPECT_EQ(manager()->readOnlyEntitledDirectoryURLs(), QSet<QUrl>());
    EXPECT_EQ(manager()->MBWSandboxManager::additionalEntitledDirectoryURLs(), QList<QUrl>());
}

TEST_F(SandboxDecision, TheEntitledFoldersAreProperties)
{
    const QSet<QUrl> folders{url(u"Library"_s)};
    EXPECT_TRUE(manager()->setProperty("entitledDirectoryURLs", QVariant::fromValue(folders)));
    EXPECT_EQ(manager()->entitledDirectoryURLs(), folders);
    EXPECT_EQ(manager()->property("readOnlyEntitledDirectoryURLs").value<QSet<QUrl>>(), QSet<QUrl>());
}

TEST_F(SandboxDecision, AFolderEntitlesToWhateverPathBeginsWithItsOwnWithoutRegardToNames)
{
    const QUrl file = newFile(u"Data2/file"_s);
    newFolder(u"Data"_s);
    manager()->setEntitledDirectoryURLs({url(u"Data"_s)});
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    manager()->setEntitledDirectoryURLs({QUrl(url(u"Data"_s).toString() + u'/')});
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    manager()->setEntitledDirectoryURLs({url(u"data"_s)});
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(file));
}

TEST_F(SandboxDecision, TheEntitledFoldersAreReadAndReplacedByAnyThreadEachAsAWhole)
{
    const QSet<QUrl> one{url(u"Library"_s)};
    const QSet<QUrl> other{url(u"Data"_s), url(u"Public"_s)};
    MBWSandboxManager *const shared = manager();
    shared->setEntitledDirectoryURLs(one);
    shared->setReadOnlyEntitledDirectoryURLs(one);
    std::thread thread([=] {
        for (int i = 0; i < 10'000; ++i) {
            shared->setEntitledDirectoryURLs(i % 2 == 0 ? other : one);
            shared->setReadOnlyEntitledDirectoryURLs(i % 2 == 0 ? other : one);
        }
    });
    int torn = 0;
    for (int i = 0; i < 10'000; ++i) {
        for (const auto &urls : {shared->entitledDirectoryURLs(), shared->readOnlyEntitledDirectoryURLs()})
            torn += urls == one || urls == other ? 0 : 1;
    }
    thread.join();
    EXPECT_EQ(torn, 0);
}

TEST_F(SandboxDecision, TheHomeFolderEntitlesToWhateverPathBeginsWithItsOwnWithoutRegardToNames)
{
    const QTemporaryDir beside(home.path() + u"2-XXXXXX"_s);
    writeFile(beside.filePath(u"Iceland.map"_s), "map");
    EXPECT_FALSE(asks(manager(), QUrl::fromLocalFile(beside.filePath(u"Iceland.map"_s))));
}

TEST_F(SandboxDecision, AnAdditionalFolderEntitlesToWhateverPathBeginsWithItsOwnWithoutRegardToNames)
{
    HostManager::additionalFolders = {newFolder(u"Data"_s)};
    EXPECT_FALSE(asks(manager(), newFile(u"Data2/Iceland.map"_s)));
    EXPECT_TRUE(asks(manager(), newFile(u"data2/Iceland.map"_s)));
}

TEST_F(SandboxDecision, AnEmptyHOMEEntitlesToNothingOutsideTheHomeFolder)
{
    qputenv("HOME", "");
    EXPECT_TRUE(asks(manager(), newFile(u"Iceland.map"_s)));
}

TEST_F(SandboxDecision, AGrantedFolderCoversWhateverPathBeginsWithItsOwn)
{
    manager()->appDidObtainPermissionToAccessURL(newFolder(u"Doc"_s));
    EXPECT_FALSE(asks(manager(), newFile(u"Documents/Iceland.map"_s)));
    EXPECT_FALSE(asks(manager(), newFolder(u"Doctor"_s)));
    EXPECT_TRUE(asks(manager(), newFolder(u"doc2"_s)));
}

TEST_F(SandboxDecision, AnEntitledURLWithoutAPathEntitlesToNothing)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    HostManager::additionalFolders = {QUrl()};
    manager()->setEntitledDirectoryURLs({QUrl(u"file:"_s)});
    manager()->setReadOnlyEntitledDirectoryURLs({QUrl()});
    EXPECT_TRUE(asks(manager(), file));
}

TEST_F(SandboxDecision, SymbolicLinksAreNotResolved)
{
    writeFile(home.path() + u"/Iceland.map"_s, "map");
    ASSERT_TRUE(QFile::link(home.path() + u"/Iceland.map"_s, path(u"link"_s)));
    EXPECT_TRUE(asks(manager(), url(u"link"_s)));

    newFile(u"outside.map"_s);
    ASSERT_TRUE(QFile::link(path(u"outside.map"_s), home.path() + u"/link"_s));
    EXPECT_FALSE(asks(manager(), QUrl::fromLocalFile(home.path() + u"/link"_s)));
}

TEST_F(SandboxDecision, AnItemThatDoesNotExistNeedsNoPermission)
{
    EXPECT_FALSE(asks(manager(), url(u"missing"_s)));
    EXPECT_FALSE(asks(manager(), url(u"missing/missing"_s)));
    EXPECT_FALSE(asks(manager(), QUrl()));
}

TEST_F(SandboxDecision, AURLThatLeadsToNoFileNeedsNoPermissionAndIsNoGrant)
{
    newFile(u"Iceland.map"_s);
    const CapturedStandardError log;
    for (const QUrl &url : {QUrl(u"https://example.com"_s + path(u"Iceland.map"_s)), QUrl(u"Iceland.map"_s),
                            QUrl(url(u"Iceland.map"_s).toString() + u"%00"_s), url(QString(5000, u'a')),
                            url(u"a/"_s.repeated(3000))}) {
        EXPECT_FALSE(asks(manager(), url));
        manager()->appDidObtainPermissionToAccessURL(url);
    }
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());
    EXPECT_EQ(log.text().count(u"Cannot start accessing just created security scoped URL: "_s), 5);
}

TEST_F(SandboxDecision, AnItemThatWasNotGrantedNeedsPermission)
{
    EXPECT_TRUE(asks(manager(), newFile(u"Iceland.map"_s)));
    EXPECT_TRUE(asks(manager(), newFolder(u"Atlas"_s)));
    EXPECT_TRUE(asks(manager(), QUrl(u"file:///"_s)));
}

TEST_F(SandboxDecision, AccessToAFolderOfAnEarlierLaunchIsStartedOnceForAllThatIsInIt)
{
    const QUrl folder = newFolder(u"Atlas"_s);
    const QUrl file = newFile(u"Atlas/Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(folder);

    RecordingScope scope;
    const auto later = nextLaunch();
    EXPECT_EQ(scope.started, QList<QUrl>());
    EXPECT_FALSE(asks(later.get(), file));
    EXPECT_EQ(scope.started, QList<QUrl>{folder});
    EXPECT_FALSE(asks(later.get(), file));
    EXPECT_FALSE(asks(later.get(), folder));
    EXPECT_FALSE(asks(later.get(), newFolder(u"Atlas/Europe"_s)));
    EXPECT_EQ(scope.started, QList<QUrl>{folder});
}

TEST_F(SandboxDecision, AccessToAFileOfAnEarlierLaunchIsStartedOnce)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(file);

    RecordingScope scope;
    const auto later = nextLaunch();
    EXPECT_FALSE(asks(later.get(), file));
    EXPECT_EQ(scope.started, QList<QUrl>{file});
    EXPECT_FALSE(asks(later.get(), file));
    EXPECT_EQ(scope.started, QList<QUrl>{file});
    EXPECT_TRUE(asks(later.get(), newFile(u"Ireland.map"_s)));
}

TEST_F(SandboxDecision, AccessIsStartedInTheModeThatWasGranted)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    const QUrl folder = newFolder(u"Atlas"_s);
    manager()->appDidObtainReadOnlyPermissionToAccessURL(file);
    manager()->appDidObtainPermissionToAccessURL(folder);

    RecordingScope scope;
    const auto later = nextLaunch();
    EXPECT_FALSE(later->appNeedsToObtainReadOnlyPermissionToAccessURL(file));
    EXPECT_FALSE(later->appNeedsToObtainPermissionToAccessURL(folder));
    EXPECT_EQ(scope.started, (QList<QUrl>{file, folder}));
    EXPECT_EQ(scope.startedReadOnly, (QList<bool>{true, false}));
}

TEST_F(SandboxDecision, AReadOnlyGrantAlsoAnswersForReadingAndWriting)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainReadOnlyPermissionToAccessURL(file);
    EXPECT_FALSE(manager()->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_FALSE(nextLaunch()->appNeedsToObtainPermissionToAccessURL(file));
}

TEST_F(SandboxDecision, TheURLOfAGrantedFileThatIsSpelledInAnotherWayIsNotThatFile)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(file);
    EXPECT_TRUE(asks(manager(), QUrl(file.toString() + u'/')));
}

TEST_F(SandboxDecision, AFolderToWhichAccessIsRefusedIsForgottenAndAskedFor)
{
    const QUrl folder = newFolder(u"Käfer & Co"_s);
    const QUrl file = newFile(u"Käfer & Co/Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(folder);

    RecordingScope scope;
    scope.isRefusing = true;
    const CapturedStandardError log;
    const auto later = nextLaunch();
    EXPECT_TRUE(later->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_THAT(log.text().toStdString(), HasSubstr("] Unable to obtain secure bookmark access for folder "
                                                    + folder.toEncoded().toStdString() + '\n'));
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());
    EXPECT_EQ(scope.stopped, QList<QUrl>{folder});
    EXPECT_TRUE(later->appNeedsToObtainPermissionToAccessURL(folder));
    EXPECT_EQ(scope.started, QList<QUrl>{folder});
}

TEST_F(SandboxDecision, AFileToWhichAccessIsRefusedIsForgottenAndAskedFor)
{
    const QUrl file = newFile(u"Käfer & Co.map"_s);
    manager()->appDidObtainPermissionToAccessURL(file);

    RecordingScope scope;
    scope.isRefusing = true;
    const CapturedStandardError log;
    const auto later = nextLaunch();
    EXPECT_TRUE(later->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_THAT(log.text().toStdString(), HasSubstr("] Unable to obtain secure bookmark access for file "
                                                    + file.toEncoded().toStdString() + '\n'));
    EXPECT_EQ(storedBookmarks(), std::vector<StoredBookmark>());
    EXPECT_EQ(scope.stopped, QList<QUrl>{file});
    EXPECT_TRUE(later->appNeedsToObtainPermissionToAccessURL(file));
    EXPECT_EQ(scope.started, QList<QUrl>{file});
}

TEST_F(SandboxDecision, AFilePackageIsAFile)
{
    const QUrl package = newFolder(u"Atlas.app"_s);
    const QUrl inside = newFile(u"Atlas.app/Iceland.map"_s);
    manager()->appDidObtainPermissionToAccessURL(package);
    EXPECT_EQ(storedBookmarks(), (std::vector<StoredBookmark>{{path(u"Atlas.app"_s).toStdString()}}));

    RecordingScope scope;
    const auto later = nextLaunch();
    EXPECT_FALSE(asks(later.get(), package));
    EXPECT_EQ(scope.started, QList<QUrl>{package});
    EXPECT_FALSE(asks(later.get(), inside)) << "its folder is the package";
    EXPECT_TRUE(asks(later.get(), newFile(u"Atlas.application"_s))) << "no folder's path is compared here";
}

TEST_F(SandboxDecision, WhatIsAPackageIsKnownToTheEndOfTheProcessForAThreadThatWasHeldUp)
{
    static const QString package = path(u"Map.atlas"_s);
    newFolder(u"Map.atlas"_s);
    const auto endProcess = [] {
        // Called after all that the first use of the workspace leaves to be done at the end.
        std::atexit([] { ::_exit(NSWorkspace::sharedWorkspace()->isFilePackageAtPath(package) ? 0 : 1); });
        NSWorkspace::sharedWorkspace()->addFilePackageExtension(u"atlas"_s);
        std::exit(2);
    };
    EXPECT_EXIT(endProcess(), testing::ExitedWithCode(0), "");
}

TEST_F(SandboxDecision, AskingForAFileThatWasNotGrantedLooksWhereAllRecordsLeadToNow)
{
    const QUrl kept = newFile(u"kept.map"_s);
    const QUrl replaced = newFile(u"replaced.map"_s);
    manager()->appDidObtainPermissionToAccessURL(kept);
    manager()->appDidObtainPermissionToAccessURL(replaced);
    QList<MBWSandboxPersistedBookmark *> bookmarks = records(manager());
    ASSERT_EQ(bookmarks.size(), 2);
    bookmarks.first()->setUrlString(u"file:///old"_s);
    ASSERT_TRUE(QFile::remove(replaced.toLocalFile()));
    newFolder(u"replaced.map"_s);

    const CapturedStandardError log;
    EXPECT_TRUE(manager()->appNeedsToObtainPermissionToAccessURL(newFile(u"other.map"_s)));
    EXPECT_EQ(bookmarks.first()->urlString(), kept.toString());
    EXPECT_FALSE(bookmarks.first()->isUnresolvable());
    EXPECT_TRUE(bookmarks.last()->isUnresolvable());
    EXPECT_THAT(log.text().toStdString(), HasSubstr("] Error resolving persisted secure bookmark "
                                                    + replaced.toString().toStdString()));
    EXPECT_EQ(storedBookmarks().size(), 2U) << "nothing is saved";
}

TEST_F(SandboxDecision, ARecordThatLeadsToTheFileIsNoGrantOfItByItself)
{
    const QUrl file = newFile(u"Iceland.map"_s);
    manager();
    ASSERT_TRUE(MBWSandboxPersistedBookmark::insertBookmarkForURL(file, false));
    EXPECT_TRUE(asks(manager(), file));
}

TEST_F(SandboxDecision, AskingForAFileThatWasNotGrantedMarksARecordThatLeadsNowhere)
{
    const QUrl gone = newFile(u"gone.map"_s);
    manager();
    MBWSandboxPersistedBookmark *const bookmark = MBWSandboxPersistedBookmark::insertBookmarkForURL(gone,
                                                                                                    false);
    ASSERT_TRUE(bookmark);
    ASSERT_TRUE(QFile::remove(gone.toLocalFile()));
    EXPECT_TRUE(asks(manager(), newFile(u"Iceland.map"_s)));
    EXPECT_TRUE(bookmark->isUnresolvable());
}

TEST_F(SandboxDecision, AskingForAFolderOrAnEntitledItemLooksForNoRecord)
{
    manager();
    MBWSandboxPersistedBookmark *const bookmark = MBWSandboxPersistedBookmark::insertBookmarkForURL(
        newFile(u"Iceland.map"_s), false);
    ASSERT_TRUE(bookmark);
    bookmark->setUrlString(u"file:///old"_s);
    EXPECT_TRUE(asks(manager(), newFolder(u"Atlas"_s)));
    EXPECT_FALSE(asks(manager(), QUrl::fromLocalFile(home.path())));
    EXPECT_EQ(bookmark->urlString(), u"file:///old"_s);
}

TEST_F(SandboxDecision, OfGrantsThatAreNestedOneIsStarted)
{
    const QUrl outer = newFolder(u"Atlas"_s);
    const QUrl inner = newFolder(u"Atlas/Europe"_s);
    manager()->appDidObtainPermissionToAccessURL(inner);
    manager()->appDidObtainPermissionToAccessURL(outer);
    RecordingScope scope;
    EXPECT_FALSE(asks(nextLaunch().get(), newFile(u"Atlas/Europe/Iceland.map"_s)));
    EXPECT_EQ(scope.started.size(), 1);
}
