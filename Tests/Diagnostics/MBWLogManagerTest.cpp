#include <Marblewick/MBWLogManager.h>

#include <Marblewick/NSDateFormatter.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSPathUtilities.h>

#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <dlfcn.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

bool hasUserDatabaseEntry = true;

class MBWLogManagerTest : public ::testing::Test
{
protected:
    MBWLogManagerTest() { QCoreApplication::setApplicationName(u"App"_s); }

    QString path(const QString &name) const { return folder + u'/' + name; }
    QByteArray bytes(const QString &name) const
    {
        return NSFileManager::fileSystemRepresentationWithPath(path(name));
    }
    /*! What is in the log folder, sorted. */
    QStringList logs() const
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                      QDir::Name);
    }

    /*! Makes a file that is younger than every one made by this function before. */
    void makeLog(const QString &name)
    {
        const NSFileManager *const files = NSFileManager::defaultManager();
        const NSDate newest = m_newest;
        files->createDirectoryAtPath(stringByDeletingLastPathComponent(path(name)));
        while (m_newest <= newest) {
            files->removeItemAtPath(path(name));
            ASSERT_TRUE(files->createFileAtPath(path(name), "log"));
            m_newest = files->attributesOfItemAtPath(path(name))->creationDate;
        }
    }
    void makeLogs(int count)
    {
        for (int i = 0; i < count; ++i)
            makeLog(numbered(i));
    }
    static QString numbered(int i) { return u"App_%1.log"_s.arg(i, 2, 10, QChar(u'0')); }

    const TemporaryHome home;
    const QString folder = home.dataFolder() + u"/App/Logs"_s;

private:
    NSDate m_newest;
};

} // namespace

/*! Stands in front of the C library's function, as every user here has a home folder. */
extern "C" [[gnu::visibility("default")]] int getpwuid_r(uid_t user, passwd *entry, char *buffer, size_t size,
                                                         passwd **result)
{
    using Function = decltype(&getpwuid_r);
    static const auto original = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getpwuid_r"));
    const int failure = original(user, entry, buffer, size, result);
    if (!hasUserDatabaseEntry)
        *result = nullptr;
    return failure;
}

TEST_F(MBWLogManagerTest, TheLogFolderIsTheApplicationsInTheDataFolder)
{
    const MBWLogManager manager;
    EXPECT_EQ(manager.applicationLogDirectory(), home.dataFolder() + u"/App/Logs"_s);
    qunsetenv("XDG_DATA_HOME");
    EXPECT_EQ(manager.applicationLogDirectory(), home.path() + u"/.local/share/App/Logs"_s);
    EXPECT_TRUE(QFileInfo(home.path() + u"/.local/share/App/Logs"_s).isDir());
}

