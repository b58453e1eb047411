#include "Tests/Support/TemporaryHome.h"
#include "Tests/Tools/MarblewickCommand.h"

#include <Marblewick/CrashReportText.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class MarblewickCrashLog : public MarblewickCommand
{
protected:
    const TemporaryHome m_home;
};

const QByteArray report = R"({"app_name":"Chart","bug_type":"309"}
{"procName":"Chart","pid":7,"exception":{"type":"EXC_BAD_ACCESS","signal":"SIGSEGV"},"faultingThread":0,
 "threads":[{"triggered":true,"name":"\u001b[1m","frames":[{"imageIndex":0,"imageOffset":16,"symbol":"plot",
 "symbolLocation":4,"sourceFile":"plot.cpp","sourceLine":12}]}],"usedImages":[{"name":"Chart","base":4096}]})"
                          "\n";

} // namespace

TEST_F(MarblewickCrashLog, TextIsThatOfThePanelsPreview)
{
    writeFile(filePath(u"log.ips"_s), report);
    const std::string text = output(u"marblewick crashlog text log.ips"_s);
    EXPECT_EQ(text, Marblewick::textOfCrashReport(report)->toStdString());
    EXPECT_THAT(text, StartsWith("Process:               Chart [7]\n"));
    EXPECT_THAT(text,
                HasSubstr("\nThread 0 Crashed:: \\u{1b}[1m\n"
                          "0   Chart                         \t            0x1010 plot + 4 (plot.cpp:12)\n"));
}

TEST_F(MarblewickCrashLog, TextOfALogThatIsTextAlreadyIsEscapedButForTabsAndLineEnds)
{
    writeFile(filePath(u"log.crash"_s), "one\ttwo\x1b[1m\r\n\n\xe4 three");
    EXPECT_EQ(output(u"marblewick crashlog text log.crash"_s), "one\ttwo\\u{1b}[1m\n\nä three\n");
}

TEST_F(MarblewickCrashLog, TextTakesADashForStandardInput)
{
    writeFile(filePath(u"log.ips"_s), report);
    EXPECT_EQ(
        output(u"diff <(cat log.ips | marblewick crashlog text -) <(marblewick crashlog text log.ips)"_s),
        "");
}

TEST_F(MarblewickCrashLog, TextFailsWhereTheLogCannotBeReadOrIsAbove256MiB)
{
    const Result missing = run(u"marblewick crashlog text missing"_s);
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.output, "");
    EXPECT_EQ(missing.errors, "marblewick: missing: No such file or directory\n");

    const Result large = run(u"truncate -s 268435457 large; marblewick crashlog text large"_s);
    EXPECT_EQ(large.status, 1);
    EXPECT_EQ(large.output, "");
    EXPECT_EQ(large.errors, "marblewick: large: larger than 256 MiB\n");
}

TEST_F(MarblewickCrashLog, ListIsThePathsOfTheLogsInBothFoldersTheNewestFirst)
{
    const QString reports = m_home.diagnosticReportsFolder();
    const QString older = m_home.crashReporterFolder();
    writeFile(reports + u"/Chart_2.ips"_s, report, 2000);
    writeFile(older + u"/Atlas_1.crash"_s, report, 1000);
    writeFile(reports + u"/Atlas_3.ips"_s, report, 3000);
    const QString expected = u"%1/Atlas_3.ips\n%1/Chart_2.ips\n%2/Atlas_1.crash\n"_s.arg(reports, older);
    EXPECT_EQ(output(u"marblewick crashlog list"_s), expected.toStdString());
}

TEST_F(MarblewickCrashLog, ListIsOfTheNamedApplicationsOnly)
{
    const QString reports = m_home.diagnosticReportsFolder();
    writeFile(reports + u"/Chart_1.ips"_s, report, 3000);
    writeFile(reports + u"/Chartist_1.ips"_s, report, 2000);
    writeFile(reports + u"/[a,b]_1.ips"_s, report, 1000);
    EXPECT_EQ(output(u"marblewick crashlog list Chart"_s), (reports + u"/Chart_1.ips\n"_s).toStdString());
    EXPECT_EQ(output(u"marblewick crashlog list '[a,b]' Chart"_s),
              u"%1/Chart_1.ips\n%1/[a,b]_1.ips\n"_s.arg(reports).toStdString());
    EXPECT_EQ(output(u"marblewick crashlog list Atlas"_s), "");
}

TEST_F(MarblewickCrashLog, ListLeavesOutWhatIsNoFileOrHasNoNameOfAnApplication)
{
    const QString reports = m_home.diagnosticReportsFolder();
    writeFile(reports + u"/folder_1/inside_1.ips"_s, report);
    writeFile(reports + u"/nameless.ips"_s, report);
    writeFile(reports + u"/_1.ips"_s, report);
    EXPECT_EQ(output(u"mkfifo '%1/fifo_1'; marblewick crashlog list"_s.arg(reports)), "");
}

TEST_F(MarblewickCrashLog, ListEscapesControlCharactersSoThatALogIsALine)
{
    const QString reports = m_home.diagnosticReportsFolder();
    writeFile(reports + u"/Chart_\n\x1b.ips"_s, report);
    EXPECT_EQ(output(u"marblewick crashlog list"_s), (reports + u"/Chart_\\n\\u{1b}.ips\n"_s).toStdString());
}

TEST_F(MarblewickCrashLog, ListIsEmptyWhereThereAreNoFolders)
{
    EXPECT_EQ(output(u"marblewick crashlog list"_s), "");
}

TEST_F(MarblewickCrashLog, ListSaysWhichFolderItCannotReadAndPrintsTheOthers)
{
    const QString older = m_home.crashReporterFolder();
    writeFile(older + u"/Chart_1.ips"_s, report);
    writeFile(m_home.stateFolder() + u"/Logs/DiagnosticReports"_s, "no folder");
    const Result result = run(u"marblewick crashlog list"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, (older + u"/Chart_1.ips\n"_s).toStdString());
    EXPECT_THAT(result.errors, StartsWith("marblewick: " + m_home.stateFolder().toStdString()
                                          + "/Logs/DiagnosticReports: "));
}

TEST_F(MarblewickCrashLog, RefusesAWrongCommandLineWithAStatusOfItsOwn)
{
    for (const QString &arguments :
         {u""_s, u"unknown"_s, u"text"_s, u"text one two"_s, u"list --unknown"_s}) {
        const Result result = run(u"marblewick crashlog "_s + arguments);
        EXPECT_EQ(result.status, 2) << qPrintable(arguments);
        EXPECT_EQ(result.output, "") << qPrintable(arguments);
        EXPECT_THAT(result.errors, testing::EndsWith("\nTry: marblewick --help\n")) << qPrintable(arguments);
    }
}

TEST_F(MarblewickCrashLog, FailsWhereItsOutputCannotBeWritten)
{
    writeFile(filePath(u"log.ips"_s), report);
    const Result result = run(u"marblewick crashlog text log.ips >/dev/full"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "marblewick: standard output: No space left on device\n");
}
