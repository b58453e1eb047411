// What a crash leaves where the helper program fails, and what the host's own doings change.

#include <Marblewick/MBWCrashReporter.h>

#include "Tests/CrashReporter/CrashedHost.h"
#include "Tests/Support/MountNamespace.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <csignal>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

void expectDeath(const CrashedHost &host, int signal = SIGSEGV)
{
    EXPECT_EQ(host.signal(), signal) << host.exitStatus() << host.output().constData();
    EXPECT_TRUE(host.hasDumpedCore());
}

/*! The log that the process writes itself. */
void expectMinimalLog(const CrashedHost &host)
{
    const QJsonObject body = host.body();
    EXPECT_EQ(host.header()[u"app_name"_s].toString(), u"Crashing Host"_s);
    EXPECT_EQ(body[u"exception"_s][u"signal"_s].toString(), u"SIGSEGV"_s);
    const QJsonArray threads = body[u"threads"_s].toArray();
    ASSERT_EQ(threads.size(), 1);
    EXPECT_TRUE(threads[0][u"triggered"_s].toBool());
    EXPECT_GT(threads[0][u"threadState"_s].toObject().size(), 16);
    EXPECT_GT(threads[0][u"frames"_s][0][u"imageOffset"_s].toInteger(), 0);
    EXPECT_EQ(body[u"usedImages"_s][0][u"name"_s].toString(), u"CrashingHost"_s);
}

/*! The helper that the test named has nothing of it running any more. */
bool isRunning(const QString &program)
{
    for (const QString &process : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        if (QFile::symLinkTarget(u"/proc/"_s + process + u"/exe"_s) == program)
            return true;
    }
    return false;
}

class FailingHelper : public ::testing::TestWithParam<const char *>
{
protected:
    QString path() const { return m_folder.path() + u'/' + QLatin1StringView(GetParam()); }
    void SetUp() override
    {
        EXPECT_TRUE(QFile::copy(QCoreApplication::applicationDirPath() + u"/StandInHelper"_s, path()));
    }

private:
    const QTemporaryDir m_folder;
};

} // namespace

TEST_P(FailingHelper, LeavesTheLogToTheProcessItselfAndNothingElse)
{
    const CrashedHost host({u"helper="_s + path(), u"SIGSEGV"_s});
    expectDeath(host);
    expectMinimalLog(host);
    EXPECT_FALSE(isRunning(path()));
}

INSTANTIATE_TEST_SUITE_P(Of, FailingHelper,
                         ::testing::Values("fails", "lies", "is-killed", "closes-its-input", "hangs",
                                           "hangs-in-the-middle"));

TEST(MBWCrashLogWriter, AMissingHelperLeavesTheLogToTheProcessItself)
{
    const CrashedHost host({u"helper=/nonexistent"_s, u"SIGSEGV"_s});
    expectDeath(host);
    expectMinimalLog(host);
}

TEST(MBWCrashLogWriter, WhatAThreadPrintsToClosedStreamsDoesNotGoIntoTheLog)
{
    for (const QString &helper : {u"helper="_s, u"helper=/nonexistent"_s}) {
        const CrashedHost host({helper, u"closed streams"_s, u"printing thread"_s, u"SIGSEGV"_s});
        expectDeath(host);
        EXPECT_EQ(host.header()[u"app_name"_s].toString(), u"Crashing Host"_s);
        EXPECT_EQ(host.body()[u"exception"_s][u"signal"_s].toString(), u"SIGSEGV"_s);
    }
}

TEST(MBWCrashLogWriter, AHelperThatHangsIsGivenThreeSeconds)
{
    const QTemporaryDir folder;
    const QString helper = folder.path() + u"/hangs"_s;
    ASSERT_TRUE(QFile::copy(QCoreApplication::applicationDirPath() + u"/StandInHelper"_s, helper));
    const CrashedHost host({u"helper="_s + helper, u"SIGSEGV"_s});
    EXPECT_GE(host.milliseconds(), 3000);
    EXPECT_LT(host.milliseconds(), 5000);
}

TEST(MBWCrashLogWriter, ASandboxThatForbidsNewProcessesLeavesTheLogToTheProcessItself)
{
    const CrashedHost host({u"no new processes"_s, u"SIGSEGV"_s});
    expectDeath(host);
    expectMinimalLog(host);
}

TEST(MBWCrashLogWriter, AnOverflowOfTheStackIsLoggedWithoutAHelperToo)
{
    for (const QString &way : {u"overflow"_s, u"overflow in thread"_s}) {
        const CrashedHost host({u"helper=/nonexistent"_s, way});
        expectDeath(host);
        expectMinimalLog(host);
    }
}

