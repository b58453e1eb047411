#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <cerrno>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! The code of the error with which a path is not reachable, or 0. */
qint64 absence(const QString &path)
{
    NSError error;
    const bool isReachable = NSURL::checkResourceIsReachable(NSURL::fileURLWithPath(path), &error);
    EXPECT_EQ(isReachable, error.code() == 0);
    return error.code();
}

} // namespace

TEST(NSURLReachability, IsTrueForFilesAndFoldersThatAreThere)
{
    const TemporaryHome home;
    writeFile(home.path() + u"/a.txt"_s, "contents");
    EXPECT_EQ(absence(home.path() + u"/a.txt"_s), 0);
    EXPECT_EQ(absence(home.path()), 0);
    EXPECT_EQ(absence(home.path() + u'/'), 0);
    EXPECT_EQ(absence(u"/"_s), 0);
}

TEST(NSURLReachability, IsFalseForAMissingItemAndNamesIt)
{
    const TemporaryHome home;
    const QString path = home.path() + u"/missing"_s;
    NSError error;
    EXPECT_FALSE(NSURL::checkResourceIsReachable(NSURL::fileURLWithPath(path), &error));
    EXPECT_EQ(error.domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_EQ(error.userInfo().value(NSFilePathErrorKey), path);
    EXPECT_FALSE(NSURL::checkResourceIsReachable(NSURL::fileURLWithPath(path)));
}

TEST(NSURLReachability, IsFalseBehindAFile)
{
    const TemporaryHome home;
    writeFile(home.path() + u"/a.txt"_s, "contents");
    EXPECT_EQ(absence(home.path() + u"/a.txt/b"_s), ENOTDIR);
}

TEST(NSURLReachability, IsFalseForALinkThatLeadsNowhereOrToItself)
{
    const TemporaryHome home;
    EXPECT_TRUE(QFile::link(home.path() + u"/missing"_s, home.path() + u"/link"_s));
    EXPECT_TRUE(QFile::link(home.path() + u"/loop"_s, home.path() + u"/loop"_s));
    EXPECT_EQ(absence(home.path() + u"/link"_s), ENOENT);
    EXPECT_EQ(absence(home.path() + u"/loop"_s), ELOOP);
}

TEST(NSURLReachability, IsFalseForAPathThatIsTooLongForTheSystem)
{
    EXPECT_EQ(absence(u'/' + QString(300, u'a')), ENAMETOOLONG);
    EXPECT_EQ(absence(u'/' + QString(u"a/"_s).repeated(4096)), ENAMETOOLONG);
}

TEST(NSURLReachability, IsTrueWhereTheUserMayNotLook)
{
    const TemporaryHome home;
    const QString closed = home.path() + u"/closed"_s;
    EXPECT_TRUE(QDir().mkpath(closed));
    EXPECT_TRUE(QFile::setPermissions(closed, {}));
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [&] { return absence(closed + u"/missing"_s) == 0; }));
    EXPECT_TRUE(QFile::setPermissions(closed, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

TEST(NSURLReachability, IsFalseForURLsThatAreNoFilesHere)
{
    for (const QString &text : {u"http://example.org/tmp"_s, u"file://example.org/tmp"_s, u"file:tmp"_s,
                                u"file:///tmp%00"_s, QString()}) {
        NSError error;
        EXPECT_FALSE(NSURL::checkResourceIsReachable(QUrl(text), &error)) << qPrintable(text);
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    }
}
