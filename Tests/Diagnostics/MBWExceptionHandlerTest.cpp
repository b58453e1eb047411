#include <Marblewick/MBWExceptionHandler.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using testing::AllOf;
using testing::Ge;
using testing::Lt;

namespace {

NSException exceptionWithStackTrace(const QVariant &stackTrace)
{
    return {u"MapException"_s, u"no north"_s, {{NSStackTraceKey, stackTrace}}};
}

/*! A user info that cannot be read: its conversion to a string throws. */
struct UnreadableStackTrace
{ };

/*! Whether the system has a pipe to give. */
bool hasPipes = true;

/*! A handler whose symbolizer is a shell script, and what both write. */
class ExceptionHandler : public ::testing::Test
{
protected:
    static void writeScript(const QString &file, const QByteArray &script)
    {
        writeFile(file, "#!/bin/sh\n" + script + '\n');
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther
                                        | QFile::ExeOther);
    }

    void writeSymbolizer(const QByteArray &script) const { writeScript(symbolizer, script); }

    /*! Leaves of the programs in PATH those of the pipeline, with a shell script for the demangler, or none.
     */
    void useToolsWithDemangler(const QByteArray &script) const
    {
        const QString folder = home.path() + u"/tools"_s;
        ASSERT_TRUE(QDir().mkpath(folder));
        for (const QString &tool : {u"cat"_s, u"sleep"_s, u"stdbuf"_s, u"tail"_s})
            ASSERT_TRUE(QFile::link(QStandardPaths::findExecutable(tool), folder + u'/' + tool));
        if (!script.isEmpty())
            writeScript(folder + u"/c++filt"_s, script);
        qputenv("PATH", folder.toUtf8());
    }

    /*! Hands over an exception, and keeps what is written meanwhile. */
    bool shouldLog(const QVariant &stackTrace, quint64 mask = NSLogUncaughtExceptionMask)
    {
        QElapsedTimer timer;
        timer.start();
        const CapturedStandardError standardError;
        const bool result = MBWExceptionHandler(symbolizer)
                                .exceptionHandlerShouldLogException(
                                    NSExceptionHandler::defaultExceptionHandler(),
                                    exceptionWithStackTrace(stackTrace), mask);
        written = standardError.text();
        milliseconds = timer.elapsed();
        return result;
    }

    /*! Whether the path without a symbolizer was taken, and led to that many symbols. */
    bool isFallback(qsizetype symbols) const
    {
        const QStringList lines = written.split(u'\n', Qt::SkipEmptyParts);
        return lines.size() == 1 + symbols && lines.first().endsWith(u"] printing backtrace"_s)
               && lines.sliced(1).filter(QRegularExpression(u"\\[0x[0-9a-f]+\\]$"_s)).size() == symbols;
    }

    /*! Hands over an exception, and returns how many bytes each write had, and all of them. */
    std::pair<std::vector<ssize_t>, QByteArray> writesOfLog() const
    {
        int sockets[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, sockets), 0); // It keeps each write apart.
        const int original = ::dup(STDERR_FILENO);
        ::dup2(sockets[0], STDERR_FILENO);
        const bool result = MBWExceptionHandler(symbolizer)
                                .exceptionHandlerShouldLogException(nullptr,
                                                                    exceptionWithStackTrace(u"0x1"_s), 1);
        ::dup2(original, STDERR_FILENO);
        ::close(original);
        ::close(sockets[0]);
        EXPECT_FALSE(result);

        std::pair<std::vector<ssize_t>, QByteArray> writes;
        char packet[4096];
        for (ssize_t size = 0; (size = ::recv(sockets[1], packet, sizeof packet, 0)) > 0;) {
            writes.first.push_back(size);
            writes.second.append(packet, size);
        }
        ::close(sockets[1]);
        return writes;
    }

    /*! Whether the process whose id is in a file comes to its end, or is a dead one that nobody has asked
     * for.
     */
    static bool ends(const QString &file)
    {
        const int process = readFile(file).trimmed().toInt();
        EXPECT_GT(process, 1);
        return QTest::qWaitFor(
            [&] {
                QFile commandLine(u"/proc/%1/cmdline"_s.arg(process));
                return !commandLine.open(QFile::ReadOnly) || commandLine.readAll().isEmpty();
            },
            10'000);
    }

    const TemporaryHome home;
    const QString symbolizer = home.path() + u"/it's a symbolizer"_s;
    QString written;
    qint64 milliseconds = 0;
};

} // namespace

