// What install() does, in the test's own process.

#include <Marblewick/MBWCrashLogWriter.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThread>

#include <csignal>
#include <pthread.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using Marblewick::NSError;

namespace {

bool hasAlternateStack()
{
    stack_t stack = {};
    ::sigaltstack(nullptr, &stack);
    return (stack.ss_flags & SS_DISABLE) == 0;
}

bool hasHandler(int signal)
{
    struct sigaction action = {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler != SIG_DFL;
}

void writeLogs(const QString &folder, const QString &name, int count)
{
    for (int day = 1; day <= count; ++day)
        writeFile(folder + u"/%1_2026-01-%2-120000_4711.ips"_s.arg(name).arg(day, 2, 10, QChar(u'0')), "{}");
}

} // namespace

TEST(MBWCrashLogWriterInstall, MakesTheFolder)
{
    const TemporaryHome home;
    ASSERT_TRUE(MBWCrashLogWriter::install());
    EXPECT_TRUE(QDir(home.stateFolder() + u"/Logs/DiagnosticReports"_s).exists());
}

TEST(MBWCrashLogWriterInstall, AFolderThatCannotBeMadeIsAnErrorAndNothingIsInstalled)
{
    const TemporaryHome home;
    writeFile(home.stateFolder() + u"/Logs"_s, "no folder");
    const bool hadHandler = hasHandler(SIGSEGV);
    NSError error;
    EXPECT_FALSE(MBWCrashLogWriter::install(&error));
    EXPECT_EQ(error.domain(), Marblewick::NSPOSIXErrorDomain);
    EXPECT_EQ(error.code(), ENOTDIR);
    EXPECT_EQ(hasHandler(SIGSEGV), hadHandler);
    EXPECT_FALSE(hasHandler(SIGTRAP));
}

TEST(MBWCrashLogWriterInstall, ASecondCallChangesNoHandler)
{
    const TemporaryHome home;
    ASSERT_TRUE(MBWCrashLogWriter::install());
    std::signal(SIGTRAP, SIG_IGN);
    EXPECT_TRUE(MBWCrashLogWriter::install());
    struct sigaction action = {};
    ::sigaction(SIGTRAP, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_IGN);
}

TEST(MBWCrashLogWriterInstall, AMissingHelperIsALineInTheProcessLog)
{
    const TemporaryHome home;
    const CapturedStandardError log;
    EXPECT_TRUE(MBWCrashLogWriter::installWithHelperAtPath(u"/nonexistent/helper"_s));
    EXPECT_TRUE(log.text().contains(u"/nonexistent/helper"_s)) << qPrintable(log.text());
}

#ifndef __SANITIZE_ADDRESS__ // Its search for leaks may not look at such a program.
TEST(MBWCrashLogWriterInstall, AProgramWithMoreRightsThanItsUserIsRefused)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can make such a program";
    const TemporaryHome home;
    const QString program = home.path() + u"/CrashingHost"_s;
    ASSERT_TRUE(QFile::copy(QCoreApplication::applicationDirPath() + u"/CrashingHost"_s, program));
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(::chown(qPrintable(program), nobody, nobody), 0);
    ASSERT_EQ(::chmod(qPrintable(program), 06755), 0);
    ASSERT_EQ(::chmod(qPrintable(home.path()), 0755), 0);
    ChildProgram host({program, u"nothing"_s});
    EXPECT_EQ(host.exitStatus(), EXIT_FAILURE);
    EXPECT_TRUE(host.output().contains("Error Domain=NSPOSIXErrorDomain Code=1 "))
        << host.output().constData();
}
#endif

TEST(MBWCrashLogWriterInstall, EveryLaterThreadHasAnAlternateStackUntilItEnds)
{
    const TemporaryHome home;
    ASSERT_TRUE(MBWCrashLogWriter::install());
    EXPECT_TRUE(hasAlternateStack());
    bool isThere[3] = {};
    std::thread([&] { isThere[0] = hasAlternateStack(); }).join();

    const std::unique_ptr<QThread> qtThread(QThread::create([&] { isThere[1] = hasAlternateStack(); }));
    qtThread->start();
    qtThread->wait();

    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, 128 * 1024);
    pthread_t thread = {};
    const auto run = [](void *result) -> void * {
        *static_cast<bool *>(result) = hasAlternateStack();
        return result;
    };
    ASSERT_EQ(::pthread_create(&thread, &attributes, run, &isThere[2]), 0);
    void *result = nullptr;
    ::pthread_join(thread, &result);
    EXPECT_EQ(result, &isThere[2]);
    EXPECT_TRUE(isThere[0] && isThere[1] && isThere[2]);
}

#if !defined(__SANITIZE_ADDRESS__)                                                                           \
    && !defined(__SANITIZE_THREAD__) // They map memory for each thread themselves.
TEST(MBWCrashLogWriterInstall, TheAlternateStackIsFreedHoweverTheThreadEnds)
{
    const TemporaryHome home;
    ASSERT_TRUE(MBWCrashLogWriter::install());
    const auto returns = [](void *) -> void * { return nullptr; };
    const auto exits = [](void *) -> void * { ::pthread_exit(nullptr); };
    const auto isCancelled = [](void *) -> void * {
        for (;;)
            ::pause();
    };
    const auto runThreads = [&] {
        for (void *(*routine)(void *) : {+returns, +exits, +isCancelled}) {
            for (int count = 0; count < 50; ++count) {
                pthread_t thread = {};
                ::pthread_create(&thread, nullptr, routine, nullptr);
                if (routine == +isCancelled)
                    ::pthread_cancel(thread);
                ::pthread_join(thread, nullptr);
            }
        }
    };
    const auto mappings = [] { return readFile(u"/proc/self/maps"_s).count('\n'); };
    runThreads(); // The C library keeps some stacks of ended threads.
    const qsizetype before = mappings();
    runThreads();
    EXPECT_LE(mappings(), before + 2);
}
#endif

TEST(MBWCrashLogWriterInstall, KeepsTheTwentyNewestOfTheHostsOwnLogs)
{
    const TemporaryHome home;
    QCoreApplication::setApplicationName(u"App"_s);
    const QString folder = home.diagnosticReportsFolder();
    writeLogs(folder, u"App"_s, 25);
    writeLogs(folder, u"App_Helper"_s, 25);
    ASSERT_TRUE(MBWCrashLogWriter::install());
    const QStringList own = QDir(folder).entryList({u"App_2*"_s}, QDir::Files, QDir::Name);
    EXPECT_EQ(own.size(), 20);
    EXPECT_TRUE(own.value(0).startsWith(u"App_2026-01-06"_s)) << qPrintable(own.value(0));
    EXPECT_EQ(QDir(folder).entryList({u"App_Helper_*"_s}, QDir::Files).size(), 25);
}

TEST(MBWCrashLogWriterInstall, RemovesOldLogsOfANameThatIsTooLongForAFile)
{
    const TemporaryHome home;
    const QString folder = home.diagnosticReportsFolder();
    writeLogs(folder, QString(222, u'x'), 21);
    ASSERT_TRUE(MBWCrashLogWriter::install());
    QCoreApplication::setApplicationName(QString(230, u'x'));
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 20);
}

TEST(MBWCrashLogWriterInstall, RemovesOldLogsOfANameThatBecomesKnownLater)
{
    const TemporaryHome home;
    const QString folder = home.diagnosticReportsFolder();
    writeLogs(folder, u"Later"_s, 21);
    ASSERT_TRUE(MBWCrashLogWriter::install());
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 21);
    QCoreApplication::setApplicationName(u"Later"_s);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 20);
}