TEST(MBWCrashLogWriter, ACrashOfTheHandlerEndsTheHelperAndLeavesTheLogToTheProcessItself)
{
    const CrashedHost host({u"handler crashes"_s, u"SIGABRT"_s});
    expectDeath(host, SIGABRT);
    EXPECT_EQ(host.body()[u"exception"_s][u"signal"_s].toString(), u"SIGABRT"_s);
}

TEST(MBWCrashLogWriter, ASecondCrashOfTheHandlerLeavesNothingAndTheFirstSignal)
{
    const CrashedHost host({u"handler crashes twice"_s, u"SIGABRT"_s});
    expectDeath(host, SIGABRT);
    EXPECT_EQ(host.files(), QStringList());
}

TEST(MBWCrashLogWriter, AProcessThatLetsNobodyLookAtItDoesSoAgainAfterACrashOfTheHandler)
{
    const CrashedHost host({u"not dumpable"_s, u"handler crashes beside its helper"_s, u"SIGABRT"_s});
    EXPECT_EQ(host.signal(), SIGABRT);
    EXPECT_FALSE(host.hasDumpedCore());
    EXPECT_EQ(host.body()[u"exception"_s][u"signal"_s].toString(), u"SIGABRT"_s);
}

TEST(MBWCrashLogWriter, AProcessThatGaveUpItsPrivilegesStaysHiddenFromItsNewUser)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root has privileges to give up";
    const QTemporaryDir folder;
    QFile::setPermissions(folder.path(), QFile::Permissions(0x7777));
    const QString helper = folder.path() + u"/helper"_s;
    const QString answer = folder.path() + u"/answer"_s;
    writeFile(helper, "#!/bin/sh\nhead -c 1 >/dev/null\n" // The record comes when it may observe the process.
                      "readlink /proc/$PPID/exe >/dev/null && a=seen || a=hidden\necho $a >"
                          + answer.toUtf8() + '\n');
    QFile::setPermissions(helper, QFile::Permissions(0x7755));
    const CrashedHost host({u"helper="_s + helper, u"dropped privileges"_s, u"SIGSEGV"_s});
    EXPECT_EQ(host.signal(), SIGSEGV);
    EXPECT_EQ(readFile(answer), "hidden\n");
}

TEST(MBWCrashLogWriter, AReadOnlyFolderLeavesNothing)
{
    const QTemporaryDir folder;
    qputenv("TMPDIR", folder.path().toUtf8());
    EXPECT_TRUE(resultInUnprivilegedChild(folder.path(), [] {
        const CrashedHost host({u"read-only folder"_s, u"SIGSEGV"_s});
        expectDeath(host);
        EXPECT_EQ(host.files(), QStringList());
        return !::testing::Test::HasFailure();
    }));
}

TEST(MBWCrashLogWriter, AFileInThePlaceOfTheFolderStaysAsItIs)
{
    const CrashedHost host({u"file for folder"_s, u"SIGSEGV"_s});
    expectDeath(host);
    EXPECT_EQ(readFile(host.logFolder()), QByteArray());
}

TEST(MBWCrashLogWriter, AFullDiskLeavesNothing)
{
    if (!enterMountNamespace())
        GTEST_SKIP() << "this system lets nobody mount";
    const QTemporaryDir folder;
    ASSERT_EQ(::mount("full", qPrintable(folder.path()), "tmpfs", 0, "size=64k"), 0);
    qputenv("TMPDIR", folder.path().toUtf8());
    QFile filler(folder.path() + u"/filler"_s);
    ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    const CrashedHost host({u"no core dumps"_s, u"full disk="_s + filler.fileName(), u"SIGSEGV"_s});
    EXPECT_EQ(host.signal(), SIGSEGV);
    EXPECT_EQ(host.files(), QStringList());
}

TEST(MBWCrashLogWriter, ALimitOfTheSizeOfFilesLeavesNothingAndTheFirstSignal)
{
    // Who may raise the limit lets the helper raise it.
    const CrashedHost host({u"helper=/nonexistent"_s, u"small files only"_s, u"SIGABRT"_s});
    EXPECT_EQ(host.signal(), SIGABRT);
    EXPECT_EQ(host.files(), QStringList());
}

TEST(MBWCrashLogWriter, AHandlerThatTheHostHadBeforeIsCalledWithTheSameSignalAfterTheLogIsWritten)
{
    const CrashedHost host({u"former handler"_s, u"SIGSEGV"_s});
    EXPECT_EQ(host.exitStatus(), 42);
    EXPECT_EQ(host.output(), "former handler\n");
    EXPECT_EQ(host.functionsOfCrashedThread().value(0), u"writeThrough"_s);
}