/*! Stands in front of the C library's. */
extern "C" [[gnu::visibility("default")]] int pipe2(int *ends, int flags) noexcept
{
    using Function = decltype(&pipe2);
    static const auto original = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "pipe2"));
    if (hasPipes)
        return original(ends, flags);
    errno = EMFILE;
    return -1;
}

TEST(MBWExceptionHandler, TheSharedHandlerIsTheDelegateAndLeavesTheMaskToTheHost)
{
    MBWExceptionHandler *const handler = MBWExceptionHandler::sharedHandler();
    EXPECT_EQ(NSExceptionHandler::defaultExceptionHandler()->delegate(), handler);
    EXPECT_EQ(MBWExceptionHandler::sharedHandler(), handler);
    EXPECT_EQ(NSExceptionHandler::defaultExceptionHandler()->exceptionHandlingMask(), 0U);
}

TEST_F(ExceptionHandler, AnExceptionWithoutAStackTraceIsThePlatformsToLog)
{
    writeSymbolizer("echo symbol");
    const CapturedStandardError standardError;
    MBWExceptionHandler handler(symbolizer);
    const NSException exception(u"MapException"_s, u"no north"_s, {{u"sheet"_s, 7}});
    EXPECT_TRUE(handler.exceptionHandlerShouldLogException(nullptr, exception, 1));
    EXPECT_EQ(standardError.text(), QString());
}

TEST_F(ExceptionHandler, TheSymbolizersLinesAreNumberedAndDemangled)
{
    writeSymbolizer("echo _ZN3Map4openEv at map.cpp:7; echo main at main.cpp:3");
    EXPECT_FALSE(shouldLog(u"0x1000 0x2000"_s));
    EXPECT_EQ(written, u"     1\tMap::open() at map.cpp:7\n     2\tmain at main.cpp:3\n"_s);
}

TEST_F(ExceptionHandler, TheSymbolizerIsAskedForTheCallBeforeEachReturnAddressInThisProcess)
{
    writeSymbolizer(R"(echo "${DEBUGINFOD_URLS-unset}|$*")");
    qputenv("DEBUGINFOD_URLS", "https://example.com");
    EXPECT_FALSE(shouldLog(u"0x1000 7ffff7dd5001 0XABC"_s));
    EXPECT_EQ(written, u"     1\t|-p %1 -f --pretty-print 0xfff 0x7ffff7dd5000 0xabb\n"_s.arg(::getpid()));
}

TEST_F(ExceptionHandler, TheMaskAndTheSenderHaveNoInfluence)
{
    writeSymbolizer("echo symbol");
    for (const quint64 mask : {quint64(0), quint64(2), ~quint64(0)}) {
        EXPECT_FALSE(shouldLog(u"0x1000"_s, mask));
        EXPECT_EQ(written, u"     1\tsymbol\n"_s);
        EXPECT_TRUE(shouldLog(u"nothing"_s, mask));
    }
}

TEST_F(ExceptionHandler, TheOutputIsWrittenInChunksOf512BytesUnchanged)
{
    const QByteArray line(1492, 'm'); // with its number, a tabulator and a line break 1500 bytes
    writeSymbolizer("echo " + line);
    const auto [sizes, all] = writesOfLog();
    EXPECT_THAT(sizes, testing::ElementsAre(512, 512, 476));
    EXPECT_EQ(all, "     1\t" + line + '\n');
}

TEST_F(ExceptionHandler, LinesAndPausesOfTheSymbolizerDoNotChangeTheChunks)
{
    const QByteArray line(492, 'm'); // with its number, a tabulator and a line break 500 bytes
    writeSymbolizer("echo " + line + "; sleep 0.3; echo " + line + "; sleep 0.3; echo " + line);
    const auto [sizes, all] = writesOfLog();
    EXPECT_THAT(sizes, testing::ElementsAre(512, 512, 476));
    EXPECT_EQ(all, "     1\t" + line + "\n     2\t" + line + "\n     3\t" + line + '\n');
}

TEST_F(ExceptionHandler, WithoutASymbolizerTheAddressesAreWrittenAsTheSystemKnowsThem)
{
    EXPECT_FALSE(shouldLog(u"0x1000 0x2000"_s));
    EXPECT_TRUE(isFallback(2)) << qPrintable(written);
    EXPECT_TRUE(written.endsWith(u"[0x1000]\n[0x2000]\n"_s));
}

