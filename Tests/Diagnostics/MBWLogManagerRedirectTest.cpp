#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/*! A process that redirects its standard error, whose own is kept beside. */
class Redirect : public ::testing::Test
{
protected:
    struct Result
    {
        int exitStatus = 0; ///< -1 where a signal ended it
        QString output;
        QString originalStandardError;
    };

    /*! Runs a LogHost that takes these steps. */
    static Result run(const QStringList &steps)
    {
        const CapturedStandardError standardError;
        ChildProgram host(QStringList(QCoreApplication::applicationDirPath() + u"/LogHost"_s) + steps);
        const int status = host.exitStatus();
        return {status, QString::fromUtf8(host.output()), standardError.text()};
    }

    /*! The same with standard error redirected to logFile first; returns what is in that afterwards. */
    QByteArray logOf(const QStringList &steps, int exitStatus = 0) const
    {
        const Result result = run(redirectToLogFile + steps);
        EXPECT_EQ(result.exitStatus, exitStatus);
        EXPECT_EQ(result.originalStandardError, QString());
        return readFile(logFile);
    }

    const TemporaryHome home;
    const QString logFile = home.path() + u"/logs/App.log"_s;
    const QStringList redirectToLogFile{u"redirect-to:"_s + logFile};
};

constexpr int endedBySignal = -1;

/*! The message of each line that NSLog() wrote. */
QByteArray withoutHeads(const QByteArray &log)
{
    static const QRegularExpression head(u"\\d{4}-\\d\\d-\\d\\d [\\d:.]{12} LogHost\\[\\d+:\\d+\\] "_s);
    return QString::fromUtf8(log).remove(head).toUtf8();
}

const QStringList allWays{u"log:by NSLog"_s,
                          u"cerr:by cerr"_s,
                          u"warning:by Qt"_s,
                          u"stderr:by stderr\n"_s,
                          u"descriptor:by the system\n"_s,
                          u"log:NSLog again"_s};
const QByteArray linesOfAllWays = "by NSLog\nby cerr\nby Qt\nby stderr\nby the system\nNSLog again\n";

} // namespace

TEST_F(Redirect, WhatIsWrittenInAnyWayIsInTheApplicationsLogFileInItsOrder)
{
    const Result result = run(QStringList{u"print-log-file"_s, u"redirect"_s} + allWays);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.originalStandardError, QString());
    const QString file = result.output.trimmed();
    EXPECT_TRUE(file.startsWith(home.dataFolder() + u"/App/Logs/App_20"_s)) << file.toStdString();
    EXPECT_EQ(withoutHeads(readFile(file)), linesOfAllWays);
}

TEST_F(Redirect, WhatWasWrittenBeforeStaysWhereItWas)
{
    const Result result = run(
        {u"cerr:before"_s, u"warning:Qt before"_s, u"redirect-to:"_s + logFile, u"warning:Qt after"_s});
    EXPECT_EQ(result.originalStandardError, u"before\nQt before\n"_s);
    EXPECT_EQ(readFile(logFile), "Qt after\n");
}

TEST_F(Redirect, QtsMessagesAreInTheFileWhateverQtThinksOfTheTerminal)
{
    for (const char *hasConsole : {"0", "1"}) {
        qputenv("QT_ASSUME_STDERR_HAS_CONSOLE", hasConsole);
        qputenv("QT_FORCE_STDERR_LOGGING", "0");
        EXPECT_EQ(logOf({u"leave-terminal"_s, u"debug:a debug message"_s, u"warning:Grüße 😀"_s}),
                  "a debug message\nGrüße 😀\n");
    }
}

TEST_F(Redirect, QtsOwnHandlerWhichMayChooseTheJournalIsReplaced)
{
    const Result result = run(QStringList(u"print-handler"_s) + redirectToLogFile + redirectToLogFile
                              + QStringList(u"print-handler"_s));
    EXPECT_EQ(result.output, u"Qt's handler\nanother handler\n"_s);
}

TEST_F(Redirect, QtsMessagesKeepTheHostsPattern)
{
    EXPECT_EQ(logOf({u"pattern:[%{type}]%{if-warning} %{message}%{endif}"_s, u"debug:x"_s, u"warning:y"_s}),
              "[debug]\n[warning] y\n");
    EXPECT_EQ(logOf({u"pattern:%{if-warning}%{message}%{endif}"_s, u"debug:x"_s, u"warning:y"_s}), "y\n")
        << "a message without a text has no line";
}

