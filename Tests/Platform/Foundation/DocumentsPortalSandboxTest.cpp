#include "Tests/Platform/Foundation/RunBookmarkHost.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/*! What holds in a sandbox only. */
class SandboxedBookmarks : public DocumentsPortalTest
{
protected:
    QString ownHome() const { return portal->home() + u"/.var/app/"_s + portal->applicationIdentifier(); }
    QString shared() const { return portal->home() + u"/shared/"_s; }
    static QString fileURL(const QString &path) { return u"file://"_s + path; }
};

} // namespace

TEST_F(SandboxedBookmarks, HaveTheApplicationsOwnHome) { EXPECT_EQ(host->answer(u"home"_s), ownHome()); }

TEST_F(SandboxedBookmarks, ReadTheApplicationsNameAmongOtherSettings)
{
    writeFile(portal->sandboxInfo(),
              "[Context]\nname=no\n\n[Application]\r\nruntime=a/b\r\n name=org.example.App \r\n");
    EXPECT_EQ(host->answer(u"home"_s), portal->home() + u"/.var/app/org.example.App"_s);
}

TEST_F(SandboxedBookmarks, HaveTheUsersHomeWhereNoApplicationIsNamed)
{
    for (const QByteArray &info :
         {QByteArray(), QByteArray("[Runtime]\nname=org.example.Runtime\n"),
          QByteArray("[Application]\nname=\n"), QByteArray("[Application]\nname=../..\n"),
          QByteArray("[Application]\nname=..\n"), QByteArray("[Application]\nname=.\n"),
          QByteArray("[Application]\nname"), QByteArray(70'000, '[')}) {
        launch();
        writeFile(portal->sandboxInfo(), info);
        EXPECT_EQ(host->answer(u"home"_s), portal->home()) << info.left(40).constData();
    }
}

TEST_F(SandboxedBookmarks, KnowTheSandboxAlsoWhereItsDescriptionIsDamaged)
{
    for (const QByteArray &info :
         {QByteArray(), QByteArray("[Application]\nname=..\n"), QByteArray(70'000, '[')}) {
        launch();
        writeFile(portal->sandboxInfo(), info);
        EXPECT_TRUE(host->isReachable(fileURL(portal->home() + u"/Documents/map.txt"_s)));
        EXPECT_FALSE(host->isReachable(fileURL(shared() + u"missing"_s)));
    }
}

TEST_F(SandboxedBookmarks, OfARevokedDocumentResolveAndDoNotStart)
{
    const QString url = grantedFile(u"map.txt"_s);
    const QString data = host->answer(u"bookmark "_s + url);
    portal->revoke(url.section(u'/', -2, -2), readWrite);
    EXPECT_TRUE(host->isReachable(url)) << "the user must be asked for it";
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    EXPECT_FALSE(host->start(url));
}

TEST_F(SandboxedBookmarks, ForWritingDoNotStartWhereReadingIsGranted)
{
    const QString url = grantedFile(u"map.txt"_s, {u"read"_s});
    EXPECT_FALSE(startsAfterRelaunch(url, u"bookmark"_s));
    EXPECT_TRUE(startsAfterRelaunch(url, u"bookmark-for-reading"_s));
}

TEST_F(SandboxedBookmarks, ForWritingDoNotStartOnceWritingIsRevoked)
{
    writeFile(portal->home() + u"/Documents/Maps/map.txt"_s, "contents");
    const QString document = portal->add(portal->home() + u"/Documents/Maps"_s, readWrite);
    const QString folder = url(document, u"Maps"_s);
    EXPECT_TRUE(startsAfterRelaunch(folder));
    portal->revoke(document, {u"write"_s});
    EXPECT_FALSE(host->start(folder));
    EXPECT_TRUE(startsAfterRelaunch(folder, u"bookmark-for-reading"_s));
}

TEST_F(SandboxedBookmarks, OfADocumentsOtherPathStart)
{
    const QString url = grantedFile(u"map.txt"_s)
                            .replace(u"/run/user/%1/doc/"_s.arg(::getuid()), u"/run/flatpak/doc/"_s);
    EXPECT_TRUE(startsAfterRelaunch(url));
    portal->revoke(url.section(u'/', -2, -2), readWrite);
    EXPECT_FALSE(host->start(url));
}

TEST_F(SandboxedBookmarks, OfAFolderThatTheSandboxShowsFindARenamedFile)
{
    writeFile(shared() + u"map.txt"_s, "contents");
    const QString data = host->answer(u"bookmark "_s + fileURL(shared() + u"map.txt"_s));
    EXPECT_TRUE(QFile::rename(shared() + u"map.txt"_s, shared() + u"renamed.txt"_s));
    const QString renamed = fileURL(shared() + u"renamed.txt"_s);
    EXPECT_EQ(host->answer(u"resolve "_s + data), renamed + u" stale"_s);
    EXPECT_TRUE(host->start(renamed));
}

TEST_F(SandboxedBookmarks, ForWritingDoNotStartWhereTheSandboxShowsAFolderForReading)
{
    const QString url = u"file:///usr/bin/env"_s;
    EXPECT_FALSE(startsAfterRelaunch(url, u"bookmark"_s));
    EXPECT_TRUE(startsAfterRelaunch(url, u"bookmark-for-reading"_s));
}

TEST_F(SandboxedBookmarks, AreNotMadeOfWhatTheSandboxHides)
{
    writeFile(portal->home() + u"/Documents/map.txt"_s, "contents");
    EXPECT_TRUE(host->answer(u"bookmark "_s + fileURL(portal->home() + u"/Documents/map.txt"_s))
                    .startsWith(u"Error Domain=NSPOSIXErrorDomain Code=2 "_s));
}

TEST_F(SandboxedBookmarks, KnowThatWhatTheSandboxHidesMayBeThere)
{
    for (const QString &path :
         {portal->home() + u"/Documents/map.txt"_s, u"/home/somebody"_s, u"/srv/maps/map.txt"_s,
          u"/run/user/%1/doc/1a2b3c4d/map.txt"_s.arg(::getuid()), u"/run/flatpak/doc/1a2b3c4d"_s})
        EXPECT_TRUE(host->isReachable(fileURL(path))) << qPrintable(path);
}

TEST_F(SandboxedBookmarks, KnowThatWhatTheSandboxCoversMayBeThere)
{
    EXPECT_TRUE(host->isReachable(fileURL(shared() + u"covered/map.txt"_s)));
}

TEST_F(SandboxedBookmarks, KnowThatWhatIsMissingInAFolderThatTheSandboxShowsIsNotThere)
{
    for (const QString &path :
         {ownHome() + u"/missing"_s, ownHome() + u"/missing/too"_s, shared() + u"missing"_s,
          u"/usr/missing"_s, u"/usr/bin/env/missing"_s, u'/' + QString(300, u'a')})
        EXPECT_FALSE(host->isReachable(fileURL(path))) << qPrintable(path);
}

TEST_F(SandboxedBookmarks, KnowThatALinkMayLeadToWhatTheSandboxHides)
{
    EXPECT_TRUE(QFile::link(portal->home() + u"/Documents/map.txt"_s, ownHome() + u"/link"_s));
    EXPECT_TRUE(QFile::link(portal->home() + u"/Documents"_s, ownHome() + u"/folder"_s));
    EXPECT_TRUE(QFile::link(ownHome() + u"/loop"_s, ownHome() + u"/loop"_s));
    EXPECT_TRUE(host->isReachable(fileURL(ownHome() + u"/link"_s)));
    EXPECT_TRUE(host->isReachable(fileURL(ownHome() + u"/folder/map.txt"_s)));
    EXPECT_FALSE(host->isReachable(fileURL(ownHome() + u"/loop"_s)));
}