TEST_F(ExceptionHandler, WithoutASymbolizerAddressesHave32Bits)
{
    EXPECT_FALSE(shouldLog(u"0x123456789abc ffffffffffffffff1"_s));
    EXPECT_TRUE(written.endsWith(u"[0x56789abc]\n[0xfffffff1]\n"_s)) << qPrintable(written);
}

TEST_F(ExceptionHandler, WithoutASymbolizerAddressesEndAtTheFirstThatIsNone)
{
    EXPECT_FALSE(shouldLog(u"  1\n2\tmap 3"_s));
    EXPECT_TRUE(isFallback(2)) << qPrintable(written);
}

TEST_F(ExceptionHandler, AStackTraceThatBeginsWithNoAddressIsThePlatformsToLog)
{
    for (const bool hasSymbolizer : {false, true}) {
        if (hasSymbolizer)
            writeSymbolizer("echo symbol");
        for (const QVariant &stackTrace :
             {QVariant(u"map 0x1000"_s), QVariant(u""_s), QVariant(u" \t"_s), QVariant(u"; 1"_s),
              QVariant(u"-1"_s), QVariant(QVariantList{1, 2})}) {
            EXPECT_TRUE(shouldLog(stackTrace)) << qPrintable(stackTrace.toString());
            EXPECT_EQ(written, QString());
        }
    }
}

TEST_F(ExceptionHandler, NothingButAddressesAndBlanksReachesTheShell)
{
    writeSymbolizer("touch \"$0 ran\"; echo symbol");
    const QString mark = home.path() + u"/mark"_s;
    for (const QString &attempt : {u"0x1; touch MARK"_s,
                                   u"0x1 $(touch MARK)"_s,
                                   u"0x1 `touch MARK`"_s,
                                   u"0x1\ntouch MARK"_s,
                                   u"0x1\rtouch MARK"_s,
                                   u"0x1 | touch MARK"_s,
                                   u"0x1 & touch MARK"_s,
                                   u"0x1 && touch MARK"_s,
                                   u"0x1 ' ; touch MARK '"_s,
                                   u"0x1; done); touch MARK; $(for a in 1"_s,
                                   u"0x1 > MARK"_s,
                                   u"0x1 ${HOME}"_s,
                                   u"0x1 *"_s,
                                   u"0x1 ~"_s,
                                   u"0x1 \\"_s,
                                   u"0x1 #"_s,
                                   u"0x1\u00a0"
                                   u"2"_s,
                                   u"0x1 \uff11"_s,
                                   u"0x1 0xg"_s,
                                   u"0x1 -2"_s,
                                   u"0x1\n"_s,
                                   u"0x1\0"
                                   u"2"_s}) {
        EXPECT_FALSE(shouldLog(QString(attempt).replace(u"MARK"_s, mark))) << qPrintable(attempt);
        EXPECT_TRUE(written.contains(u"] printing backtrace\n"_s)) << qPrintable(written);
        EXPECT_FALSE(QFile::exists(mark)) << qPrintable(attempt);
        EXPECT_FALSE(QFile::exists(symbolizer + u" ran"_s)) << qPrintable(attempt);
    }
    EXPECT_FALSE(shouldLog(u" 1  0xAbC\t0X2 "_s));
    EXPECT_EQ(written, u"     1\tsymbol\n"_s) << "addresses do reach it";
    EXPECT_TRUE(QFile::exists(symbolizer + u" ran"_s));
}