TEST_F(MBWLogManagerTest, TheLogFolderIsMadeAtEveryCallForTheUserAlone)
{
    const MBWLogManager manager;
    ASSERT_TRUE(QDir(home.dataFolder()).removeRecursively());
    manager.applicationLogDirectory();
    struct stat status = {};
    ASSERT_EQ(::stat(folder.toUtf8().constData(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFDIR | 0700U);
    manager.applicationLogDirectory();
    EXPECT_TRUE(QFileInfo(folder).isDir());
}

TEST_F(MBWLogManagerTest, IsTheSameInstanceAtEveryCallAndRotatesOnce)
{
    makeLogs(10);
    MBWLogManager *const manager = MBWLogManager::sharedManager();
    EXPECT_EQ(logs().size(), 9);
    makeLog(u"App_another.log"_s);
    EXPECT_EQ(MBWLogManager::sharedManager(), manager);
    EXPECT_EQ(logs().size(), 10);
}

TEST_F(MBWLogManagerTest, CreationMakesTheEmptyLogFolderAndNoFile)
{
    const MBWLogManager manager;
    EXPECT_TRUE(QFileInfo(folder).isDir());
    EXPECT_EQ(logs(), QStringList());
}

TEST_F(MBWLogManagerTest, CreationLeavesStandardErrorAlone)
{
    struct stat before = {};
    ASSERT_EQ(::fstat(STDERR_FILENO, &before), 0);
    const MBWLogManager manager;
    struct stat after = {};
    ASSERT_EQ(::fstat(STDERR_FILENO, &after), 0);
    EXPECT_EQ(after.st_dev, before.st_dev);
    EXPECT_EQ(after.st_ino, before.st_ino);
}

TEST_F(MBWLogManagerTest, TheLogFileIsNamedAfterTheApplicationAndTheLocalTimeOfItsLaunch)
{
    const QDateTime before = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch());
    const MBWLogManager manager;
    static const QRegularExpression form(u"\\A(.*)/App_(\\d{4}-\\d\\d-\\d\\d-\\d{6})\\.log\\z"_s);
    const QRegularExpressionMatch match = form.match(manager.applicationLogFile());
    ASSERT_TRUE(match.hasMatch()) << manager.applicationLogFile().toStdString();
    EXPECT_EQ(match.captured(1), folder);
    const auto date = QDateTime::fromString(match.captured(2), u"yyyy-MM-dd-HHmmss"_s);
    EXPECT_GE(date, before);
    EXPECT_LE(date, QDateTime::currentDateTime());
}

TEST_F(MBWLogManagerTest, TheLogFileIsNamedInWesternDigitsWhateverTheUsersLocale)
{
    qputenv("LC_ALL", "fa_IR.UTF-8");
    ChildProgram host(
        {QCoreApplication::applicationDirPath() + u"/LogHost"_s, u"print-number"_s, u"print-log-file"_s});
    ASSERT_EQ(host.exitStatus(), 0);
    const QStringList lines = QString::fromUtf8(host.output()).split(u'\n');
    ASSERT_EQ(lines.value(0), u"۱٬۲۳۴"_s) << "the locale must count";
    static const QRegularExpression form(u"/App_20[0-9]{2}-[0-9]{2}-[0-9]{2}-[0-9]{6}\\.log\\z"_s);
    EXPECT_TRUE(form.match(lines.value(1)).hasMatch()) << lines.value(1).toStdString();
}

TEST_F(MBWLogManagerTest, CreationSetsTheDefaultBehaviorOfDateFormatters)
{
    ASSERT_EQ(NSDateFormatter::defaultFormatterBehavior(), NSDateFormatterBehavior::Default);
    const MBWLogManager manager;
    EXPECT_EQ(NSDateFormatter::defaultFormatterBehavior(), NSDateFormatterBehavior::Behavior10_4);
}

TEST_F(MBWLogManagerTest, TheLogFileMayBeReplaced)
{
    MBWLogManager manager;
    QString other = u"/elsewhere/App.log"_s;
    manager.setApplicationLogFile(other);
    other.append(u"x"_s);
    EXPECT_EQ(manager.applicationLogFile(), u"/elsewhere/App.log"_s);
}

TEST_F(MBWLogManagerTest, ANameWithASlashIsAPathLikeAnyOther)
{
    QCoreApplication::setApplicationName(u"TCP/IP"_s);
    const QString logFolder = home.dataFolder() + u"/TCP/IP/Logs"_s;
    for (int i = 0; i < 11; ++i)
        writeFile(logFolder + u"/TCP/IP_%1.log"_s.arg(i), "log");
    writeFile(logFolder + u"/TCP/Other_1.log"_s, "other");
    const MBWLogManager manager;
    EXPECT_TRUE(manager.applicationLogFile().startsWith(logFolder + u"/TCP/IP_20"_s));
    EXPECT_EQ(QDir(logFolder + u"/TCP"_s).entryList(QDir::Files).size(), 10) << "nine, and the other file";
}

TEST_F(MBWLogManagerTest, ANameThatNoFileCanHaveDeletesNothing)
{
    makeLogs(11);
    QCoreApplication::setApplicationName(u"App"_s + QChar(0));
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 11);
}

TEST_F(MBWLogManagerTest, NineLogsStay)
{
    makeLogs(9);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 9);
}

