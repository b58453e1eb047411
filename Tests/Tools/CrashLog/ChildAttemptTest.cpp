#include "Tools/CrashLog/ChildAttempt.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(CrashLogChildAttempt, SucceedsWhereTheWorkDoesAndInAnotherProcess)
{
    const pid_t parent = ::getpid();
    EXPECT_TRUE(succeedsInChild(Clock::now() + 10s, [parent] { return ::getppid() == parent; }));
    EXPECT_FALSE(succeedsInChild(Clock::now() + 10s, [] { return false; }));
}

TEST(CrashLogChildAttempt, FailsWhereTheWorkCrashes)
{
    EXPECT_FALSE(succeedsInChild(Clock::now() + 10s, [] { return ::raise(SIGKILL) == 0; }));
}

TEST(CrashLogChildAttempt, FailsInTimeWhereTheWorkHangs)
{
    std::signal(SIGALRM, SIG_IGN);
    const auto start = Clock::now();
    EXPECT_FALSE(succeedsInChild(start + 100ms, [] {
        for (;;)
            ::pause();
        return true;
    }));
    EXPECT_GE(Clock::now() - start, 100ms);
    EXPECT_LT(Clock::now() - start, 5s);
}

TEST(CrashLogChildAttempt, FailsWhereThereIsNoTimeLeft)
{
    EXPECT_FALSE(succeedsInChild(Clock::now() - 1s, [] { return ::pause() == 0; }));
}
