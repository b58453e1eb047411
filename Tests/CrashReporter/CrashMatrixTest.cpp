// Every way to crash, in every condition, with the real helper program.

#include "Tests/CrashReporter/CrashedHost.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSysInfo>

#include <csignal>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct Crash
{
    const char *name;
    QStringList arguments;
    int signal;
    /*! The innermost function of the host's own. */
    QString function;
    /*! The signal's cause; none but a write through a null pointer has the address 0. */
    int code = SEGV_MAPERR;
    /*! Whether it was a function of a library, which the host's called, that crashed or raised the signal. */
    bool isInLibrary = false;
};

constexpr int seccomp = 1; // SYS_SECCOMP, which only the kernel's headers have

void PrintTo(const Crash &crash, std::ostream *stream) { *stream << crash.name; }

std::string nameOfCrash(const ::testing::TestParamInfo<Crash> &parameter) { return parameter.param.name; }

void expectSignalAndCore(const CrashedHost &host, int signal)
{
    EXPECT_EQ(host.signal(), signal) << host.exitStatus() << host.output().constData();
    EXPECT_TRUE(host.hasDumpedCore());
}

void expectName(const CrashedHost &host)
{
    const QRegularExpression pattern(
        u"^Crashing Host_\\d{4}-\\d\\d-\\d\\d-\\d{6}_%1\\.ips$"_s.arg(host.body()[u"pid"_s].toInt()));
    ASSERT_EQ(host.files().size(), 1) << qPrintable(host.files().join(u' '));
    const QString name = host.files().first();
    EXPECT_TRUE(pattern.match(name).hasMatch()) << qPrintable(name);
}

QString hexadecimal(quint64 number) { return u"0x%1"_s.arg(number, 16, 16, QChar(u'0')); }

void expectCause(const CrashedHost &host, const Crash &crash)
{
    const QJsonValue exception = host.body()[u"exception"_s];
    EXPECT_EQ(exception[u"signal"_s].toString(), u"SIG"_s + QLatin1StringView(::sigabbrev_np(crash.signal)));
    const QStringList codes = exception[u"codes"_s].toString().split(u", "_s);
    ASSERT_EQ(codes.size(), 2);
    EXPECT_EQ(codes[0], hexadecimal(static_cast<quint64>(crash.code)));
    const bool hasAddress = crash.code > 0 && crash.code != SI_KERNEL && crash.function != u"writeThrough"_s;
    EXPECT_EQ(codes[1] != hexadecimal(0), hasAddress) << qPrintable(codes[1]);
}

void expectTimeAndSystem(const CrashedHost &host)
{
    const QString time = host.body()[u"captureTime"_s].toString(); // 2026-11-21 14:17:38.1234 +0100
    const QDateTime crashed = QDateTime::fromString(time.left(10) + u'T' + time.mid(11, 8) + time.right(5),
                                                    Qt::ISODate);
    const qint64 age = crashed.secsTo(QDateTime::currentDateTime());
    EXPECT_TRUE(age >= 0 && age < 60) << qPrintable(time);
    const QJsonValue system = host.body()[u"osVersion"_s];
    EXPECT_EQ(system[u"train"_s].toString(), QSysInfo::prettyProductName());
    EXPECT_TRUE(system[u"build"_s].toString().contains(QSysInfo::kernelVersion()));
}

void expectFields(const CrashedHost &host, int signal)
{
    const QJsonObject header = host.header();
    EXPECT_EQ(header[u"app_name"_s].toString(), u"Crashing Host"_s);
    EXPECT_EQ(header[u"app_version"_s].toString(), u"1.2.3"_s);
    EXPECT_EQ(header[u"bug_type"_s].toString(), u"309"_s);
    const QJsonObject body = host.body();
    EXPECT_EQ(body[u"termination"_s][u"code"_s].toInt(), signal);
    EXPECT_TRUE(body[u"procPath"_s].toString().endsWith(u"/CrashingHost"_s));
    const QJsonValue thread = body[u"threads"_s][body[u"faultingThread"_s].toInt()];
    EXPECT_TRUE(thread[u"triggered"_s].toBool());
    EXPECT_GT(thread[u"threadState"_s].toObject().size(), 16);
}

/*! What only the helper can find out. */
void expectWrittenByHelper(const CrashedHost &host)
{
    EXPECT_FALSE(host.body()[u"usedImages"_s][0][u"uuid"_s].toString().isEmpty());
}