TEST(MBWCrashLogWriter, ACrashThatAFormerHandlerMakesOfItDoesNotReplaceTheLog)
{
    for (const QString &handler : {u"aborting handler"_s, u"aborting handler that blocks nothing"_s}) {
        const CrashedHost host({handler, u"SIGSEGV"_s});
        expectDeath(host, SIGABRT);
        EXPECT_EQ(host.body()[u"exception"_s][u"signal"_s].toString(), u"SIGSEGV"_s);
    }
}

TEST(MBWCrashLogWriter, AFormerHandlerThatReturnsLetsTheHostGoOnWithoutAChildThatItDidNotStart)
{
    const CrashedHost host({u"returning handler"_s, u"SIGTRAP"_s});
    EXPECT_EQ(host.exitStatus(), 0);
    EXPECT_EQ(host.output(), "");
    EXPECT_EQ(host.body()[u"exception"_s][u"signal"_s].toString(), u"SIGTRAP"_s);
}

TEST(MBWCrashLogWriter, AThreadThatSurvivedACrashIsLoggedWhenItDiesOfAnother)
{
    const CrashedHost host({u"returning handler"_s, u"SIGTRAP, then SIGSEGV"_s});
    expectDeath(host);
    // Of the same second, the later log takes the place of the earlier one.
    ASSERT_FALSE(host.files().isEmpty());
    const QByteArray last = readFile(host.logFolder() + u'/' + host.files().last());
    EXPECT_TRUE(last.contains(R"("signal":"SIGSEGV")")) << last.constData();
}

TEST(MBWCrashLogWriter, AThreadThatIsCancelledWhileItsCrashIsWrittenDiesByTheSignal)
{
    const CrashedHost host({u"cancelled in handler"_s, u"SIGSEGV"_s});
    expectDeath(host);
    EXPECT_EQ(host.functionsOfCrashedThread().value(0), u"writeThrough"_s);
}

TEST(MBWCrashLogWriter, ASignalThatTheHostIgnoresStaysIgnored)
{
    const CrashedHost host({u"ignored SIGTRAP"_s, u"raise SIGTRAP"_s});
    EXPECT_EQ(host.exitStatus(), 0);
    EXPECT_EQ(host.files(), QStringList());
}

TEST(MBWCrashLogWriter, AFaultAndAnAbortEndAHostThatIgnoresTheirSignals)
{
    const CrashedHost faulty({u"ignored SIGSEGV"_s, u"SIGSEGV"_s});
    expectDeath(faulty);
    EXPECT_EQ(faulty.files().size(), 1);
    const CrashedHost aborted({u"ignored SIGABRT"_s, u"SIGABRT"_s});
    expectDeath(aborted, SIGABRT);
    EXPECT_EQ(aborted.files().size(), 1);
}

TEST(MBWCrashLogWriter, AnExceptionOfAnyTypeIsLoggedWithItsType)
{
    const CrashedHost host({u"number"_s});
    expectDeath(host, SIGABRT);
    const QString message = host.body()[u"asi"_s][u"libstdc++.so.6"_s][0].toString();
    EXPECT_TRUE(message.endsWith(u" int"_s)) << qPrintable(message);
}

TEST(MBWCrashLogWriter, AnExceptionWhoseTextThrowsOrCrashesIsLoggedWithItsType)
{
    const CrashedHost throwing({u"throwing explanation"_s});
    expectDeath(throwing, SIGABRT);
    EXPECT_TRUE(
        throwing.body()[u"asi"_s][u"libstdc++.so.6"_s][0].toString().contains(u"ThrowingExplanation"_s));
    const CrashedHost crashing({u"crashing explanation"_s});
    expectDeath(crashing, SIGSEGV);
    EXPECT_TRUE(
        crashing.body()[u"asi"_s][u"libstdc++.so.6"_s][0].toString().contains(u"CrashingExplanation"_s));
}

TEST(MBWCrashLogWriter, BeforeThereIsAnApplicationObjectTheLogHasTheNameOfTheExecutable)
{
    const CrashedHost host({u"before application"_s, u"SIGSEGV"_s});
    EXPECT_TRUE(host.files().value(0).startsWith(u"CrashingHost_"_s)) << qPrintable(host.files().join(u' '));
}

TEST(MBWCrashLogWriter, TheDiscoveryFindsTheLogOfAHostThatWasRenamedWhateverIsInTheName)
{
    const CrashedHost host({u"renamed"_s, u"SIGSEGV"_s});
    MBWCrashReporter reporter;
    reporter.setApplicationNames({u"Käfer/Co\n\"2\""_s});
    EXPECT_EQ(host.header()[u"app_name"_s].toString(), u"Käfer/Co\n\"2\""_s);
    ASSERT_EQ(reporter.getLatestCrashLogs().size(), 1);
    EXPECT_TRUE(reporter.getLatestCrashLogs().first().contains(u"/Käfer:Co\n\"2\"_"_s));
}