TEST_F(MBWLogManagerTest, OfTenLogsTheOldestGoesAndThisLaunchsIsNotAmongThem)
{
    makeLogs(10);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 9);
    EXPECT_EQ(logs().first(), numbered(1));
    EXPECT_FALSE(QFile::exists(manager.applicationLogFile()));
}

TEST_F(MBWLogManagerTest, OfTwelveLogsTheThreeOldestGo)
{
    makeLogs(12);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 9);
    EXPECT_EQ(logs().first(), numbered(3));
}

TEST_F(MBWLogManagerTest, AgeIsTheCreationDateNotTheNameOrTheModificationDate)
{
    for (int i = 11; i >= 0; --i)
        makeLog(numbered(i));
    for (int i = 0; i < 12; ++i)
        setModified(path(numbered(i)), 700'000'000 - i);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 9);
    EXPECT_EQ(logs().last(), numbered(8)) << "made last to first, so the last three are the oldest";
}

TEST_F(MBWLogManagerTest, AgeIsTheCreationDateAlsoOfLogsNamedByAClockThatWasAhead)
{
    makeLog(u"App_2099-01-01-000000.log"_s);
    makeLogs(9);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 9);
    EXPECT_FALSE(QFile::exists(path(u"App_2099-01-01-000000.log"_s)));
}

TEST_F(MBWLogManagerTest, OtherNamesAreNeverCountedOrDeleted)
{
    const QStringList others{u"App.log"_s, u"App-1.log"_s, u"Other_1.log"_s, u"app_1.log"_s, u"xApp_1.log"_s};
    for (const QString &other : others)
        makeLog(other);
    makeLogs(9);
    const MBWLogManager first;
    EXPECT_EQ(logs().size(), 14);
    makeLogs(12);
    const MBWLogManager second;
    EXPECT_EQ(logs().size(), 14);
    for (const QString &other : others)
        EXPECT_TRUE(QFile::exists(path(other))) << other.toStdString();
}

TEST_F(MBWLogManagerTest, EveryExtensionCounts)
{
    for (const QString &name : {u"App_"_s, u"App_1"_s, u"App_2.txt"_s, u"App_3.log.gz"_s})
        makeLog(name);
    makeLogs(7);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 9);
    EXPECT_FALSE(logs().contains(u"App_"_s));
    EXPECT_FALSE(logs().contains(u"App_1"_s));
}

TEST_F(MBWLogManagerTest, ASubfolderCountsAsOneItemAndItsContentsCountToo)
{
    makeLog(u"App_folder/a"_s);
    makeLog(u"App_folder/deep/b"_s);
    makeLogs(5);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 6) << "nine items: two folders, two files in them, five logs";
    makeLog(u"App_tenth"_s);
    const MBWLogManager next;
    EXPECT_EQ(logs(),
              QStringList({numbered(0), numbered(1), numbered(2), numbered(3), numbered(4), u"App_tenth"_s}))
        << "the folder is the oldest, and took what was in it along";
}

TEST_F(MBWLogManagerTest, WhatIsInAFolderOfAnotherNameDoesNotCount)
{
    for (int i = 0; i < 12; ++i)
        makeLog(u"archive/"_s + numbered(i));
    const MBWLogManager manager;
    EXPECT_EQ(QDir(path(u"archive"_s)).entryList(QDir::Files).size(), 12);
}

TEST_F(MBWLogManagerTest, ALinkGoesAndWhatItPointsToStays)
{
    writeFile(home.path() + u"/elsewhere/App_precious"_s, "precious");
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(
        ::symlink((home.path() + u"/elsewhere"_s).toUtf8().constData(), bytes(u"App_link"_s).constData()), 0);
    makeLog(u"App_sub/a"_s);
    makeLogs(7);
    const MBWLogManager manager;
    EXPECT_FALSE(QFileInfo(path(u"App_link"_s)).isSymLink()) << "ten items: the link, a folder, eight files";
    EXPECT_EQ(logs().size(), 8);
    EXPECT_EQ(readFile(home.path() + u"/elsewhere/App_precious"_s), "precious");
}