TEST_F(Redirect, AMessageHandlerOfTheHostsStays)
{
    const Result before = run({u"install-handler"_s, u"redirect-to:"_s + logFile, u"warning:text"_s});
    EXPECT_EQ(before.output, u"host's handler: text\n"_s);
    EXPECT_EQ(readFile(logFile), "");
    const Result after = run(
        {u"redirect-to:"_s + logFile, u"install-handler"_s, u"redirect-to:"_s + logFile, u"warning:text"_s});
    EXPECT_EQ(after.output, u"host's handler: text\n"_s);
    EXPECT_EQ(readFile(logFile), "");
}

TEST_F(Redirect, WhatProgramsThatTheHostStartsWriteIsInTheFileToo)
{
    EXPECT_EQ(logOf({u"cerr:host"_s, u"run:echo program >&2"_s, u"cerr:host again"_s}),
              "host\nprogram\nhost again\n");
}

TEST_F(Redirect, TheFileIsEmptiedFirst)
{
    writeFile(logFile, "a line of an earlier launch\n");
    EXPECT_EQ(logOf({}), "");
}

TEST_F(Redirect, TheFileIsMadeForTheUserAlone)
{
    const mode_t original = ::umask(0);
    logOf({});
    ::umask(original);
    struct stat status = {};
    ASSERT_EQ(::stat(logFile.toUtf8().constData(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
}

TEST_F(Redirect, OfTwoLaunchesWithinASecondTheLaterOneEmptiesTheFile)
{
    const auto launch = [](const QString &text) {
        return run({u"redirect"_s, u"log:"_s + text, u"print-log-file"_s}).output.trimmed();
    };
    QString first;
    QString second;
    constexpr int attempts = 50;
    for (int attempt = 0; attempt < attempts && (attempt == 0 || first != second); ++attempt) {
        first = launch(u"first"_s);
        second = launch(u"second"_s);
    }
    ASSERT_EQ(first, second) << "never within the same second";
    EXPECT_EQ(withoutHeads(readFile(second)), "second\n");
}

TEST_F(Redirect, ASecondCallMovesStandardErrorToAnotherFile)
{
    const QString other = home.path() + u"/other/App.log"_s;
    const Result result = run({u"redirect-to:"_s + logFile, u"cerr:one"_s, u"warning:Qt one"_s,
                               u"redirect-to:"_s + other, u"cerr:two"_s, u"warning:Qt two"_s});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(readFile(logFile), "one\nQt one\n");
    EXPECT_EQ(readFile(other), "two\nQt two\n");
}

TEST_F(Redirect, FoldersAboveTheFileAreMadeAndThoseThatAreThereDoAsWell)
{
    const QString deep = home.path() + u"/a/b/c/App.log"_s;
    EXPECT_EQ(run({u"redirect-to:"_s + deep, u"cerr:text"_s}).originalStandardError, QString());
    EXPECT_EQ(readFile(deep), "text\n");
    EXPECT_EQ(run({u"redirect-to:"_s + deep, u"cerr:again"_s}).originalStandardError, QString());
    EXPECT_EQ(readFile(deep), "again\n");
}

TEST_F(Redirect, APathThatIsNotUTF8NamesTheFileOfItsBytes)
{
    const QByteArray file = home.path().toUtf8() + "/caf\xe9/App.log";
    const Result result = run({u"redirect-to-bytes:"_s + QString::fromLatin1(file.toHex()), u"cerr:text"_s});
    EXPECT_EQ(result.originalStandardError, QString());
    EXPECT_EQ(::access(file.constData(), F_OK), 0);
}

TEST_F(Redirect, StandardErrorStaysWhereTheFolderCannotBeMade)
{
    writeFile(home.path() + u"/logs"_s, "a file");
    const Result result = run(redirectToLogFile + allWays);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(withoutHeads(result.originalStandardError.toUtf8()), linesOfAllWays);
    EXPECT_EQ(readFile(home.path() + u"/logs"_s), "a file");
}

TEST_F(Redirect, StandardErrorStaysWhereTheFileCannotBeOpened)
{
    ASSERT_TRUE(QDir().mkpath(logFile));
    const QString document = home.path() + u"/document"_s;
    const Result result = run(redirectToLogFile + QStringList(u"open:"_s + document) + allWays);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(withoutHeads(result.originalStandardError.toUtf8()), linesOfAllWays);
    EXPECT_GT(result.output.trimmed().toInt(), STDERR_FILENO);
    EXPECT_EQ(readFile(document), "") << "a file that is opened next must not get the log's lines";
}

TEST_F(Redirect, StandardErrorStaysInTheFirstFileWhereASecondCannotBeOpened)
{
    EXPECT_EQ(logOf({u"redirect-to:"_s + home.path(), u"cerr:text"_s, u"warning:Qt"_s}), "text\nQt\n");
}

TEST_F(Redirect, StandardErrorStaysWhereTheNameNamesNoFile)
{
    for (const QString &path : {QString(), u"App.log"_s, home.path() + u"/logs/"_s})
        EXPECT_EQ(run({u"redirect-to:"_s + path, u"cerr:text"_s}).originalStandardError, u"text\n"_s)
            << path.toStdString();
    const QByteArray withNUL = home.path().toUtf8() + QByteArray("/a\0b", 4);
    EXPECT_EQ(run({u"redirect-to-bytes:"_s + QString::fromLatin1(withNUL.toHex()), u"cerr:text"_s})
                  .originalStandardError,
              u"text\n"_s);
}

TEST_F(Redirect, AFIFOThatNobodyReadsDoesNotBlock)
{
    ASSERT_TRUE(QDir().mkpath(home.path() + u"/logs"_s));
    ASSERT_EQ(::mkfifo(logFile.toUtf8().constData(), 0600), 0);
    EXPECT_EQ(run({u"redirect-to:"_s + logFile, u"cerr:text"_s}).originalStandardError, u"text\n"_s);
}

TEST_F(Redirect, AProcessThatWasStartedWithoutAStandardErrorGetsOne)
{
    EXPECT_EQ(run(QStringList(u"close-standard-error"_s) + redirectToLogFile + allWays).exitStatus, 0);
    EXPECT_EQ(withoutHeads(readFile(logFile)), linesOfAllWays);
}

TEST_F(Redirect, WhatWasWrittenBeforeACrashIsInTheFile)
{
    const QStringList noNewline{u"stderr:no newline yet"_s};
    for (const QString &end : {u"crash"_s, u"abort"_s, u"kill"_s})
        EXPECT_EQ(withoutHeads(logOf(allWays + noNewline + QStringList(end), endedBySignal)),
                  linesOfAllWays + "no newline yet")
            << end.toStdString();
    EXPECT_EQ(withoutHeads(logOf(allWays + noNewline + QStringList(u"exit-at-once"_s))),
              linesOfAllWays + "no newline yet");
}

TEST_F(Redirect, TheMessageOfAFatalErrorIsInTheFile)
{
    EXPECT_EQ(logOf({u"fatal:the end"_s}, endedBySignal), "the end\n");
}

TEST_F(Redirect, AFullDiskLosesLinesAndNothingElse)
{
    ASSERT_TRUE(QDir().mkpath(home.path() + u"/logs"_s));
    ASSERT_EQ(::symlink("/dev/full", logFile.toUtf8().constData()), 0);
    const Result result = run(redirectToLogFile + allWays + QStringList(u"print-log-file"_s));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.originalStandardError, QString());
    EXPECT_TRUE(result.output.startsWith(u"the system refused it\n"_s)) << result.output.toStdString();
    EXPECT_TRUE(result.output.endsWith(u".log\n"_s)) << "the host went on";
}

TEST_F(Redirect, LinesAreWrittenAgainOnceTheDiskHasRoom)
{
    const QStringList room{u"limit-file-size:"_s,        u"log:room by NSLog"_s,  u"warning:room by Qt"_s,
                           u"stderr:room by stderr\n"_s, u"cerr:still refused"_s, u"clear-cerr"_s,
                           u"cerr:room by cerr"_s};
    const QByteArray log = logOf(QStringList(u"limit-file-size:10"_s) + allWays + room);
    EXPECT_EQ(withoutHeads(log.mid(10)), "room by NSLog\nroom by Qt\nroom by stderr\nroom by cerr\n")
        << "a C++ stream remembers its failure until it is cleared";
}
