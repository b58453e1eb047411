#include <Marblewick/NSWorkspace.h>

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>

#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

class NSWorkspaceTest : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_home.path() + u'/' + name; }
    bool isPackage(const QString &name) const
    {
        return NSWorkspace::sharedWorkspace()->isFilePackageAtPath(path(name));
    }
    void makeFolder(const QString &name) const { ASSERT_TRUE(QDir().mkpath(path(name))); }
    void makeFile(const QString &name) const { writeFile(path(name), "contents"); }
    void makeLink(const QString &name, const QByteArray &target) const
    {
        ASSERT_EQ(::symlink(target.constData(), path(name).toUtf8().constData()), 0);
    }

    TemporaryHome m_home;
};

} // namespace

TEST_F(NSWorkspaceTest, FoldersWithAnExtensionOfPackagesArePackages)
{
    for (const QString &extension :
         {u"app"_s, u"appex"_s, u"bundle"_s, u"kext"_s, u"mpkg"_s, u"pkg"_s, u"plugin"_s, u"prefpane"_s,
          u"rtfd"_s, u"saver"_s, u"wdgt"_s, u"xpc"_s}) {
        makeFolder(u"Map."_s + extension);
        EXPECT_TRUE(isPackage(u"Map."_s + extension)) << extension.toStdString();
    }
}

TEST_F(NSWorkspaceTest, TheExtensionMayBeInUpperCase)
{
    makeFolder(u"Map.APP"_s);
    makeFolder(u"Map.PrefPane"_s);
    EXPECT_TRUE(isPackage(u"Map.APP"_s));
    EXPECT_TRUE(isPackage(u"Map.PrefPane"_s));
}

TEST_F(NSWorkspaceTest, OrdinaryFoldersAreNone)
{
    for (const QString &name : {u"folder"_s, u"app"_s, u".app"_s, u"Map.app.d"_s, u"Map.apps"_s, u"Map."_s}) {
        makeFolder(name);
        EXPECT_FALSE(isPackage(name)) << name.toStdString();
    }
    EXPECT_FALSE(NSWorkspace::sharedWorkspace()->isFilePackageAtPath(u"/"_s));
}

TEST_F(NSWorkspaceTest, FilesAndWhatIsMissingAreNone)
{
    makeFile(u"file.app"_s);
    makeLink(u"dangling.app"_s, "nowhere");
    ASSERT_EQ(::mkfifo(path(u"fifo.app"_s).toUtf8().constData(), 0600), 0);
    for (const QString &name : {u"file.app"_s, u"dangling.app"_s, u"fifo.app"_s, u"missing.app"_s})
        EXPECT_FALSE(isPackage(name)) << name.toStdString();
    EXPECT_FALSE(NSWorkspace::sharedWorkspace()->isFilePackageAtPath({}));
}

TEST_F(NSWorkspaceTest, AFolderWithTheStructureOfABundleIsAPackage)
{
    makeFile(u"Map/Contents/Info.plist"_s);
    EXPECT_TRUE(isPackage(u"Map"_s));
    makeFolder(u"Folder/Contents/Info.plist"_s);
    EXPECT_FALSE(isPackage(u"Folder"_s));
    makeFile(u"Other/Info.plist"_s);
    EXPECT_FALSE(isPackage(u"Other"_s));
}

TEST_F(NSWorkspaceTest, AFolderWithTheStructureOfAnAppDirIsAPackage)
{
    makeFile(u"Map/AppRun"_s);
    EXPECT_FALSE(isPackage(u"Map"_s));
    makeFile(u"Map/.desktop"_s);
    EXPECT_FALSE(isPackage(u"Map"_s));
    makeFile(u"Map/map.desktop"_s);
    EXPECT_TRUE(isPackage(u"Map"_s));
    makeFile(u"Other/map.desktop"_s);
    EXPECT_FALSE(isPackage(u"Other"_s));
}

TEST_F(NSWorkspaceTest, AFrameworkIsAFolderWhateverIsInIt)
{
    makeFile(u"Map.framework/Contents/Info.plist"_s);
    EXPECT_FALSE(isPackage(u"Map.framework"_s));
}

TEST_F(NSWorkspaceTest, ALinkIsWhatItLeadsTo)
{
    makeFolder(u"Map.app"_s);
    makeFolder(u"folder"_s);
    makeLink(u"current"_s, "Map.app");
    makeLink(u"folder.app"_s, "folder");
    EXPECT_TRUE(isPackage(u"current"_s));
    EXPECT_FALSE(isPackage(u"folder.app"_s));
}

TEST_F(NSWorkspaceTest, ThePathMayBeWrittenInAnyWay)
{
    makeFolder(u"Map.app/Contents"_s);
    EXPECT_TRUE(isPackage(u"Map.app/"_s));
    EXPECT_TRUE(isPackage(u"./Map.app/."_s));
    EXPECT_TRUE(isPackage(u"Map.app/Contents/.."_s));
    EXPECT_FALSE(isPackage(u"Map.app/.."_s));
}

TEST_F(NSWorkspaceTest, AHostAddsTheExtensionsOfItsOwnPackages)
{
    makeFolder(u"Zurich.cartograph"_s);
    EXPECT_FALSE(isPackage(u"Zurich.cartograph"_s));
    NSWorkspace::sharedWorkspace()->addFilePackageExtension(u"Cartograph"_s);
    EXPECT_TRUE(isPackage(u"Zurich.cartograph"_s));
    EXPECT_FALSE(isPackage(u"Zurich.cartographer"_s));
}

TEST_F(NSWorkspaceTest, AnAddedExtensionMayBeGivenWithItsDot)
{
    makeFolder(u"Zurich.cartograph"_s);
    NSWorkspace::sharedWorkspace()->addFilePackageExtension(u".cartograph"_s);
    EXPECT_TRUE(isPackage(u"Zurich.cartograph"_s));
}

TEST_F(NSWorkspaceTest, AnAddedExtensionWithoutLettersMakesNoFolderAPackage)
{
    makeFolder(u"Zurich"_s);
    makeFolder(u"Zurich."_s);
    makeFolder(u".cartograph"_s);
    NSWorkspace::sharedWorkspace()->addFilePackageExtension({});
    NSWorkspace::sharedWorkspace()->addFilePackageExtension(u"."_s);
    for (const QString &name : {u"Zurich"_s, u"Zurich."_s, u".cartograph"_s, u"/"_s})
        EXPECT_FALSE(isPackage(name)) << name.toStdString();
}

TEST_F(NSWorkspaceTest, AFrameworkIsAFolderEvenWhereItsExtensionWasAdded)
{
    makeFolder(u"Map.framework"_s);
    NSWorkspace::sharedWorkspace()->addFilePackageExtension(u"framework"_s);
    EXPECT_FALSE(isPackage(u"Map.framework"_s));
}

TEST_F(NSWorkspaceTest, ExtensionsMayBeAddedWhileOtherThreadsAsk)
{
    makeFolder(u"Zurich.cartograph99"_s);
    makeFolder(u"Zurich.cartograph100"_s);
    std::jthread adding([] {
        for (int i = 0; i < 100; ++i)
            NSWorkspace::sharedWorkspace()->addFilePackageExtension(u"cartograph%1"_s.arg(i));
    });
    while (!isPackage(u"Zurich.cartograph99"_s)) { } // ctest ends a test that does not end
    adding.join();
    EXPECT_FALSE(isPackage(u"Zurich.cartograph100"_s));
}