/*! Above the host's function are at most those of libraries. */
void expectInnermostFunction(const CrashedHost &host, const Crash &crash)
{
    const QStringList functions = host.functionsOfCrashedThread();
    const qsizetype frame = functions.indexOf(crash.function);
    if (!crash.isInLibrary)
        EXPECT_EQ(frame, 0) << qPrintable(functions.join(u' '));
    else
        EXPECT_GT(frame, 0) << qPrintable(functions.join(u' '));
    for (const QString &image : host.imagesOfCrashedThread().first(qMax<qsizetype>(frame, 0)))
        EXPECT_TRUE(image.startsWith(u"lib"_s)) << qPrintable(image);
}

void expectLog(const Crash &crash)
{
    const CrashedHost host(crash.arguments);
    expectSignalAndCore(host, crash.signal);
    expectName(host);
    expectFields(host, crash.signal);
    expectWrittenByHelper(host);
    expectCause(host, crash);
    expectTimeAndSystem(host);
    expectInnermostFunction(host, crash);
}

class CrashMatrix : public ::testing::TestWithParam<Crash>
{ };

bool isOrdinaryUserAbleToRunTheHost()
{
    // The folders above the program may be closed to others.
    return QFileInfo(QCoreApplication::applicationDirPath() + u"/CrashingHost"_s).isExecutable();
}

} // namespace

TEST_P(CrashMatrix, LeavesTheLogAndDiesAsItWouldHave) { expectLog(GetParam()); }

TEST_P(CrashMatrix, LeavesTheLogAndDiesAsItWouldHaveWithoutBeingRoot)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "this is no root";
    const QTemporaryDir folder;
    qputenv("TMPDIR", folder.path().toUtf8());
    EXPECT_TRUE(resultInUnprivilegedChild(folder.path(), [] {
        EXPECT_TRUE(isOrdinaryUserAbleToRunTheHost());
        expectLog(GetParam());
        return !HasFailure();
    }));
}

