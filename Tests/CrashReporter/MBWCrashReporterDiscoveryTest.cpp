#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <Marblewick/MBWCrashReporter.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSUserDefaults.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QScopeGuard>

#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;
using ::testing::ElementsAre;

namespace {

const QString stars(80, u'*');
const QString separator = u"\n\n"_s + stars + u"\n\n"_s;

/*! A moment that a float holds exactly, so that tests can place logs right before, at and after it. */
constexpr double lastReport = 822222208; // 2027-01-21, a multiple of 64

/*! A moment before that of everything that a test makes without setting its date. */
constexpr double longAgo = 700'000'000; // 2023-03-08

QString entry(const QString &fileName, const QString &report)
{
    return u"\n\n"_s + stars + u'\n' + fileName + u'\n' + stars + u"\n\n"_s + report;
}

class CrashLogDiscovery : public ::testing::Test
{
protected:
    CrashLogDiscovery() { QCoreApplication::setApplicationName(u"App"_s); }

    QString inReports(const char *name) const
    {
        return home.diagnosticReportsFolder() + u'/' + QString::fromUtf8(name);
    }
    QString inCrashReporter(const char *name) const
    {
        return home.crashReporterFolder() + u'/' + QString::fromUtf8(name);
    }
    static void setLastReportDate(double date)
    {
        NSUserDefaults::standardUserDefaults()->setFloat(static_cast<float>(date),
                                                         MBWCrashReporterLastCrashReportDateKey);
    }

    const TemporaryHome home;
};

} // namespace

TEST_F(CrashLogDiscovery, TheExportedKeysHaveTheirNamesWithoutTheSuffixAsValues)
{
    EXPECT_EQ(MBWCrashReporterLastCrashReportDateKey, "MBWCrashReporterLastCrashReportDate"_L1);
    EXPECT_EQ(MBWCrashReporterNumberOfUnreportedCrashesKey, "MBWCrashReporterNumberOfUnreportedCrashes"_L1);
}

TEST_F(CrashLogDiscovery, ANewReporterSearchesForTheApplicationNameAlone)
{
    const MBWCrashReporter reporter;
    EXPECT_EQ(reporter.applicationNames(), QStringList{u"App"_s});
    EXPECT_TRUE(reporter.applicationName().isEmpty());
    EXPECT_FALSE(reporter.currentTask());
}

TEST_F(CrashLogDiscovery, TheHostsOwnNamePropertyIsKeptAndNotUsed)
{
    MBWCrashReporter reporter;
    reporter.setApplicationName(u"Other"_s);
    EXPECT_EQ(reporter.applicationName(), u"Other"_s);
    EXPECT_EQ(reporter.applicationNames(), QStringList{u"App"_s});
}

TEST_F(CrashLogDiscovery, WithoutFoldersThereIsNoLogAndNoReport)
{
    EXPECT_TRUE(MBWCrashReporter().getLatestCrashLogs().isEmpty());
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), std::nullopt);
}

TEST_F(CrashLogDiscovery, OnlyTheMostRecentlyModifiedFileOfANameIsTaken)
{
    writeFile(inReports("App_2024-01-01.crash"), "old", lastReport + 100);
    writeFile(inReports("App_2024-02-01.ips"), "new", lastReport + 200);
    writeFile(inReports("AppHelper_x.crash"), "helper", lastReport + 300);
    EXPECT_EQ(MBWCrashReporter().getLatestCrashLogs(), QStringList{inReports("App_2024-02-01.ips")});

    setModified(inReports("App_2024-01-01.crash"), lastReport + 400);
    EXPECT_EQ(MBWCrashReporter().getLatestCrashLogs(), QStringList{inReports("App_2024-01-01.crash")});
}

TEST_F(CrashLogDiscovery, ModificationTimesAreComparedBelowTheMillisecond)
{
    writeFile(inReports("App_1.ips"), "older", lastReport + 100.00025);
    writeFile(inReports("App_0.ips"), "newer", lastReport + 100.00050);
    EXPECT_EQ(MBWCrashReporter().getLatestCrashLogs(), QStringList{inReports("App_0.ips")});
}

TEST_F(CrashLogDiscovery, ANameMatchesWithItsUnderscoreAndItsCaseOnly)
{
    writeFile(inReports("AppHelper_x.crash"), "helper");
    writeFile(inReports("app_x.crash"), "other case");
    writeFile(inReports("App.crash"), "no underscore");
    writeFile(inReports("My App_x.crash"), "not at the beginning");
    EXPECT_TRUE(MBWCrashReporter().getLatestCrashLogs().isEmpty());
}