TEST_F(MBWLogManagerTest, ALogWhoseNameIsNotUTF8IsRotatedLikeAnother)
{
    makeLog(NSFileManager::stringWithFileSystemRepresentation("App_caf\xe9.log"));
    makeLogs(9);
    ASSERT_EQ(::access((folder.toUtf8() + "/App_caf\xe9.log").constData(), F_OK), 0);
    const MBWLogManager manager;
    EXPECT_NE(::access((folder.toUtf8() + "/App_caf\xe9.log").constData(), F_OK), 0);
    EXPECT_EQ(logs().size(), 9);
}

TEST_F(MBWLogManagerTest, OfTenThousandLogsNineStay)
{
    ASSERT_TRUE(QDir().mkpath(folder));
    for (int i = 0; i < 10'000; ++i)
        NSFileManager::defaultManager()->createFileAtPath(path(u"App_%1.log"_s.arg(i)), "");
    ASSERT_EQ(logs().size(), 10'000);
    const MBWLogManager manager;
    EXPECT_EQ(logs().size(), 9);
}

TEST_F(MBWLogManagerTest, ALogThatCannotBeRemovedStays)
{
    makeLogs(12);
    ASSERT_EQ(::chmod(folder.toUtf8().constData(), 0500), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [&] {
        const MBWLogManager manager;
        return manager.applicationLogFile().startsWith(path(u"App_20"_s));
    }));
    EXPECT_EQ(logs().size(), 12);
}

TEST_F(MBWLogManagerTest, OneLogThatCannotBeRemovedDoesNotKeepTheOthers)
{
    makeLog(u"App_locked/a"_s);
    makeLogs(11);
    ASSERT_EQ(::chmod(bytes(u"App_locked"_s).constData(), 0500), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [&] {
        const MBWLogManager manager;
        return true;
    }));
    EXPECT_EQ(logs().size(), 10);
    EXPECT_TRUE(QFile::exists(path(u"App_locked/a"_s)));
    EXPECT_FALSE(QFile::exists(path(numbered(1))));
    EXPECT_TRUE(QFile::exists(path(numbered(2))));
}

TEST_F(MBWLogManagerTest, AFolderThatCannotBeReadIsRotatedToNothing)
{
    makeLogs(12);
    ASSERT_EQ(::chmod(folder.toUtf8().constData(), 0300), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [&] {
        const MBWLogManager manager;
        return manager.applicationLogFile().startsWith(path(u"App_20"_s));
    }));
    ASSERT_EQ(::chmod(folder.toUtf8().constData(), 0700), 0);
    EXPECT_EQ(logs().size(), 12);
}

TEST_F(MBWLogManagerTest, ThePathIsChosenAlsoWhereAFileIsInTheFoldersPlace)
{
    writeFile(home.dataFolder() + u"/App"_s, "a file");
    const MBWLogManager manager;
    EXPECT_EQ(manager.applicationLogDirectory(), folder);
    EXPECT_TRUE(manager.applicationLogFile().startsWith(path(u"App_20"_s)));
    EXPECT_EQ(readFile(home.dataFolder() + u"/App"_s), "a file");
}

TEST_F(MBWLogManagerTest, WithoutAHomeFolderThePathIsChosenAndStandardErrorStays)
{
    qunsetenv("HOME");
    qunsetenv("XDG_DATA_HOME");
    hasUserDatabaseEntry = false;
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [] {
        const MBWLogManager manager;
        struct stat before = {};
        struct stat after = {};
        ::fstat(STDERR_FILENO, &before);
        manager.redirectStandardErrorToFileAtPath(manager.applicationLogFile());
        return manager.applicationLogFile().startsWith(u"/.local/share/App/Logs/App_20"_s)
               && ::fstat(STDERR_FILENO, &after) == 0 && before.st_dev == after.st_dev
               && before.st_ino == after.st_ino;
    }));
}
