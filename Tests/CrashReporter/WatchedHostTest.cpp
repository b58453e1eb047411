#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>

#include <csignal>
#include <sys/wait.h>

using namespace Qt::StringLiterals;

namespace {

const QString helper = u"/../lib/marblewick/marblewick-crashlog"_s;

/*! What a host calls between its crash and its death, with the helper at a path. */
QByteArray callsOfHost(const QStringList &arguments)
{
    const TemporaryHome home;
    ChildProgram host(QStringList(QCoreApplication::applicationDirPath() + u"/WatchedHost"_s) + arguments);
    host.exitStatus();
    EXPECT_TRUE(arguments.size() > 1
                || (WIFSIGNALED(host.waitStatus()) && WTERMSIG(host.waitStatus()) == SIGSEGV));
    EXPECT_EQ(QDir(home.diagnosticReportsFolder()).entryList({u"WatchedHost_*.ips"_s}).size(), 1);
    return host.output();
}

} // namespace

TEST(CrashHandler, NeitherAllocatesNorLocksWhereTheHelperWritesTheLog)
{
    EXPECT_EQ(callsOfHost({QCoreApplication::applicationDirPath() + helper}), "");
}

TEST(CrashHandler, NeitherAllocatesNorLocksWhereItWritesTheLogItself)
{
    EXPECT_EQ(callsOfHost({u"/nonexistent"_s}), "");
}

TEST(CrashHandler, WouldBeSeenToAllocateAndToLock)
{
    EXPECT_EQ(
        callsOfHost({u"/nonexistent"_s, u"use all"_s}),
        "malloc\nrealloc\nfree\ncalloc\nfree\naligned_alloc\nfree\nmalloc\nfree\npthread_mutex_lock\n"
        "pthread_mutex_trylock\npthread_rwlock_rdlock\npthread_rwlock_wrlock\npthread_spin_lock\nsem_wait\n");
}
