#include "CrashReporter/OldCrashLogs.h"

#include <gtest/gtest.h>

namespace {

QByteArray logOfDay(const QByteArray &name, int day)
{
    return name + "_2026-01-" + QByteArray::number(100 + day).mid(1) + "-120000_" + QByteArray::number(day)
           + ".ips";
}

QByteArrayList logsOfDays(const QByteArray &name, int count)
{
    QByteArrayList logs;
    for (int day = 1; day <= count; ++day)
        logs.append(logOfDay(name, day));
    return logs;
}

} // namespace

TEST(OldCrashLogs, TwentyAreKept)
{
    EXPECT_EQ(keptCrashLogs, 20);
    EXPECT_EQ(crashLogsToRemove("App", logsOfDays("App", 20)), QByteArrayList());
}

TEST(OldCrashLogs, TheOldestByTheDateInTheNameAreRemovedWhateverTheOrder)
{
    QByteArrayList logs = logsOfDays("App", 22);
    std::reverse(logs.begin(), logs.end());
    EXPECT_EQ(crashLogsToRemove("App", logs), QByteArrayList({logOfDay("App", 1), logOfDay("App", 2)}));
}

TEST(OldCrashLogs, ThoseOfAnotherApplicationDoNotCount)
{
    EXPECT_EQ(
        crashLogsToRemove("App", logsOfDays("App_Helper", 30) + logsOfDays("app", 30) + logsOfDays("Ap", 30)),
        QByteArrayList());
    EXPECT_EQ(crashLogsToRemove("App_Helper", logsOfDays("App", 30)), QByteArrayList());
}

TEST(OldCrashLogs, AFileOfAnotherFormDoesNotCount)
{
    QByteArrayList others;
    for (const char *form :
         {"App_%1.ips", "App_2026-01-%1-120000_.ips", "App_2026-01-%1-120000_12.crash",
          "App_2026-01-%1_12.ips", "App_2026-01-%1-120000_12x.ips", "App_2026-01-%1-120000_12.ips.gz",
          "xApp_2026-01-%1-120000_12.ips", "App_2026/01-%1-120000_12.ips", "App-2026-01-%1-120000_12.ips"}) {
        for (int day = 10; day < 40; ++day)
            others.append(QByteArray(form).replace("%1", QByteArray::number(day)));
    }
    EXPECT_EQ(crashLogsToRemove("App", others), QByteArrayList());
}