TEST_F(CrashLogDiscovery, TheExtensionDoesNotMatter)
{
    for (const char *name : {"App_a.crash", "App_b.ips", "App_c.hang", "App_d.spin", "App_e", "App_"}) {
        writeFile(inReports(name), "report");
        EXPECT_EQ(MBWCrashReporter().getLatestCrashLogs(), QStringList{inReports(name)});
        QFile::remove(inReports(name));
    }
}

TEST_F(CrashLogDiscovery, ANameIsTakenLiterallyNotAsAPattern)
{
    MBWCrashReporter reporter;
    reporter.setApplicationNames({u"A*p [x]"_s});
    writeFile(inReports("App x_1.ips"), "would match a pattern");
    EXPECT_TRUE(reporter.getLatestCrashLogs().isEmpty());
    writeFile(inReports("A*p [x]_1.ips"), "report");
    EXPECT_EQ(reporter.getLatestCrashLogs(), QStringList{inReports("A*p [x]_1.ips")});
}

TEST_F(CrashLogDiscovery, LogsOfBothFoldersAreReportedTheCrashReporterFolderFirst)
{
    writeFile(inReports("App_two.ips"), "second report\n");
    writeFile(inCrashReporter("App_one.crash"), "first report");
    EXPECT_EQ(MBWCrashReporter().getLatestCrashLogs(),
              (QStringList{inCrashReporter("App_one.crash"), inReports("App_two.ips")}));
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(),
              entry(u"App_one.crash"_s, u"first report"_s) + entry(u"App_two.ips"_s, u"second report\n"_s));
}

TEST_F(CrashLogDiscovery, OnlyTheUsersOwnLibraryFolderIsSearched)
{
    writeFile(home.dataFolder() + u"/Logs/DiagnosticReports/App_1.ips"_s, "elsewhere");
    writeFile(home.stateFolder() + u"/Logs/App_1.ips"_s, "above");
    writeFile(home.diagnosticReportsFolder() + u"/Retired/App_1.ips"_s, "below");
    EXPECT_TRUE(MBWCrashReporter().getLatestCrashLogs().isEmpty());
}

TEST_F(CrashLogDiscovery, SeveralNamesYieldOneLogEachPerFolderInTheOrderOfTheNames)
{
    MBWCrashReporter reporter;
    reporter.setApplicationNames({u"Zeta"_s, u"App"_s});
    for (const char *name : {"App_1.ips", "App_2.ips", "Zeta_1.ips"}) {
        writeFile(inReports(name), "r", lastReport + name[4]);
        writeFile(inCrashReporter(name), "c", lastReport + name[4]);
    }
    EXPECT_EQ(reporter.getLatestCrashLogs(),
              (QStringList{inCrashReporter("Zeta_1.ips"), inCrashReporter("App_2.ips"),
                           inReports("Zeta_1.ips"), inReports("App_2.ips")}));
}

TEST_F(CrashLogDiscovery, ANameGivenTwiceYieldsItsLogTwice)
{
    MBWCrashReporter reporter;
    reporter.setApplicationNames({u"App"_s, u"App"_s});
    writeFile(inReports("App_1.ips"), "r");
    EXPECT_EQ(reporter.getLatestCrashLogs(), (QStringList{inReports("App_1.ips"), inReports("App_1.ips")}));
}

TEST_F(CrashLogDiscovery, WithoutANameNothingIsSearched)
{
    MBWCrashReporter reporter;
    reporter.setApplicationNames({});
    writeFile(inReports("App_1.ips"), "r");
    writeFile(inReports("_1.ips"), "r");
    EXPECT_TRUE(reporter.getLatestCrashLogs().isEmpty());
    EXPECT_EQ(reporter.checkForCrashLog(), std::nullopt);
}

TEST_F(CrashLogDiscovery, ANameWithANULMatchesNoFile)
{
    MBWCrashReporter reporter;
    reporter.setApplicationNames({u"A"_s + QChar(0) + u"pp"_s, u"App"_s});
    writeFile(inReports("App_1.ips"), "r", lastReport);
    writeFile(inReports("Foreign_1.ips"), "of another application", lastReport + 100);
    EXPECT_EQ(reporter.getLatestCrashLogs(), QStringList{inReports("App_1.ips")});
}

