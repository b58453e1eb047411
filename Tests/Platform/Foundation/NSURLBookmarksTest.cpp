#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include "Tests/Platform/Foundation/BookmarkTest.h"
#include "Tests/Support/RefusedCall.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr auto readWrite = NSURLBookmarkCreationWithSecurityScope;

ino_t number(const QString &path)
{
    struct stat status = {};
    EXPECT_EQ(::lstat(QFile::encodeName(path).constData(), &status), 0);
    return status.st_ino;
}

} // namespace

TEST_F(NSURLBookmarks, FindAFileUnderItsPath)
{
    const QString file = newFile(u"a.txt"_s);
    EXPECT_EQ(resolved(bookmark(file)), file);
}

TEST_F(NSURLBookmarks, FindAFileWhoseContentsChanged)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    writeFile(file, "other contents");
    EXPECT_EQ(resolved(data), file);
}

TEST_F(NSURLBookmarks, FindAFolderWithoutASlashAtItsEnd)
{
    EXPECT_TRUE(QDir().mkpath(path(u"folder"_s)));
    EXPECT_EQ(resolved(bookmark(path(u"folder/"_s))), path(u"folder"_s));
}

TEST_F(NSURLBookmarks, FindTheRootFolder) { EXPECT_EQ(resolved(bookmark(u"/"_s)), u"/"_s); }

