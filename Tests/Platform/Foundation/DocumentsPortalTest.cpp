#include "Tests/Platform/Foundation/RunBookmarkHost.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

/*! What holds in a sandbox and outside alike. */
class PortalBookmarks : public DocumentsPortalTest, public testing::WithParamInterface<bool>
{
protected:
    PortalBookmarks() { isInSandbox = GetParam(); }

    QString documents() const { return portal->home() + u"/Documents/"_s; }
    QString identifierIn(const QString &url) const { return url.section(u'/', -2, -2); }
};

/*! What holds for any file system that a program shows. */
class FileSystemInUserSpace : public DocumentsPortalTest
{ };

/*! A host for whom another program stands in for the portal. */
class FalsePortal : public testing::Test
{
protected:
    void SetUp() override
    {
        if (DocumentsPortal::isImpossible())
            GTEST_SKIP() << "/dev/fuse is missing, so no portal can run on this machine";
        EXPECT_TRUE(QDir().mkpath(documents));
    }

    /*! Starts the host, whose portal gives that kind of answer, and resolves a bookmark. */
    void launch(const QString &kindOfAnswer)
    {
        const QStringList command{u"env"_s, u"XDG_RUNTIME_DIR="_s + home.path(),
                                  programs + u"/BookmarkHost"_s};
        const QString data = RunningBookmarkHost(command).answer(u"bookmark "_s + url);
        host = std::make_unique<RunningBookmarkHost>(
            QStringList{programs + u"/NonsensePortal"_s, kindOfAnswer, log, documents} + command);
        EXPECT_EQ(host->answer(u"resolve "_s + data), url);
        EXPECT_EQ(requestCount(), 0);
    }
    qsizetype requestCount() const { return readFile(log).size(); }

    const TemporaryHome home;
    const QString programs = QCoreApplication::applicationDirPath();
    const QString log = home.path() + u"/requests"_s;
    const QString documents = home.path() + u"/doc"_s;
    const QString url = u"file://"_s + documents + u"/1a2b3c4d/map.txt"_s;
    std::unique_ptr<RunningBookmarkHost> host;
};

} // namespace

TEST_P(PortalBookmarks, OfAGrantedFileStartInTheNextLaunch)
{
    EXPECT_TRUE(startsAfterRelaunch(grantedFile(u"map.txt"_s)));
}

TEST_P(PortalBookmarks, OfAGrantedFolderAndOfWhatIsInItStartInTheNextLaunch)
{
    writeFile(documents() + u"Maps/Old/map.txt"_s, "contents");
    const QString document = portal->add(documents() + u"Maps"_s, readWrite);
    EXPECT_TRUE(startsAfterRelaunch(url(document, u"Maps"_s)));
    EXPECT_TRUE(startsAfterRelaunch(url(document, u"Maps/Old/map.txt"_s)));
}

TEST_P(PortalBookmarks, StartForAFileThatAnotherProgramSavedAtomically)
{
    const QString url = grantedFile(u"map.txt"_s);
    const QString data = host->answer(u"bookmark "_s + url);
    writeFile(documents() + u"new"_s, "saved");
    EXPECT_EQ(::rename(qPrintable(documents() + u"new"_s), qPrintable(documents() + u"map.txt"_s)), 0);
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    EXPECT_TRUE(host->start(url));
}

TEST_P(PortalBookmarks, StartAfterThePortalWasRestarted)
{
    const QString url = grantedFile(u"map.txt"_s);
    const QString data = host->answer(u"bookmark "_s + url);
    portal->end();
    portal->start();
    launch();
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    EXPECT_TRUE(host->start(url));
    portal->remove(identifierIn(url));
    EXPECT_FALSE(host->start(url));
}

TEST_P(PortalBookmarks, StartInAHostThatRanWhenThePortalWasRestarted)
{
    const QString url = grantedFile(u"map.txt"_s);
    host->answer(u"resolve "_s + host->answer(u"bookmark "_s + url));
    portal->end();
    EXPECT_TRUE(host->start(url));
    EXPECT_TRUE(host->isReachable(url));
    portal->start();
    EXPECT_TRUE(host->start(url));
    EXPECT_TRUE(host->isReachable(url));
}

TEST_P(PortalBookmarks, OfARemovedDocumentResolveAndDoNotStart)
{
    const QString url = grantedFile(u"map.txt"_s);
    const QString data = host->answer(u"bookmark "_s + url);
    portal->remove(identifierIn(url));
    EXPECT_TRUE(host->isReachable(url)) << "the user must be asked for it";
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    EXPECT_FALSE(host->start(url));
}

TEST_P(PortalBookmarks, OfAFileThatWasDeletedDoNotStart)
{
    const QString url = grantedFile(u"map.txt"_s);
    const QString data = host->answer(u"bookmark "_s + url);
    EXPECT_TRUE(QFile::remove(documents() + u"map.txt"_s));
    EXPECT_FALSE(host->isReachable(url)) << "the document is still granted, so the file is known to be gone";
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    EXPECT_FALSE(host->start(url));
}

TEST_P(PortalBookmarks, AreNotMadeOfAFileThatIsMissingInAGrantedFolder)
{
    writeFile(documents() + u"Maps/map.txt"_s, "contents");
    const QString document = portal->add(documents() + u"Maps"_s, readWrite);
    EXPECT_FALSE(host->isReachable(url(document, u"Maps/missing.txt"_s)));
    EXPECT_TRUE(host->answer(u"bookmark "_s + url(document, u"Maps/missing.txt"_s))
                    .startsWith(u"Error Domain=NSPOSIXErrorDomain Code=2 "_s));
}