TEST_F(CrashLogDiscovery, OneFolderCanBeSearchedByItsPath)
{
    const QString folder = home.path() + u"/elsewhere"_s;
    writeFile(folder + u"/App_1.ips"_s, "r");
    EXPECT_EQ(MBWCrashReporter().getLatestCrashLogsFromPath(folder), QStringList{folder + u"/App_1.ips"_s});
    EXPECT_EQ(MBWCrashReporter().getLatestCrashLogsFromPath(folder + u'/'),
              QStringList{folder + u"/App_1.ips"_s});
    EXPECT_TRUE(MBWCrashReporter().getLatestCrashLogsFromPath(folder + u"/missing"_s).isEmpty());
}

// Which logs are new

TEST_F(CrashLogDiscovery, WithoutAStoredDateEveryLogIsNew)
{
    writeFile(inReports("App_1.ips"), "ancient", 1.0);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1.ips"_s, u"ancient"_s));
}

TEST_F(CrashLogDiscovery, WithoutAStoredDateALogFromBeforeTheReferenceDateIsStillNotNew)
{
    writeFile(inReports("App_1.ips"), "from the year 2000", -1.0);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), std::nullopt);
}

TEST_F(CrashLogDiscovery, ALogModifiedAtTheVeryMomentOfTheLastReportIsNotNew)
{
    setLastReportDate(lastReport);
    writeFile(inReports("App_1.ips"), "report", lastReport);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), std::nullopt);
}

TEST_F(CrashLogDiscovery, ALogModifiedRightAfterTheLastReportIsNew)
{
    setLastReportDate(lastReport);
    writeFile(inReports("App_1.ips"), "report", lastReport + 0.001);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1.ips"_s, u"report"_s));
}

TEST_F(CrashLogDiscovery, ALogModifiedBeforeTheLastReportIsNotNew)
{
    setLastReportDate(lastReport);
    writeFile(inReports("App_1.ips"), "report", lastReport - 0.001);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), std::nullopt);
}

TEST_F(CrashLogDiscovery, TheStoredDateIsASinglePrecisionFloatSoItsNeighboursAre64SecondsApart)
{
    EXPECT_EQ(std::nextafter(static_cast<float>(lastReport), 1e12f), static_cast<float>(lastReport + 64));

    // A report 31 seconds after the representable moment is stored as that moment: a log written in between
    // is shown once more.
    setLastReportDate(lastReport + 31);
    writeFile(inReports("App_1.ips"), "report", lastReport + 10);
    EXPECT_TRUE(MBWCrashReporter().checkForCrashLog());

    // One 33 seconds after it is stored as the next moment: a log written after the report counts as
    // reported.
    setLastReportDate(lastReport + 33);
    setModified(inReports("App_1.ips"), lastReport + 60);
    EXPECT_FALSE(MBWCrashReporter().checkForCrashLog());
}

TEST_F(CrashLogDiscovery, AnOldNewestLogHidesNoNewLogOfTheOtherFolder)
{
    setLastReportDate(lastReport);
    writeFile(inCrashReporter("App_1.ips"), "old", lastReport - 64);
    writeFile(inReports("App_2.ips"), "new", lastReport + 64);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_2.ips"_s, u"new"_s));
}

TEST_F(CrashLogDiscovery, CheckingStoresNothingAndLogsNothing)
{
    writeFile(inReports("App_1.ips"), "report");
    writeFile(inCrashReporter("App_2.ips"), " \n");
    const CapturedStandardError standardError;
    EXPECT_TRUE(MBWCrashReporter().checkForCrashLog());
    EXPECT_FALSE(NSUserDefaults::standardUserDefaults()->contains(MBWCrashReporterLastCrashReportDateKey));
    EXPECT_FALSE(QFile::exists(home.configFolder()));
    EXPECT_EQ(standardError.text(), QString());
}

// What a log contributes

TEST_F(CrashLogDiscovery, AnEntryIsTwoEmptyLinesABannerTheFileNameABannerAnEmptyLineAndTheReport)
{
    writeFile(inReports("App_one.ips"), "line 1\nline 2\n");
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog()->split(u'\n'),
              (QStringList{{}, {}, stars, u"App_one.ips"_s, stars, {}, u"line 1"_s, u"line 2"_s, {}}));
}

TEST_F(CrashLogDiscovery, TheNextEntryIsGluedToTheReportBeforeIt)
{
    writeFile(inCrashReporter("App_1"), "no newline at the end");
    writeFile(inReports("App_2"), "r");
    EXPECT_TRUE(MBWCrashReporter().checkForCrashLog()->contains(u"no newline at the end\n\n"_s + stars
                                                                + u"\nApp_2\n"_s));
}

TEST_F(CrashLogDiscovery, AReportIsNotTrimmed)
{
    writeFile(inReports("App_1"), " \n report \n ");
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, u" \n report \n "_s));
}

