#include "Tests/Platform/Foundation/RunBookmarkHost.h"

#include <QElapsedTimer>

using namespace Qt::StringLiterals;

namespace {

/*! A host in a sandbox, or outside one, of a user with a real documents portal. */
class SandboxedHost : public DocumentsPortalTest
{
protected:
    void SetUp() override
    {
        program = u"GrantHost"_s;
        DocumentsPortalTest::SetUp();
    }

    /*! Launches the host and waits until it runs; it has no manager yet. */
    void launchAndWait()
    {
        launch();
        EXPECT_EQ(host->answer(u"start"_s), u"started"_s);
    }
    QString tell(const QString &command, const QString &url) { return host->answer(command + u' ' + url); }
    bool asks(const QString &url) { return tell(u"open"_s, url) == u"ask"_s; }
    bool asksForReading(const QString &url) { return tell(u"open-read-only"_s, url) == u"ask"_s; }
    void grant(const QString &url) { EXPECT_EQ(tell(u"grant"_s, url), u"done"_s); }

    /*! A folder of the user's with a map in it, granted as a whole; the identifier of the document. */
    QString grantedFolder()
    {
        writeFile(portal->home() + u"/Documents/Atlas/Iceland.map"_s, "map");
        return portal->add(portal->home() + u"/Documents/Atlas"_s, readWrite);
    }
};

} // namespace

TEST_F(SandboxedHost, IsNotAskedForWhatIsInItsOwnHomeFolder)
{
    const QString draft = u"%1/.var/app/%2/Draft.map"_s.arg(portal->home(),
                                                            DocumentsPortal::applicationIdentifier());
    writeFile(draft, "map");
    writeFile(portal->home() + u"/shared/Iceland.map"_s, "map");
    EXPECT_FALSE(asks(u"file://"_s + draft));
    EXPECT_TRUE(asks(u"file://%1/shared/Iceland.map"_s.arg(portal->home()))) << "the host sees it there, too";
}

TEST_F(SandboxedHost, IsAskedForWhatTheSandboxHides)
{
    writeFile(portal->home() + u"/Documents/Iceland.map"_s, "map");
    EXPECT_TRUE(asks(u"file://%1/Documents/Iceland.map"_s.arg(portal->home())));
    EXPECT_TRUE(asksForReading(u"file://%1/Documents/Iceland.map"_s.arg(portal->home())));
}

TEST_F(SandboxedHost, IsNotAskedAgainForAFileThatWasGrantedInAnEarlierLaunch)
{
    const QString url = grantedFile(u"Iceland.map"_s);
    EXPECT_TRUE(asks(url)) << "the portal shows it, and the host does not know it yet";
    grant(url);
    EXPECT_FALSE(asks(url));
    launch();
    EXPECT_FALSE(asks(url));
    launch();
    EXPECT_FALSE(asks(url));
}

TEST_F(SandboxedHost, IsNotAskedAgainForWhatIsInAFolderThatWasGrantedInAnEarlierLaunch)
{
    const QString document = grantedFolder();
    grant(url(document, u"Atlas"_s));
    launch();
    EXPECT_FALSE(asks(url(document, u"Atlas/Iceland.map"_s)));
    EXPECT_FALSE(asks(url(document, u"Atlas"_s)));
}

TEST_F(SandboxedHost, IsAskedAgainForADocumentThatWasRevoked)
{
    writeFile(portal->home() + u"/Documents/Iceland.map"_s, "map");
    const QString document = portal->add(portal->home() + u"/Documents/Iceland.map"_s, readWrite);
    const QString file = url(document, u"Iceland.map"_s);
    grant(file);
    launch();
    portal->revoke(document, readWrite);
    EXPECT_TRUE(asks(file));
    portal->add(portal->home() + u"/Documents/Iceland.map"_s, readWrite);
    launch();
    EXPECT_TRUE(asks(file)) << "its record is gone";
}

TEST_F(SandboxedHost, IsAskedAgainForAFolderThatWasRevokedAndForgetsIt)
{
    const QString document = grantedFolder();
    const QString folder = url(document, u"Atlas"_s);
    grant(folder);
    launch();
    portal->revoke(document, readWrite);
    EXPECT_TRUE(asks(folder));
    grantedFolder();
    EXPECT_TRUE(asks(folder)) << "the host has forgotten it";
    grant(folder);
    EXPECT_FALSE(asks(folder));
}

TEST_F(SandboxedHost, IsAskedAgainForAFileThatMayOnlyBeReadAnyMore)
{
    writeFile(portal->home() + u"/Documents/Iceland.map"_s, "map");
    const QString document = portal->add(portal->home() + u"/Documents/Iceland.map"_s, readWrite);
    const QString file = url(document, u"Iceland.map"_s);
    grant(file);
    launch();
    portal->revoke(document, {u"write"_s});
    EXPECT_TRUE(asks(file));
}

TEST_F(SandboxedHost, IsNotAskedAgainForAReadOnlyGrantOfAFileThatMayOnlyBeRead)
{
    const QString file = grantedFile(u"Iceland.map"_s, {u"read"_s});
    EXPECT_EQ(tell(u"grant-read-only"_s, file), u"done"_s);
    launch();
    EXPECT_FALSE(asksForReading(file));
}

TEST_F(SandboxedHost, LosesNoGrantWhereThePortalIsAwayAndAsksForNone)
{
    const QString file = grantedFile(u"Iceland.map"_s);
    const QString folder = grantedFolder();
    grant(file);
    grant(url(folder, u"Atlas"_s));
    launchAndWait();
    portal->end();
    EXPECT_FALSE(asks(file));
    EXPECT_FALSE(asks(url(folder, u"Atlas"_s)));
    portal->start();
    launch();
    EXPECT_FALSE(asks(file));
    EXPECT_FALSE(asks(url(folder, u"Atlas/Iceland.map"_s)));
}

TEST_F(SandboxedHost, WaitsOnceAndBrieflyForAPortalThatDoesNotAnswerAndLosesNoGrant)
{
    const QString file = grantedFile(u"Iceland.map"_s);
    const QString folder = grantedFolder();
    grant(file);
    grant(url(folder, u"Atlas"_s));
    launchAndWait();
    portal->stop();
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(asks(file));
    EXPECT_GE(timer.elapsed(), 500);
    EXPECT_LT(timer.restart(), 5000) << "the limit is half a second";
    EXPECT_FALSE(asks(url(folder, u"Atlas"_s)));
    EXPECT_EQ(tell(u"forget"_s, url(folder, u"Other"_s)), u"done"_s);
    EXPECT_LT(timer.elapsed(), 500) << "there is no second wait";
    portal->resume();
    launch();
    EXPECT_FALSE(asks(file));
    EXPECT_FALSE(asks(url(folder, u"Atlas/Iceland.map"_s)));
}

TEST_F(SandboxedHost, TakesAFolderThatIsGrantedWhileThePortalDoesNotAnswerForAFileUntilItIsGrantedAgain)
{
    const QString document = grantedFolder();
    const QString folder = url(document, u"Atlas"_s);
    launchAndWait();
    portal->stop();
    grant(folder);
    EXPECT_FALSE(asks(folder));
    portal->resume();
    launch();
    EXPECT_TRUE(asks(url(document, u"Atlas/Iceland.map"_s)));
    grant(folder);
    EXPECT_FALSE(asks(url(document, u"Atlas/Iceland.map"_s)));
    launch();
    EXPECT_FALSE(asks(url(document, u"Atlas/Iceland.map"_s)));
}
