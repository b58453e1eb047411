#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSPathUtilities.h>

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <pwd.h>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

QString folder(NSSearchPathDirectory directory, bool expandTilde = true)
{
    const QStringList folders = NSSearchPathForDirectoriesInDomains(
        directory, NSSearchPathDomainMask::UserDomain, expandTilde);
    EXPECT_EQ(folders.size(), 1);
    return folders.value(0);
}

constexpr auto library = NSSearchPathDirectory::LibraryDirectory;
constexpr auto applicationSupport = NSSearchPathDirectory::ApplicationSupportDirectory;
constexpr auto preferences = NSSearchPathDirectory::PreferencesDirectory;

} // namespace

TEST(NSPathUtilities, FoldersAreThoseOfTheXDGVariables)
{
    const TemporaryHome home;
    EXPECT_EQ(folder(library), home.stateFolder());
    EXPECT_EQ(folder(applicationSupport), home.dataFolder());
    EXPECT_EQ(folder(preferences), home.configFolder());
}

TEST(NSPathUtilities, FoldersLieInTheHomeFolderWithoutTheVariables)
{
    const TemporaryHome home;
    for (const char *variable : {"XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"})
        qunsetenv(variable);
    EXPECT_EQ(folder(library), home.path() + u"/.local/state"_s);
    EXPECT_EQ(folder(applicationSupport), home.path() + u"/.local/share"_s);
    EXPECT_EQ(folder(preferences), home.path() + u"/.config"_s);
}

TEST(NSPathUtilities, EmptyAndRelativeVariablesCountAsUnset)
{
    const TemporaryHome home;
    for (const char *value : {"", "state", "./state", "~/state"}) {
        qputenv("XDG_STATE_HOME", value);
        EXPECT_EQ(folder(library), home.path() + u"/.local/state"_s) << value;
    }
}

TEST(NSPathUtilities, TheTildeStaysUnlessItIsExpanded)
{
    const TemporaryHome home;
    qunsetenv("XDG_STATE_HOME");
    EXPECT_EQ(folder(library, false), u"~/.local/state"_s);
}

TEST(NSPathUtilities, FoldersHaveNoSlashAtTheEnd)
{
    const TemporaryHome home;
    qputenv("XDG_STATE_HOME", "/var/state///");
    EXPECT_EQ(folder(library), u"/var/state"_s);
    qputenv("XDG_STATE_HOME", "//");
    EXPECT_EQ(folder(library), u"/"_s);
    qunsetenv("XDG_CONFIG_HOME");
    qputenv("HOME", "/");
    EXPECT_EQ(folder(preferences), u"/.config"_s);
}

TEST(NSPathUtilities, TheHomeFolderIsThatOfTheUserDatabaseWithoutTheVariable)
{
    const TemporaryHome home;
    EXPECT_EQ(NSHomeDirectory(), home.path());
    const passwd *user = ::getpwuid(::getuid());
    ASSERT_NE(user, nullptr);
    for (const char *value : {"", "relative"}) {
        qputenv("HOME", value);
        EXPECT_EQ(NSHomeDirectory(), QString::fromUtf8(user->pw_dir));
    }
}

TEST(NSPathUtilities, TheTemporaryFolderIsThatOfTheVariableElseTmp)
{
    const TemporaryHome home;
    EXPECT_EQ(NSTemporaryDirectory(), home.temporaryFolder());
    qunsetenv("TMPDIR");
    EXPECT_EQ(NSTemporaryDirectory(), u"/tmp"_s);
}

TEST(NSPathUtilities, APathAndAComponentAreJoinedByOneSlash)
{
    EXPECT_EQ(stringByAppendingPathComponent(u"/a"_s, u"b"_s), u"/a/b"_s);
    EXPECT_EQ(stringByAppendingPathComponent(u"/a/"_s, u"b"_s), u"/a/b"_s);
    EXPECT_EQ(stringByAppendingPathComponent(u"/"_s, u"b"_s), u"/b"_s);
}

TEST(NSPathUtilities, ThePathOfAnItemIsResolvedToTheOneWithoutLinks)
{
    const TemporaryHome home;
    const QString top = QFileInfo(home.path()).canonicalFilePath();
    writeFile(top + "/a/b/file"_L1, "");
    ASSERT_TRUE(QFile::link(u"a/b"_s, top + "/link"_L1));
    ASSERT_TRUE(QFile::link(u"link/file"_s, top + "/linkToFile"_L1));
    for (const char *path : {"/a/b", "/a//b/", "/a/./b", "/a/b/../b", "/link", "/link/"})
        EXPECT_EQ(stringByResolvingSymlinksInPath(top + QLatin1StringView(path)), top + "/a/b"_L1) << path;
    EXPECT_EQ(stringByResolvingSymlinksInPath(top + "/linkToFile"_L1), top + "/a/b/file"_L1);
    EXPECT_EQ(stringByResolvingSymlinksInPath(u"/"_s), u"/"_s);

    ASSERT_TRUE(QDir::setCurrent(top));
    EXPECT_EQ(stringByResolvingSymlinksInPath(u"link"_s), top + "/a/b"_L1);
    EXPECT_EQ(stringByResolvingSymlinksInPath(u"."_s), top);
}

TEST(NSPathUtilities, APathThatCannotBeResolvedStaysAsItIs)
{
    const TemporaryHome home;
    ASSERT_TRUE(QDir::setCurrent(home.path()));
    ASSERT_TRUE(QFile::link(u"nowhere"_s, u"dangling"_s));
    ASSERT_TRUE(QFile::link(u"self"_s, u"self"_s));
    const QString withNUL = u"dangling"_s + QChar(0);
    for (const QString &path : {QString(), u"missing"_s, u"dangling"_s, u"self"_s, u"self/../x"_s, withNUL})
        EXPECT_EQ(stringByResolvingSymlinksInPath(path), path);
}

TEST(NSPathUtilities, AResolvedPathMayHoldNamesThatAreNotUTF8)
{
    const TemporaryHome home;
    const QString folder = home.path() + u'/' + NSFileManager::stringWithFileSystemRepresentation("caf\xe9");
    ASSERT_TRUE(NSFileManager::defaultManager()->createDirectoryAtPath(folder));
    EXPECT_EQ(stringByResolvingSymlinksInPath(folder + "/."_L1), folder);
    // QTemporaryDir does not find it.
    EXPECT_EQ(::rmdir(NSFileManager::fileSystemRepresentationWithPath(folder).constData()), 0);
}

TEST(NSPathUtilities, WithoutItsLastComponentAPathIsTheFolderThatTheItemLiesIn)
{
    EXPECT_EQ(stringByDeletingLastPathComponent(u"/a/b"_s), u"/a"_s);
    EXPECT_EQ(stringByDeletingLastPathComponent(u"/a/b/"_s), u"/a"_s);
    EXPECT_EQ(stringByDeletingLastPathComponent(u"/a//b//"_s), u"/a"_s);
    EXPECT_EQ(stringByDeletingLastPathComponent(u"/a"_s), u"/"_s);
    EXPECT_EQ(stringByDeletingLastPathComponent(u"/"_s), u"/"_s);
    EXPECT_EQ(stringByDeletingLastPathComponent(u"a/b"_s), u"a"_s);
    EXPECT_EQ(stringByDeletingLastPathComponent(u"a"_s), QString());
    EXPECT_EQ(stringByDeletingLastPathComponent({}), QString());
}