TEST_F(CrashLogDiscovery, ALogOfWhiteSpaceOrNothingIsSkipped)
{
    writeFile(inCrashReporter("App_1"), QString(u" \t\r\n\v\f\u0085\u00a0\u2003\u2028\u3000"_s).toUtf8());
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), std::nullopt);
    writeFile(inReports("App_2"), "");
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), std::nullopt);
    writeFile(inReports("App_2"), "r");
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_2"_s, u"r"_s));
}

TEST_F(CrashLogDiscovery, OfALogWithSeveralReportsOnlyTheLastIsTaken)
{
    writeFile(inReports("App_1"), (u"one"_s + separator + u"two"_s + separator + u"three\n"_s).toUtf8());
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, u"three\n"_s));
}

TEST_F(CrashLogDiscovery, ALogThatEndsWithASeparatorContributesAnEmptyReport)
{
    writeFile(inReports("App_1"), (u"one"_s + separator).toUtf8());
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, QString()));
}

TEST_F(CrashLogDiscovery, SeparatorsThatShareTheirNewlinesAreCutFromTheFront)
{
    writeFile(inReports("App_1"), (u"one\n\n"_s + stars + u"\n\n"_s + stars + u"\n\nlast"_s).toUtf8());
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, stars + u"\n\nlast"_s));
}

TEST_F(CrashLogDiscovery, OnlyExactlyEightyAsterisksBetweenTwoNewlinesOnEitherSideSeparate)
{
    for (const QString &text :
         {u"one\n\n"_s + QString(79, u'*') + u"\n\ntwo"_s, u"one\n"_s + stars + u"\n\ntwo"_s,
          u"one\n\n"_s + stars + u"\ntwo"_s, u"one\n\n*"_s + stars + u"\n\ntwo"_s,
          u"one\r\n\r\n"_s + stars + u"\r\n\r\ntwo"_s}) {
        writeFile(inReports("App_1"), text.toUtf8());
        EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, text));
    }
}

TEST_F(CrashLogDiscovery, TheTextIsReadAsUTF8OrUTF16WithAMarkOrElseLatin1)
{
    const QString text = u"Größe €"_s;
    const QByteArray littleEndian("\xff\xfe"
                                  "G\0r\0\xf6\0",
                                  8);
    const QByteArray bigEndian("\xfe\xff"
                               "\0G\0r\0\xf6",
                               8);
    const std::pair<QByteArray, QString> cases[] = {
        {text.toUtf8(), text},
        {"\xef\xbb\xbf" + text.toUtf8(), text},
        {littleEndian, u"Grö"_s},
        {bigEndian, u"Grö"_s},
        {"Gr\xf6\xdf"
         "e",
         u"Größe"_s},
        {littleEndian + 'x', QString::fromLatin1(littleEndian + 'x')},
    };
    for (const auto &[bytes, expected] : cases) {
        writeFile(inReports("App_1"), bytes);
        EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, expected));
    }
}

TEST_F(CrashLogDiscovery, NulBytesArePartOfTheReport)
{
    writeFile(inReports("App_1"), QByteArray("a\0b\0", 4));
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, QString::fromLatin1("a\0b\0", 4)));
}

// Folders and files that are not what they should be

TEST_F(CrashLogDiscovery, AFileInPlaceOfAFolderYieldsNothing)
{
    writeFile(home.stateFolder() + u"/Logs/CrashReporter"_s, "a file");
    writeFile(inReports("App_1"), "r");
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, u"r"_s));
}

TEST_F(CrashLogDiscovery, AnUnreadableFolderYieldsNothing)
{
    writeFile(inCrashReporter("App_1"), "r");
    ASSERT_EQ(::chmod(QFile::encodeName(home.crashReporterFolder()).constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [] {
        return MBWCrashReporter().getLatestCrashLogs().isEmpty() && !MBWCrashReporter().checkForCrashLog();
    }));
}

TEST_F(CrashLogDiscovery, AnUnreadableLogIsSkippedAndTheOtherFoldersLogReported)
{
    writeFile(inCrashReporter("App_1"), "secret");
    writeFile(inReports("App_2"), "r");
    ASSERT_EQ(::chmod(QFile::encodeName(inCrashReporter("App_1")).constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(
        home.path(), [] { return MBWCrashReporter().checkForCrashLog() == entry(u"App_2"_s, u"r"_s); }));
}

TEST_F(CrashLogDiscovery, LinksToNowhereAndToThemselvesHideNoLog)
{
    writeFile(inReports("App_1"), "r", longAgo);
    ASSERT_TRUE(QFile::link(u"nowhere"_s, inReports("App_2")));
    ASSERT_TRUE(QFile::link(u"App_3"_s, inReports("App_3")));
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, u"r"_s));
}