TEST_F(ExceptionHandler, MoreAddressesThanTheShellTakesAreWrittenWithoutTheSymbolizer)
{
    writeSymbolizer("echo symbol");
    EXPECT_FALSE(shouldLog(u"0x7ffff7dd5001 "_s.repeated(10'000)));
    EXPECT_TRUE(isFallback(10'000)) << qPrintable(written.first(200));
}

TEST_F(ExceptionHandler, WhereTheSystemRefusesAPipeTheAddressesAreWrittenAsItKnowsThem)
{
    writeSymbolizer("echo symbol");
    const CapturedStandardError standardError;
    MBWExceptionHandler handler(symbolizer);
    hasPipes = false;
    const bool result = handler.exceptionHandlerShouldLogException(nullptr,
                                                                   exceptionWithStackTrace(u"0x1000"_s), 1);
    hasPipes = true;
    EXPECT_FALSE(result);
    written = standardError.text();
    EXPECT_TRUE(isFallback(1)) << qPrintable(written);
}

TEST_F(ExceptionHandler, WhatAHungSymbolizerPrintedStands)
{
    writeSymbolizer("echo symbol; exec sleep 1000");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_TRUE(written.startsWith(u"     1\tsymbol\n"_s)) << qPrintable(written);
    EXPECT_THAT(milliseconds, AllOf(Ge(5'000), Lt(6'000)));
}

TEST_F(ExceptionHandler, ASymbolizerThatDoesNotWantToEndIsEndedAfterTheSameTime)
{
    writeSymbolizer("trap '' TERM; echo symbol; while :; do sleep 1; done");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_EQ(written, u"     1\tsymbol\n"_s);
    EXPECT_THAT(milliseconds, AllOf(Ge(5'000), Lt(6'000)));
}

TEST_F(ExceptionHandler, WhatASymbolizerLeavesRunningIsEndedAfterTheSameTime)
{
    writeSymbolizer(R"(echo symbol; sh -c 'trap "" TERM; echo $$ >"$0"; exec sleep 1000' "$0 left" &)");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_EQ(written, u"     1\tsymbol\n"_s);
    EXPECT_THAT(milliseconds, AllOf(Ge(5'000), Lt(6'000)));
    EXPECT_TRUE(ends(symbolizer + u" left"_s));
}

TEST_F(ExceptionHandler, OfAHostThatIsKilledNothingStaysThatHangs)
{
    const QString hung = symbolizer + u" hangs"_s;
    writeSymbolizer("echo $$ >\"$0 starts\"; mv \"$0 starts\" \"$0 hangs\"; exec sleep 1000");
    {
        const CapturedStandardError standardError;
        const ChildProgram host({QCoreApplication::applicationDirPath() + u"/ThrowingHost-O2"_s,
                                 u"symbolizer:"_s + symbolizer, u"mask"_s, u"throw:main"_s});
        ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(hung); }));
    }
    EXPECT_TRUE(ends(hung));
}

TEST_F(ExceptionHandler, AProgramThatKeepsThePipeFromAProcessGroupOfItsOwnIsNotAwaitedLonger)
{
    writeSymbolizer(R"(echo symbol; setsid sh -c 'echo $$ >"$0"; exec sleep 1000' "$0 left" &)");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_EQ(written, u"     1\tsymbol\n"_s);
    EXPECT_THAT(milliseconds, AllOf(Ge(5'000), Lt(6'000)));
    const pid_t left = readFile(symbolizer + u" left"_s).trimmed().toInt();
    ASSERT_GT(left, 1);
    EXPECT_EQ(::kill(left, SIGKILL), 0) << "it is still there";
}

TEST_F(ExceptionHandler, ADemanglerThatHangsIsNotAwaitedLonger)
{
    writeSymbolizer("echo symbol");
    useToolsWithDemangler("echo before; echo $$ >\"$0 left\"; exec sleep 1000");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_EQ(written, u"     1\tbefore\n"_s) << "what it printed stands";
    EXPECT_THAT(milliseconds, AllOf(Ge(5'000), Lt(6'000)));
    EXPECT_TRUE(ends(home.path() + u"/tools/c++filt left"_s));
}

TEST_F(ExceptionHandler, WithoutADemanglerTheNamesAreWrittenAsTheyAre)
{
    writeSymbolizer("echo _ZN3Map4openEv at map.cpp:7");
    useToolsWithDemangler({});
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_TRUE(written.contains(u"     1\t_ZN3Map4openEv at map.cpp:7\n"_s)) << qPrintable(written);
    EXPECT_TRUE(written.contains(u"c++filt"_s)) << "what is missing is told";
    EXPECT_EQ(written.count(u'\n'), 2);
}

TEST_F(ExceptionHandler, WhatAKilledSymbolizerPrintedStands)
{
    writeSymbolizer("echo symbol; kill -KILL $$");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_TRUE(written.contains(u"     1\tsymbol\n"_s)) << qPrintable(written);
    EXPECT_LT(milliseconds, 4'000);
}

TEST_F(ExceptionHandler, AMegabyteOfSymbolsIsWrittenWhole)
{
    writeSymbolizer("yes symbol | head -c 1000000");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_EQ(written.count(u"\tsymbol\n"_s), 1'000'000 / 7);
    EXPECT_TRUE(written.endsWith(u"\ts"_s)) << "a line that was cut";
}

TEST_F(ExceptionHandler, OfASymbolizerThatPrintsForEverFourMebibytesStand)
{
    constexpr qsizetype limit = 4 * 1024 * 1024;
    for (const char *const script : {"exec yes symbol", "exec yes symbol >&2"}) {
        writeSymbolizer(script);
        EXPECT_FALSE(shouldLog(u"0x1000"_s));
        EXPECT_TRUE(written.startsWith(u"     1\tsymbol\n     2\tsymbol\n"_s))
            << qPrintable(written.first(100));
        EXPECT_THAT(written.size(), AllOf(Ge(limit), Lt(limit + 512)));
        EXPECT_LT(milliseconds, 5'000);
    }
}

TEST_F(ExceptionHandler, ASymbolizerThatFailsOrCannotRunLeavesNoLines)
{
    writeSymbolizer("exit 1");
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_EQ(written, QString());
    QFile::setPermissions(symbolizer, QFile::ReadOwner);
    EXPECT_FALSE(shouldLog(u"0x1000"_s));
    EXPECT_TRUE(written.contains(u"Permission denied"_s)) << qPrintable(written);
}

TEST_F(ExceptionHandler, AnExceptionWhileLoggingIsLoggedInItsStead)
{
    QMetaType::registerConverter<UnreadableStackTrace, QString>(
        [](const UnreadableStackTrace &) -> QString { throw NSException(u"MapException"_s, u"no south"_s); });
    EXPECT_TRUE(shouldLog(QVariant::fromValue(UnreadableStackTrace())));
    EXPECT_TRUE(written.endsWith(u"] Hot damn! We got an exception while logging an exception: "
                                 "MapException: no south\n"_s))
        << qPrintable(written);
    EXPECT_EQ(written.count(u'\n'), 1);
}

TEST_F(ExceptionHandler, AnExceptionWhileLoggingMayBeOfAnyType)
{
    QMetaType::registerConverter<UnreadableStackTrace, QString>(
        [](const UnreadableStackTrace &) -> QString { throw 42; });
    EXPECT_TRUE(shouldLog(QVariant::fromValue(UnreadableStackTrace())));
    EXPECT_TRUE(written.endsWith(u"] Hot damn! We got an exception while logging an exception: int\n"_s))
        << qPrintable(written);
}

TEST_F(ExceptionHandler, TwoThreadsMayLogAtOnce)
{
    writeSymbolizer("echo symbol of $5");
    const CapturedStandardError standardError;
    MBWExceptionHandler handler(symbolizer);
    const auto log = [&](const QString &address) {
        for (int count = 0; count < 20; ++count)
            EXPECT_FALSE(
                handler.exceptionHandlerShouldLogException(nullptr, exceptionWithStackTrace(address), 1));
    };
    std::thread other([&] { log(u"0x1"_s); });
    log(u"0x2"_s);
    other.join();
    EXPECT_EQ(standardError.text().count(u"     1\tsymbol of 0x0\n"_s), 20);
    EXPECT_EQ(standardError.text().count(u"     1\tsymbol of 0x1\n"_s), 20);
}

TEST_F(ExceptionHandler, AStandardErrorThatNobodyReadsEndsNothing)
{
    writeSymbolizer("echo symbol");
    int pipe[2] = {-1, -1};
    ASSERT_EQ(::pipe(pipe), 0);
    ::close(pipe[0]);
    const int original = ::dup(STDERR_FILENO);
    ::dup2(pipe[1], STDERR_FILENO);
    MBWExceptionHandler handler(symbolizer);
    const bool withSymbolizer = handler.exceptionHandlerShouldLogException(
        nullptr, exceptionWithStackTrace(u"0x1"_s), 1);
    const bool without = handler.exceptionHandlerShouldLogException(nullptr,
                                                                    exceptionWithStackTrace(u"0x1 map"_s), 1);
    ::dup2(original, STDERR_FILENO);
    EXPECT_FALSE(withSymbolizer);
    EXPECT_FALSE(without);
}

TEST_F(ExceptionHandler, AProcessThatCannotBeLookedIntoHasTheSymbolizersMessageForALog)
{
    ASSERT_TRUE(QFile::exists(u"/usr/bin/eu-addr2line"_s));
    const CapturedStandardError standardError;
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(), [] {
        ::prctl(PR_SET_DUMPABLE, 0);
        MBWExceptionHandler handler;
        return !handler.exceptionHandlerShouldLogException(nullptr, exceptionWithStackTrace(u"0x1000"_s), 1);
    }));
    EXPECT_TRUE(standardError.text().contains(u"eu-addr2line: "_s)) << qPrintable(standardError.text());
}
