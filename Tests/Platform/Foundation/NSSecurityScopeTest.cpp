#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QStringList>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr auto withScope = NSURLBookmarkResolutionWithoutUI | NSURLBookmarkResolutionWithSecurityScope;

/*! Makes a bookmark of a file and resolves it. */
QUrl resolvedURL(const QString &path, NSURLBookmarkCreationOptions creation,
                 NSURLBookmarkResolutionOptions resolution = withScope)
{
    const auto data = NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(path), creation);
    EXPECT_TRUE(data);
    const auto url = NSURL::URLByResolvingBookmarkData(data.value_or(QByteArray()), resolution);
    EXPECT_TRUE(url);
    return url.value_or(QUrl());
}

/*! Writes down what it is asked. */
class RecordingScope : public NSSecurityScope
{
public:
    RecordingScope() { setCurrent(this); }
    ~RecordingScope() override { setCurrent(systemScope()); }

    bool startAccessing(const QUrl &url, bool isReadOnly) override
    {
        calls.append(u"start %1 %2"_s.arg(NSURL::path(url), isReadOnly ? u"read"_s : u"write"_s));
        return isGranting;
    }
    void stopAccessing(const QUrl &url) override { calls.append(u"stop "_s + NSURL::path(url)); }

    QStringList calls;
    bool isGranting = true;
};

class SecurityScope : public testing::Test
{
protected:
    SecurityScope() { writeFile(file, "contents"); }

    const TemporaryHome home;
    const QString file = home.path() + u"/a.txt"_s;
};

} // namespace

TEST_F(SecurityScope, StartsForAResolvedURLThatTheUserMayReadAndWrite)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope);
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(url));
}

TEST_F(SecurityScope, StartsForAFolder)
{
    const QUrl url = resolvedURL(home.path(), NSURLBookmarkCreationWithSecurityScope);
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(url));
}

TEST_F(SecurityScope, IsThatOfThePathWhateverSlashesEndTheURL)
{
    resolvedURL(home.path(), NSURLBookmarkCreationWithSecurityScope);
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(NSURL::fileURLWithPath(home.path() + u'/')));
}

TEST_F(SecurityScope, DoesNotStartForAURLThatNoBookmarkWasResolvedTo)
{
    EXPECT_FALSE(NSURL::startAccessingSecurityScopedResource(NSURL::fileURLWithPath(file)));
    EXPECT_FALSE(NSURL::startAccessingSecurityScopedResource(QUrl()));
}

TEST_F(SecurityScope, DoesNotStartWhereTheBookmarkHasNoScope)
{
    EXPECT_FALSE(NSURL::startAccessingSecurityScopedResource(resolvedURL(file, {})));
}

TEST_F(SecurityScope, DoesNotStartWhereTheBookmarkWasResolvedWithoutScope)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope,
                                 NSURLBookmarkResolutionWithoutUI);
    EXPECT_FALSE(NSURL::startAccessingSecurityScopedResource(url));
}

TEST_F(SecurityScope, ForWritingDoesNotStartWhereTheUserMayOnlyRead)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope);
    EXPECT_TRUE(QFile::setPermissions(file, QFile::ReadOwner));
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(),
                                          [&] { return !NSURL::startAccessingSecurityScopedResource(url); }));
}

TEST_F(SecurityScope, ForReadingStartsWhereTheUserMayOnlyRead)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess);
    EXPECT_TRUE(QFile::setPermissions(file, QFile::ReadOwner));
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(),
                                          [&] { return NSURL::startAccessingSecurityScopedResource(url); }));
}

TEST_F(SecurityScope, ForReadingDoesNotStartWhereTheUserMayNotRead)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess);
    EXPECT_TRUE(QFile::setPermissions(file, {}));
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(),
                                          [&] { return !NSURL::startAccessingSecurityScopedResource(url); }));
}

TEST_F(SecurityScope, DoesNotStartForAFolderThatTheUserMayNotSearch)
{
    writeFile(home.path() + u"/folder/a.txt"_s, "contents");
    const QString folder = home.path() + u"/folder"_s;
    const QUrl url = resolvedURL(folder, NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess);
    EXPECT_TRUE(QFile::setPermissions(folder, QFile::ReadOwner));
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(),
                                          [&] { return !NSURL::startAccessingSecurityScopedResource(url); }));
    EXPECT_TRUE(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

TEST_F(SecurityScope, DoesNotStartForAnItemThatWasDeleted)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope);
    EXPECT_TRUE(QFile::remove(file));
    EXPECT_FALSE(NSURL::startAccessingSecurityScopedResource(url));
}

TEST_F(SecurityScope, StartsAgainAfterItWasStopped)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope);
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(url));
    NSURL::stopAccessingSecurityScopedResource(url);
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(url));
}

TEST_F(SecurityScope, OfTheHostsOwnKindIsAskedWithTheModeOfTheBookmark)
{
    RecordingScope scope;
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope);
    EXPECT_TRUE(NSURL::instancesRespondToStartAccessingSecurityScopedResource());
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(url));
    resolvedURL(file, NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess);
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(url));
    NSURL::stopAccessingSecurityScopedResource(url);
    EXPECT_EQ(scope.calls, QStringList({u"start "_s + file + u" write"_s, u"start "_s + file + u" read"_s,
                                        u"stop "_s + file}));
}

TEST_F(SecurityScope, OfTheHostsOwnKindMayRefuse)
{
    RecordingScope scope;
    scope.isGranting = false;
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope);
    EXPECT_FALSE(NSURL::startAccessingSecurityScopedResource(url));
}

TEST_F(SecurityScope, IsStoppedAlsoWhereItWasNeverStarted)
{
    const RecordingScope scope;
    NSURL::stopAccessingSecurityScopedResource(NSURL::fileURLWithPath(file));
    EXPECT_EQ(scope.calls, QStringList(u"stop "_s + file));
}

TEST_F(SecurityScope, ForReadingIsTheOneThatCountsBesideTheOneForWriting)
{
    const RecordingScope scope;
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope
                                           | NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess);
    EXPECT_TRUE(NSURL::startAccessingSecurityScopedResource(url));
    EXPECT_EQ(scope.calls, QStringList(u"start "_s + file + u" read"_s));
}

TEST_F(SecurityScope, OfASystemWithoutAnyIsNeitherThereNorStarted)
{
    const QUrl url = resolvedURL(file, NSURLBookmarkCreationWithSecurityScope);
    NSSecurityScope::setCurrent(nullptr);
    EXPECT_FALSE(NSURL::instancesRespondToStartAccessingSecurityScopedResource());
    EXPECT_FALSE(NSURL::startAccessingSecurityScopedResource(url));
    NSURL::stopAccessingSecurityScopedResource(url);
    NSSecurityScope::setCurrent(NSSecurityScope::systemScope());
}

TEST_F(SecurityScope, IsTheSystemsWhereTheHostHasNoneOfItsOwn)
{
    EXPECT_EQ(NSSecurityScope::current(), NSSecurityScope::systemScope());
    EXPECT_TRUE(NSURL::instancesRespondToStartAccessingSecurityScopedResource());
}

TEST(NSURLBookmarkOptions, HaveTheirStatedValues)
{
    EXPECT_EQ(NSURLBookmarkCreationWithSecurityScope, 2048U);
    EXPECT_EQ(NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess, 4096U);
    EXPECT_EQ(NSURLBookmarkResolutionWithoutUI, 256U);
    EXPECT_EQ(NSURLBookmarkResolutionWithSecurityScope, 1024U);
    EXPECT_EQ(quint32(withScope), 1280U);
}