TEST_F(CrashLogDiscovery, ALinkToALogCountsWithItsOwnDate)
{
    writeFile(home.path() + u"/kept elsewhere.ips"_s, "linked", lastReport + 500);
    ASSERT_TRUE(QFile::link(home.path() + u"/kept elsewhere.ips"_s, inReports("App_link")));
    setModified(inReports("App_link"), lastReport - 500);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_link"_s, u"linked"_s));
    writeFile(inReports("App_1"), "newer", lastReport);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, u"newer"_s));
}

TEST_F(CrashLogDiscovery, AFifoADeviceAndAFolderOfAMatchingNameAreNeitherReadNorInTheWay)
{
    writeFile(inReports("App_1"), "r", longAgo);
    ASSERT_EQ(::mkfifo(QFile::encodeName(inReports("App_fifo")).constData(), 0600), 0);
    ASSERT_TRUE(QDir().mkpath(inReports("App_folder")));
    // Only root can make a device; a link to one does as well. Reading /dev/zero would never end.
    ASSERT_TRUE(QFile::link(u"/dev/zero"_s, inReports("App_device")));
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, u"r"_s));
}

TEST_F(CrashLogDiscovery, ALogWhoseNameIsNotUTF8IsReported)
{
    const QByteArray name("App_\xff\xfe.ips");
    const QByteArray path = QFile::encodeName(home.diagnosticReportsFolder()) + '/' + name;
    const int file = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(::write(file, "r", 1), 1);
    ::close(file);
    ASSERT_EQ(MBWCrashReporter().getLatestCrashLogs().size(), 1);
    EXPECT_EQ(
        NSFileManager::fileSystemRepresentationWithPath(MBWCrashReporter().getLatestCrashLogs().front()),
        path);
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(),
              entry(NSFileManager::stringWithFileSystemRepresentation(name), u"r"_s));
}

TEST_F(CrashLogDiscovery, AmongAHundredThousandForeignEntriesTheLogIsFound)
{
    const QByteArray folder = QFile::encodeName(home.diagnosticReportsFolder());
    for (int i = 0; i < 100'000; ++i) {
        const QByteArray path = folder + "/Foreign_" + QByteArray::number(i) + ".ips";
        const int file = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
        ASSERT_GE(file, 0);
        ::close(file);
    }
    writeFile(inReports("App_1"), "r");
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_1"_s, u"r"_s));
}

TEST_F(CrashLogDiscovery, ALogOf200MegabytesIsReportedWhole)
{
    const QByteArray line(QByteArray(99, 'x') + '\n');
    writeFile(inReports("App_1"), line.repeated(2'000'000));
    const std::optional<QString> report = MBWCrashReporter().checkForCrashLog();
    ASSERT_TRUE(report);
    EXPECT_EQ(report->size(), entry(u"App_1"_s, {}).size() + 200'000'000);
    EXPECT_TRUE(report->endsWith(QString::fromLatin1(line)));
}

TEST_F(CrashLogDiscovery, ALogAbove256MebibytesIsSkippedUnread)
{
    writeFile(inReports("App_1"), "r");
    ASSERT_TRUE(QFile::resize(inReports("App_1"), 256 * 1024 * 1024 + 1)); // sparse
    writeFile(inCrashReporter("App_2"), "r");
    EXPECT_EQ(MBWCrashReporter().checkForCrashLog(), entry(u"App_2"_s, u"r"_s));
}

TEST_F(CrashLogDiscovery, ALogThatDisappearsWhileItIsLookedAtDoesNoHarm)
{
    // A process makes and removes the log all the time; whatever the check catches is the log or nothing.
    const QByteArray path = QFile::encodeName(inReports("App_1"));
    home.crashReporterFolder();
    const pid_t child = ::fork();
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL); // where this test is killed for taking too long
        for (;;) {
            const int file = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            (void)::write(file, "r", 1);
            ::close(file);
            ::unlink(path.constData());
        }
    }
    const auto ending = qScopeGuard([child] {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    });
    int found = 0;
    for (int i = 0; i < 20'000; ++i) {
        const std::optional<QString> report = MBWCrashReporter().checkForCrashLog();
        found += report ? 1 : 0;
        ASSERT_TRUE(!report || *report == entry(u"App_1"_s, u"r"_s));
    }
    EXPECT_GT(found, 0);
    EXPECT_LT(found, 20'000);
}