TEST_P(PortalBookmarks, ResolveWithoutAskingThePortal)
{
    const QString url = grantedFile(u"map.txt"_s);
    const QString data = host->answer(u"bookmark "_s + url);
    launch();
    portal->stop();
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    portal->resume();
    portal->remove(identifierIn(url));
    EXPECT_FALSE(host->start(url)) << "a portal that was asked while it did not answer is not asked again";
}

TEST_P(PortalBookmarks, StartAfterHalfASecondAndThenAtOnceWhereThePortalDoesNotAnswer)
{
    const QString url = grantedFile(u"map.txt"_s);
    host->answer(u"resolve "_s + host->answer(u"bookmark "_s + url));
    portal->stop();
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(host->start(url));
    EXPECT_GE(clock.elapsed(), 450);
    EXPECT_LT(clock.restart(), 1500);
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(host->start(url));
        EXPECT_TRUE(host->isReachable(url));
    }
    EXPECT_LT(clock.elapsed(), 2500) << "ten times half a second would be twice that";
    portal->resume();
    portal->remove(identifierIn(url));
    EXPECT_TRUE(host->start(url)) << "a portal that was slow once is not asked again";
}

TEST_P(PortalBookmarks, AreMadeOfWhatIsReachableWhileThePortalDoesNotAnswer)
{
    const QString url = grantedFile(u"map.txt"_s);
    host->answer(u"home"_s);
    portal->stop();
    EXPECT_TRUE(host->isReachable(url));
    EXPECT_EQ(host->answer(u"resolve "_s + host->answer(u"bookmark "_s + url)), url);
    portal->resume();
}

TEST_P(PortalBookmarks, MadeWhileThePortalDidNotAnswerStartInTheNextLaunch)
{
    const QString url = grantedFile(u"map.txt"_s);
    host->answer(u"home"_s);
    portal->stop();
    const QString data = host->answer(u"bookmark "_s + url);
    portal->resume();
    launch();
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    EXPECT_TRUE(host->start(url));
    portal->remove(identifierIn(url));
    EXPECT_FALSE(host->start(url));
}

TEST_P(PortalBookmarks, MadeWhileThePortalWasAwayStartInTheNextLaunch)
{
    const QString url = grantedFile(u"map.txt"_s);
    host->answer(u"home"_s);
    portal->end();
    const QString data = host->answer(u"bookmark "_s + url);
    portal->start();
    launch();
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    EXPECT_TRUE(host->start(url));
    portal->remove(identifierIn(url));
    EXPECT_FALSE(host->start(url));
}

TEST_P(PortalBookmarks, OfTheFolderOfDocumentsItselfDoNotWaitForThePortal)
{
    const QString folder = url(QString(), QString()).chopped(2);
    EXPECT_TRUE(startsAfterRelaunch(folder, u"bookmark-for-reading"_s));
    launch();
    const QString data = host->answer(u"bookmark-for-reading "_s + folder);
    launch();
    host->answer(u"home"_s);
    portal->stop();
    EXPECT_EQ(host->answer(u"resolve "_s + data), folder);
    EXPECT_TRUE(host->start(folder));
    EXPECT_TRUE(host->isReachable(folder));
    portal->resume();
}

TEST_F(FileSystemInUserSpace, IsOneWhoseItemsAreFoundAfterItWasMountedAnew)
{
    isInSandbox = false;
    const QString url = grantedFile(u"map.txt"_s);
    // For this host the portal is not the one of its user.
    const QStringList elsewhere{u"env"_s, u"XDG_RUNTIME_DIR="_s + portal->home(),
                                QCoreApplication::applicationDirPath() + u"/BookmarkHost"_s};
    host = std::make_unique<RunningBookmarkHost>(elsewhere);
    const QString data = host->answer(u"bookmark "_s + url);
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    portal->end();
    portal->start();
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    portal->remove(url.section(u'/', -2, -2));
    EXPECT_TRUE(host->answer(u"resolve "_s + data).startsWith(u"Error"_s)) << "it is looked for";
}

TEST_F(FalsePortal, ThatTalksNonsenseCountsAsGranting)
{
    launch(u"nonsense"_s);
    EXPECT_TRUE(host->start(url));
    EXPECT_GT(requestCount(), 0);
    EXPECT_TRUE(host->isReachable(url));
    EXPECT_FALSE(host->answer(u"bookmark "_s + url).startsWith(u"Error"_s));
}

TEST_F(FalsePortal, ThatHasNoSuchDocumentIsBelieved)
{
    launch(u"missing"_s);
    EXPECT_FALSE(host->start(url));
    EXPECT_GT(requestCount(), 0);
}

TEST_F(FalsePortal, ThatTakesTheQuestionAndNeverAnswersCountsAsGranting)
{
    launch(u"none"_s);
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(host->start(url));
    EXPECT_GE(clock.elapsed(), 450);
    EXPECT_LT(clock.elapsed(), 1500);
    EXPECT_GT(requestCount(), 0);
}

TEST(DocumentsPortal, LeavesNothingBehindInATestEvenIfItDoesNotAnswer)
{
    if (DocumentsPortal::isImpossible())
        GTEST_SKIP() << "/dev/fuse is missing, so no documents portal can run on this machine";
    auto portal = std::make_unique<DocumentsPortal>();
    const QString home = portal->home();
    EXPECT_TRUE(readFile(u"/proc/self/mounts"_s).contains(portal->runtimeFolder().toUtf8()));
    const QByteArray runtimeFolder = portal->runtimeFolder().toUtf8();
    portal->stop();
    portal.reset();
    EXPECT_FALSE(QFile::exists(home));
    EXPECT_FALSE(readFile(u"/proc/self/mounts"_s).contains(runtimeFolder));
}

INSTANTIATE_TEST_SUITE_P(Portal, PortalBookmarks, testing::Bool(),
                         [](const auto &parameter) { return parameter.param ? "InSandbox" : "Outside"; });
