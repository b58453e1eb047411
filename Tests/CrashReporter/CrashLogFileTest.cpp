#include "CrashReporter/CrashLogFile.h"

#include "CrashReporter/FixedText.h"
#include "CrashReporter/LocalTime.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr time_t aMoment = 1'795'270'658; // 2026-11-21 14:17:38 UTC

CrashRecord recordOf(std::string_view applicationName)
{
    CrashRecord record;
    record.process = 4711;
    record.crashTime = {.tv_sec = aMoment, .tv_nsec = 5};
    FixedText(record.applicationName).append(applicationName);
    return record;
}

class CrashLogFileTest : public ::testing::Test
{
protected:
    CrashLogFileTest() { FixedText(record.folder).append(folder.toUtf8().constData()); }

    QStringList files() const
    {
        return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    const TemporaryHome home;
    const QString folder = home.path() + u"/above/logs"_s;
    CrashRecord record = recordOf("App");
};

} // namespace

TEST(CrashLogNames, ALogIsNamedByApplicationLocalDateAndProcess)
{
    CrashRecord record = recordOf("App");
    EXPECT_STREQ(CrashLogNames(record).log, "App_2026-11-21-141738_4711.ips");
    record.secondsEastOfUTC = 10 * 3600;
    EXPECT_STREQ(CrashLogNames(record).log, "App_2026-11-22-001738_4711.ips");
    record.secondsEastOfUTC = -15 * 3600;
    EXPECT_STREQ(CrashLogNames(record).log, "App_2026-11-20-231738_4711.ips");
}

TEST(CrashLogNames, OnlyASlashInTheNameIsReplaced)
{
    EXPECT_STREQ(CrashLogNames(recordOf("a/b\n\"\xff")).log, "a:b\n\"\xff_2026-11-21-141738_4711.ips");
}

TEST(CrashLogNames, ANameThatLeavesNoRoomIsCut)
{
    CrashRecord record = recordOf(std::string(255, 'x'));
    record.process = 2'147'483'647;
    EXPECT_EQ(std::string(CrashLogNames(record).log),
              std::string(222, 'x') + "_2026-11-21-141738_2147483647.ips");
}

TEST(CrashLogNames, TheTemporaryNameHoldsNoUnderscoreSoThatItBelongsToNoApplication)
{
    const CrashLogNames names(recordOf(".marblewick-crash-4711-1795270658-5"));
    EXPECT_STREQ(names.temporary, ".marblewick-crash-4711-1795270658-5");
    EXPECT_EQ(std::string_view(names.temporary).find('_'), std::string_view::npos);
}

TEST(LocalTime, ATimestampHasTheFractionAndTheDistanceFromUTC)
{
    char text[64];
    const timespec time = {.tv_sec = aMoment, .tv_nsec = 123'456'789};
    EXPECT_EQ(localTimestamp(time, 0, 2, text), "2026-11-21 14:17:38.12 +0000");
    EXPECT_EQ(localTimestamp(time, 5 * 3600 + 1800, 4, text), "2026-11-21 19:47:38.1234 +0530");
    EXPECT_EQ(localTimestamp(time, -3 * 3600 - 1800, 9, text), "2026-11-21 10:47:38.123456789 -0330");
}

TEST(FixedText, LeavesOutWhatDoesNotFitAndEndsWithAZeroByte)
{
    char buffer[6];
    FixedText text(buffer);
    text.append("abc").append(7, 3).append("x");
    EXPECT_STREQ(buffer, "abc00");
    EXPECT_EQ(text.view(), "abc00");
}

TEST_F(CrashLogFileTest, AppearsUnderItsNameWhenItIsComplete)
{
    CrashLogFile file(record);
    ASSERT_TRUE(file.create());
    EXPECT_EQ(::write(file.descriptor(), "{}", 2), 2);
    EXPECT_EQ(files(), QStringList(u".marblewick-crash-4711-1795270658-5"_s));
    EXPECT_FALSE(file.exists());
    ASSERT_TRUE(file.complete());
    EXPECT_EQ(files(), QStringList(u"App_2026-11-21-141738_4711.ips"_s));
    EXPECT_TRUE(file.exists());
    EXPECT_EQ(readFile(folder + u'/' + files().first()), "{}");
}

TEST_F(CrashLogFileTest, MakesTheFoldersThatAreMissingForTheUserAlone)
{
    CrashLogFile file(record);
    ASSERT_TRUE(file.create());
    for (const QString &path : {home.path() + u"/above"_s, folder}) {
        struct stat status = {};
        ASSERT_EQ(::stat(qPrintable(path), &status), 0);
        EXPECT_EQ(status.st_mode & ALLPERMS, S_IRWXU);
    }
}

TEST_F(CrashLogFileTest, LeavesNothingWhereItIsNotComplete)
{
    {
        CrashLogFile file(record);
        ASSERT_TRUE(file.create());
    }
    EXPECT_EQ(files(), QStringList());
}

TEST_F(CrashLogFileTest, LeavesNothingWhereItCannotGetItsName)
{
    {
        CrashLogFile file(record);
        ASSERT_TRUE(file.create());
        ASSERT_TRUE(QDir(folder).mkpath(u"App_2026-11-21-141738_4711.ips/x"_s));
        EXPECT_FALSE(file.complete());
        EXPECT_EQ(errno, EISDIR);
    }
    EXPECT_EQ(files(), QStringList());
}

TEST_F(CrashLogFileTest, AFileInThePlaceOfTheFolderIsAnError)
{
    writeFile(folder, "file");
    CrashLogFile file(record);
    EXPECT_FALSE(file.create());
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(CrashLogFileTest, RemovesWhatAKilledHelperLeft)
{
    writeFile(folder + u"/.marblewick-crash-4711-1795270658-5"_s, "{");
    writeFile(folder + u"/.marblewick-crash-4712-1795270658-5"_s, "another crash's");
    CrashLogFile(record).removeUnfinished();
    EXPECT_EQ(files(), QStringList(u".marblewick-crash-4712-1795270658-5"_s));
}