INSTANTIATE_TEST_SUITE_P(
    Of, CrashMatrix,
    ::testing::Values(
        Crash{"SIGSEGV", {u"SIGSEGV"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"SIGABRT", {u"SIGABRT"_s}, SIGABRT, u"callAbort"_s, SI_TKILL, true},
        Crash{"SIGBUS", {u"SIGBUS"_s}, SIGBUS, u"readBehindEndOfFile"_s, BUS_ADRERR},
        Crash{"SIGFPE", {u"SIGFPE"_s}, SIGFPE, u"divideByZero"_s, FPE_INTDIV},
        Crash{"SIGILL", {u"SIGILL"_s}, SIGILL, u"executeNoInstruction"_s, ILL_ILLOPN},
        Crash{"SIGTRAP", {u"SIGTRAP"_s}, SIGTRAP, u"hitBreakpoint"_s, SI_KERNEL},
        Crash{"SIGSYS", {u"SIGSYS"_s}, SIGSYS, u"callForbiddenFunction"_s, seccomp, true},
        Crash{"ASignalOfAnotherProcess", {u"kill SIGSEGV"_s}, SIGSEGV, u"killItself"_s, SI_USER, true},
        Crash{"AThread", {u"thread"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"AQtThread", {u"QThread"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"EightThreads", {u"threads=8"_s, u"SIGSEGV"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"AThreadAmongThirtyTwo", {u"threads=32"_s, u"thread"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"TwoHundredFiftySixThreads", {u"threads=255"_s, u"SIGSEGV"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"StackOverflow", {u"overflow"_s}, SIGSEGV, u"overflowStack"_s},
        Crash{"StackOverflowOfAThread", {u"overflow in thread"_s}, SIGSEGV, u"overflowStack"_s, SEGV_ACCERR},
        Crash{
            "StackOverflowOfAQtThread", {u"overflow in QThread"_s}, SIGSEGV, u"overflowStack"_s, SEGV_ACCERR},
        Crash{"StackOverflowOfAThreadWithASmallStack",
              {u"overflow in thread with small stack"_s},
              SIGSEGV,
              u"overflowStack"_s,
              SEGV_ACCERR},
        Crash{"TwoThreadsAtOnce", {u"two threads"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"RefusedPtrace", {u"no ptrace"_s, u"threads=8"_s, u"SIGSEGV"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"AMissingFolder", {u"no folder"_s, u"SIGSEGV"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"ClosedStandardStreams", {u"closed streams"_s, u"SIGSEGV"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"NoFreeDescriptors", {u"no descriptors"_s, u"SIGSEGV"_s}, SIGSEGV, u"writeThrough"_s},
        Crash{"AnUncaughtException", {u"exception"_s}, SIGABRT, u"throwRuntimeError"_s, SI_TKILL, true},
        Crash{"AnUncaughtExceptionInAThread",
              {u"exception in thread"_s},
              SIGABRT,
              u"throwRuntimeError"_s,
              SI_TKILL,
              true}),
    &nameOfCrash);

#ifndef __SANITIZE_ADDRESS__ // It has an allocator of its own, which sees these mistakes itself.
INSTANTIATE_TEST_SUITE_P(
    OfTheHeap, CrashMatrix,
    ::testing::Values(
        Crash{"WithTheMallocLockHeld",
              {u"malloc lock"_s},
              SIGSEGV,
              u"crashWithMallocLockHeld"_s,
              SEGV_ACCERR,
              true},
        Crash{"FreeingWhatWasNotAllocated",
              {u"bad free"_s},
              SIGABRT,
              u"freeWhatWasNotAllocated"_s,
              SI_TKILL,
              true},
        Crash{"WithACorruptHeap", {u"corrupt heap"_s}, SIGABRT, u"corruptHeap"_s, SI_TKILL, true}),
    &nameOfCrash);
#endif

TEST(CrashMatrixThreads, EveryThreadIsInTheLogWithItsNameAndItsFrames)
{
    const CrashedHost host({u"threads=255"_s, u"SIGSEGV"_s});
    const QJsonArray threads = host.body()[u"threads"_s].toArray();
    ASSERT_EQ(threads.size(), 256);
    for (qsizetype index = 0; index < threads.size(); ++index) {
        if (index == host.body()[u"faultingThread"_s].toInt())
            continue;
        EXPECT_THAT(threads[index][u"name"_s].toString().toStdString(), ::testing::StartsWith("worker "));
        EXPECT_GT(threads[index][u"frames"_s].toArray().size(), 2) << index;
    }
}

TEST(CrashMatrixThreads, TheOtherThreadsAreListedWherePtraceIsRefused)
{
    const CrashedHost host({u"no ptrace"_s, u"threads=8"_s, u"SIGSEGV"_s});
    EXPECT_EQ(host.body()[u"threads"_s].toArray().size(), 9);
}

TEST(CrashMatrixExceptions, TypeAndTextOfAnUncaughtExceptionAreInTheLog)
{
    const CrashedHost host({u"exception"_s});
    const QString message = host.body()[u"asi"_s][u"libstdc++.so.6"_s][0].toString();
    EXPECT_TRUE(message.endsWith(u"std::runtime_error: the map is upside down"_s)) << qPrintable(message);
}

TEST(CrashMatrixRights, OnlyTheUserMayReadAndWriteTheLogWhateverTheUmask)
{
    const CrashedHost host({u"closed umask"_s, u"SIGSEGV"_s});
    struct stat status = {};
    ASSERT_EQ(::stat(qPrintable(host.logFolder() + u'/' + host.files().value(0)), &status), 0);
    EXPECT_EQ(status.st_mode & ALLPERMS, S_IRUSR | S_IWUSR);
}

TEST(CrashMatrixFork, AForkedChildsCrashIsLoggedWithItsOwnProcessId)
{
    const CrashedHost host({u"fork"_s});
    EXPECT_EQ(host.exitStatus(), 0);
    EXPECT_EQ(host.body()[u"pid"_s].toInt(), host.output().trimmed().toInt());
    EXPECT_EQ(host.functionsOfCrashedThread().value(0), u"writeThrough"_s);
}

TEST(CrashMatrixFork, AForkedChildsStackMayOverflow)
{
    for (const QString &way : {u"overflow in fork"_s, u"overflow in fork of thread"_s}) {
        const CrashedHost host({way});
        EXPECT_EQ(host.exitStatus(), 0);
        EXPECT_EQ(host.body()[u"pid"_s].toInt(), host.output().trimmed().toInt());
        EXPECT_EQ(host.functionsOfCrashedThread().value(0), u"overflowStack"_s);
    }
}

TEST(CrashMatrixRights, AProcessThatLetsNobodyLookAtItHasItsFramesAndNoCoreDump)
{
    const CrashedHost host({u"not dumpable"_s, u"SIGSEGV"_s});
    EXPECT_EQ(host.signal(), SIGSEGV);
    EXPECT_FALSE(host.hasDumpedCore());
    EXPECT_EQ(host.functionsOfCrashedThread().value(0), u"writeThrough"_s);
}