TEST_F(NSURLBookmarks, FindAnItemThatWasRenamedInItsFolder)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_TRUE(QFile::rename(file, path(u"b.txt"_s)));
    EXPECT_EQ(resolved(data), path(u"b.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FindAFolderThatWasRenamedInItsFolder)
{
    EXPECT_TRUE(QDir().mkpath(path(u"old"_s)));
    const QByteArray data = bookmark(path(u"old"_s));
    EXPECT_TRUE(QDir().rename(path(u"old"_s), path(u"new"_s)));
    EXPECT_EQ(resolved(data), path(u"new"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FindARenamedItemAmongManyOthers)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    for (int i = 0; i < 300; ++i)
        newFile(u"other %1"_s.arg(i));
    EXPECT_TRUE(QFile::rename(file, path(u"found.txt"_s)));
    EXPECT_EQ(resolved(data), path(u"found.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FindWhatTookThePlaceWhenAFileWasSaved)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    saveAtomically(file, "saved");
    EXPECT_EQ(resolved(data), file + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FindWhatTookThePlaceWhenAPackageWasSaved)
{
    const QString package = newFolder(u"a.cartograph"_s);
    const QByteArray data = bookmark(package);
    EXPECT_TRUE(QDir().rename(package, path(u"backup.cartograph"_s)));
    newFolder(u"a.cartograph"_s);
    EXPECT_EQ(resolved(data), package + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FollowARenamedFolderRatherThanTheOneThatHasItsNameNow)
{
    const QString folder = newFolder(u"Maps"_s);
    const QByteArray data = bookmark(folder);
    EXPECT_TRUE(QDir().rename(folder, path(u"Old Maps"_s)));
    newFolder(u"Maps"_s);
    EXPECT_EQ(resolved(data), path(u"Old Maps"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FindAFolderThatWasDeletedAndMadeAnew)
{
    const QString folder = newFolder(u"Maps"_s);
    const QByteArray data = bookmark(folder);
    newFolder(u"other"_s);
    EXPECT_TRUE(QDir().rmdir(folder));
    EXPECT_TRUE(QDir().rename(path(u"other"_s), folder)); // Its number is another one for certain.
    EXPECT_EQ(resolved(data), folder + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, DoNotFollowALinkOnTheWayThatLeadsElsewhereNow)
{
    newFile(u"old/a.txt"_s);
    newFile(u"new/a.txt"_s);
    EXPECT_TRUE(QFile::link(path(u"old"_s), path(u"link"_s)));
    const QByteArray data = bookmark(path(u"link/a.txt"_s));
    EXPECT_TRUE(QFile::remove(path(u"link"_s)));
    EXPECT_TRUE(QFile::link(path(u"new"_s), path(u"link"_s)));
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarks, FindAnItemByAnotherOfItsNamesInTheFolder)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_EQ(::link(QFile::encodeName(file).constData(), QFile::encodeName(path(u"b.txt"_s)).constData()),
              0);
    EXPECT_EQ(resolved(data), file);
    EXPECT_TRUE(QFile::remove(file));
    EXPECT_EQ(resolved(data), path(u"b.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FindTheSavedFileRatherThanTheBackupThatTheOldOneBecame)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_TRUE(QFile::rename(file, file + u'~'));
    writeFile(file, "saved");
    EXPECT_EQ(resolved(data), file + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, MadeAnewAreNotStaleAnyMore)
{
    const QString file = newFile(u"a.txt"_s);
    saveAtomically(file, "saved");
    EXPECT_EQ(resolved(bookmark(file)), file);
}

TEST_F(NSURLBookmarks, DoNotTakeAFolderForTheFileWhoseNameItHas)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_TRUE(QFile::remove(file));
    EXPECT_TRUE(QDir().mkpath(file));
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarks, FindARenamedFileWhoseNameAFolderHasNow)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_TRUE(QFile::rename(file, path(u"b.txt"_s)));
    EXPECT_TRUE(QDir().mkpath(file));
    EXPECT_EQ(resolved(data), path(u"b.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FailForADeletedItem)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_TRUE(QFile::remove(file));
    NSError error;
    EXPECT_FALSE(NSURL::URLByResolvingBookmarkData(data, quietly, nullptr, &error));
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), NSFileNoSuchFileError);
    EXPECT_EQ(error.userInfo().value(NSFilePathErrorKey), file);
}

TEST_F(NSURLBookmarks, NeverTakeANewFileForADeletedOneWhoseNumberItHas)
{
    int reusedNumbers = 0;
    for (int i = 0; i < 20; ++i) {
        const QString deleted = newFile(u"deleted"_s);
        const QByteArray data = bookmark(deleted);
        const ino_t oldNumber = number(deleted);
        EXPECT_TRUE(QFile::remove(deleted));
        const QString other = newFile(u"other"_s);
        reusedNumbers += number(other) == oldNumber ? 1 : 0;
        EXPECT_EQ(resolved(data), gone);
        EXPECT_TRUE(QFile::remove(other));
    }
    struct statfs status = {};
    ASSERT_EQ(::statfs(QFile::encodeName(path(u"."_s)).constData(), &status), 0);
    if (status.f_type == EXT4_SUPER_MAGIC) { // It always gives the number to the next file.
        EXPECT_GT(reusedNumbers, 0);
    }
}

TEST_F(NSURLBookmarks, DoNotLookInAnotherFolderThatTookThePlaceOfTheOldOne)
{
    EXPECT_TRUE(QDir().mkpath(path(u"folder"_s)));
    const QByteArray data = bookmark(newFile(u"folder/a.txt"_s));
    EXPECT_TRUE(QDir().rename(path(u"folder"_s), path(u"elsewhere"_s)));
    EXPECT_TRUE(QDir().mkpath(path(u"folder"_s)));
    newFile(u"folder/a.txt"_s);
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarks, DoNotFollowAnItemIntoAnotherFolder)
{
    EXPECT_TRUE(QDir().mkpath(path(u"folder"_s)));
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_TRUE(QFile::rename(file, path(u"folder/a.txt"_s)));
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarks, FindAnItemInAHomeFolderThatHasMoved)
{
    EXPECT_TRUE(QDir().mkpath(path(u"home/Maps"_s)));
    qputenv("HOME", path(u"home"_s).toUtf8());
    const QByteArray data = bookmark(newFile(u"home/Maps/a.txt"_s));
    EXPECT_TRUE(QDir().rename(path(u"home"_s), path(u"moved"_s)));
    EXPECT_EQ(resolved(data), gone);
    qputenv("HOME", path(u"moved"_s).toUtf8());
    EXPECT_EQ(resolved(data), path(u"moved/Maps/a.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, DoNotTakeAnotherFileAtTheSamePathInANewHomeFolder)
{
    qputenv("HOME", newFolder(u"home"_s).toUtf8());
    const QByteArray data = bookmark(newFile(u"home/Maps/a.txt"_s));
    EXPECT_TRUE(QDir().rename(path(u"home"_s), path(u"elsewhere"_s)));
    newFile(u"new/Maps/a.txt"_s);
    qputenv("HOME", path(u"new"_s).toUtf8());
    EXPECT_EQ(resolved(data), gone);
    const RefusedCall withoutHandles(RefusedCall::NameToHandle);
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarks, FindARenamedOrSavedItemInAHomeFolderThatHasMoved)
{
    EXPECT_TRUE(QDir().mkpath(path(u"home"_s)));
    qputenv("HOME", path(u"home"_s).toUtf8());
    const QByteArray renamed = bookmark(newFile(u"home/a.txt"_s));
    const QByteArray saved = bookmark(newFile(u"home/b.txt"_s));
    EXPECT_TRUE(QDir().rename(path(u"home"_s), path(u"moved"_s)));
    qputenv("HOME", path(u"moved"_s).toUtf8());
    EXPECT_TRUE(QFile::rename(path(u"moved/a.txt"_s), path(u"moved/c.txt"_s)));
    saveAtomically(path(u"moved/b.txt"_s), "saved");
    EXPECT_EQ(resolved(renamed), path(u"moved/c.txt"_s) + u" (stale)"_s);
    EXPECT_EQ(resolved(saved), path(u"moved/b.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, FindTheHomeFolderItselfWhereItHasMoved)
{
    EXPECT_TRUE(QDir().mkpath(path(u"home"_s)));
    qputenv("HOME", path(u"home"_s).toUtf8());
    const QByteArray data = bookmark(path(u"home"_s));
    EXPECT_TRUE(QDir().mkpath(path(u"volume"_s)));
    EXPECT_TRUE(QDir().rename(path(u"home"_s), path(u"volume/moved"_s)));
    qputenv("HOME", path(u"volume/moved"_s).toUtf8());
    EXPECT_EQ(resolved(data), path(u"volume/moved"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, AreOfASymbolicLinkItselfAndKeepIt)
{
    const QString file = newFile(u"a.txt"_s);
    const QString link = path(u"link"_s);
    EXPECT_TRUE(QFile::link(file, link));
    const QByteArray data = bookmark(link);
    EXPECT_EQ(resolved(data), link);
    EXPECT_TRUE(QFile::rename(link, path(u"renamed link"_s)));
    EXPECT_EQ(resolved(data), path(u"renamed link"_s) + u" (stale)"_s);
    EXPECT_TRUE(QFile::remove(file));
    EXPECT_EQ(resolved(data), path(u"renamed link"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, KeepTheLinksOnTheWayToAnItem)
{
    EXPECT_TRUE(QDir().mkpath(path(u"folder"_s)));
    newFile(u"folder/a.txt"_s);
    EXPECT_TRUE(QFile::link(path(u"folder"_s), path(u"link"_s)));
    EXPECT_EQ(resolved(bookmark(path(u"link/a.txt"_s))), path(u"link/a.txt"_s));
}

TEST_F(NSURLBookmarks, AreMadeOfALinkThatLeadsToItself)
{
    EXPECT_TRUE(QFile::link(path(u"loop"_s), path(u"loop"_s)));
    EXPECT_EQ(resolved(bookmark(path(u"loop"_s))), path(u"loop"_s));
}

TEST_F(NSURLBookmarks, FailForAnItemBehindALinkThatLeadsToItself)
{
    EXPECT_TRUE(QFile::link(path(u"loop"_s), path(u"loop"_s)));
    NSError error;
    EXPECT_FALSE(
        NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(path(u"loop/a.txt"_s)), readWrite, &error));
    EXPECT_EQ(error.domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error.code(), ELOOP);
}

TEST_F(NSURLBookmarks, TellNamesApartByCase)
{
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    newFile(u"A.txt"_s);
    EXPECT_TRUE(QFile::remove(file));
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarks, OfAFIFOAreMadeAndResolvedWithoutOpeningIt)
{
    const QString fifo = path(u"fifo"_s);
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    EXPECT_EQ(resolved(bookmark(fifo)), fifo);
    // Nobody has it open for reading.
    EXPECT_EQ(::open(QFile::encodeName(fifo).constData(), O_WRONLY | O_NONBLOCK), -1);
}

TEST_F(NSURLBookmarks, OfADeviceAreMadeAndResolved)
{
    EXPECT_EQ(resolved(bookmark(u"/dev/null"_s)), u"/dev/null"_s);
}

TEST_F(NSURLBookmarks, FindANameThatIsNotUTF8)
{
    const QByteArray name = QFile::encodeName(path(QString())) + "a\xff%41\xc3\xa4";
    ASSERT_GE(::close(::open(name.constData(), O_CREAT | O_WRONLY, 0600)), 0);
    const QString file = NSFileManager::stringWithFileSystemRepresentation(name);
    const QByteArray data = bookmark(file);
    EXPECT_EQ(resolved(data), file);

    // The absolute string alone leads back to it.
    const auto url = NSURL::URLByResolvingBookmarkData(data, quietly);
    ASSERT_TRUE(url);
    EXPECT_EQ(NSURL::path(QUrl(url->toString(QUrl::FullyEncoded))), file);

    const QByteArray renamed = name + "\xfe";
    EXPECT_EQ(::rename(name.constData(), renamed.constData()), 0);
    EXPECT_EQ(resolved(data), NSFileManager::stringWithFileSystemRepresentation(renamed) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, KeepCharactersThatMeanSomethingInAURL)
{
    const QString file = newFile(u"100% a?b#c;d [e] ä\n\\.txt"_s);
    EXPECT_EQ(resolved(bookmark(file)), file);
}

TEST_F(NSURLBookmarks, FailForAMissingItem)
{
    NSError error;
    EXPECT_FALSE(
        NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(path(u"missing"_s)), readWrite, &error));
    EXPECT_EQ(error.domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_EQ(error.userInfo().value(NSFilePathErrorKey), path(u"missing"_s));
}

TEST_F(NSURLBookmarks, FailForAPathThatIsTooLongForTheSystem)
{
    NSError error;
    const QString path = u'/' + QString(u"folder/"_s).repeated(700);
    EXPECT_FALSE(NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(path), readWrite, &error));
    EXPECT_EQ(error.code(), ENAMETOOLONG);
}

TEST_F(NSURLBookmarks, AreNotMadeOfAnItemThatTheUserMayNotLookAt)
{
    const QString file = newFile(u"closed/a.txt"_s);
    EXPECT_TRUE(QFile::setPermissions(path(u"closed"_s), {}));
    EXPECT_TRUE(resultInUnprivilegedChild(path(u"."_s), [&] {
        NSError error;
        return !NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(file), readWrite, &error)
               && error.code() == EACCES;
    }));
    EXPECT_TRUE(
        QFile::setPermissions(path(u"closed"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

TEST_F(NSURLBookmarks, TakeLocalhostForThisMachine)
{
    const QString file = newFile(u"a.txt"_s);
    const auto data = NSURL::bookmarkDataWithOptions(QUrl(u"file://localhost"_s + file), readWrite);
    ASSERT_TRUE(data);
    EXPECT_EQ(resolved(*data), file);
}

TEST_F(NSURLBookmarks, FailForURLsThatAreNoFiles)
{
    for (const QString &text :
         {u"http://example.org/tmp"_s, u"file://example.org/tmp"_s, u"/tmp"_s, QString()}) {
        NSError error;
        EXPECT_FALSE(NSURL::bookmarkDataWithOptions(QUrl(text), readWrite, &error)) << qPrintable(text);
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
        EXPECT_EQ(error.code(), NSFileReadUnsupportedSchemeError);
        EXPECT_EQ(error.localizedDescription(),
                  u"The URL “%1” is not that of a file on this machine."_s.arg(text));
    }
}

TEST_F(NSURLBookmarks, FailForPathsThatAreRelativeOrHoldANUL)
{
    for (const QUrl &url : {QUrl(u"file:tmp"_s), QUrl(u"file:///tmp%00/etc"_s), QUrl(u"file:"_s)}) {
        NSError error;
        EXPECT_FALSE(NSURL::bookmarkDataWithOptions(url, readWrite, &error)) << qPrintable(url.toString());
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
        EXPECT_EQ(error.code(), NSFileReadInvalidFileNameError);
    }
}

TEST_F(NSURLBookmarks, OnAFileSystemWithoutHandlesFindAnItemUnderItsPathOrSaved)
{
    const RefusedCall withoutHandles(RefusedCall::NameToHandle);
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_EQ(resolved(data), file);
    saveAtomically(file, "saved");
    EXPECT_EQ(resolved(data), file + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, OnAFileSystemWithoutHandlesDoNotTakeAnItemForARenamedOneByItsNumber)
{
    const RefusedCall withoutHandles(RefusedCall::NameToHandle);
    const QString file = newFile(u"a.txt"_s);
    const QByteArray data = bookmark(file);
    EXPECT_TRUE(QFile::rename(file, path(u"b.txt"_s)));
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarks, OnAFileSystemWithoutHandlesFindAFolderThatWasMadeAnew)
{
    const RefusedCall withoutHandles(RefusedCall::NameToHandle);
    const QString folder = newFolder(u"Maps"_s);
    const QByteArray data = bookmark(folder);
    newFolder(u"other"_s);
    EXPECT_TRUE(QDir().rmdir(folder));
    EXPECT_TRUE(QDir().rename(path(u"other"_s), folder));
    EXPECT_EQ(resolved(data), folder + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, OnAFileSystemWithoutHandlesFindAnItemInAHomeFolderThatHasMoved)
{
    const RefusedCall withoutHandles(RefusedCall::NameToHandle);
    qputenv("HOME", newFolder(u"home"_s).toUtf8());
    const QByteArray data = bookmark(newFile(u"home/a.txt"_s));
    EXPECT_TRUE(QDir().rename(path(u"home"_s), path(u"moved"_s)));
    qputenv("HOME", path(u"moved"_s).toUtf8());
    EXPECT_EQ(resolved(data), path(u"moved/a.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarks, OnAFileSystemWithNeitherHandlesNorBirthDatesFindAnItemUnderItsPath)
{
    EXPECT_EQ(resolved(bookmark(u"/proc/version"_s)), u"/proc/version"_s);
}
