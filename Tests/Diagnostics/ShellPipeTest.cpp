#include "Diagnostics/ShellPipe.h"

#include <gtest/gtest.h>

#include <QByteArrayList>
#include <QDir>
#include <QElapsedTimer>

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <vector>

using namespace std::chrono_literals;

namespace {

/*! All that a command prints, in spans of a size. */
QByteArrayList readAll(const QByteArray &command, std::size_t size = 512, std::chrono::seconds limit = 5s)
{
    ShellPipe pipe(command, limit);
    QByteArrayList result;
    std::vector<char> bytes(size);
    while (const std::size_t count = pipe.read(bytes))
        result.append(QByteArray(bytes.data(), static_cast<qsizetype>(count)));
    return result;
}

QStringList openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System);
}

bool hasChild() { return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

/*! Interrupts each system call that takes longer than a millisecond, until destruction. */
class Interruptions
{
public:
    Interruptions()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { count = count + 1; };
        ::sigaction(SIGALRM, &action, nullptr);
        setInterval(1'000);
    }
    ~Interruptions() { setInterval(0); }
    Interruptions(const Interruptions &) = delete;
    Interruptions &operator=(const Interruptions &) = delete;

    static inline volatile sig_atomic_t count = 0;

private:
    static void setInterval(suseconds_t microseconds)
    {
        const itimerval interval = {.it_interval = {0, microseconds}, .it_value = {0, microseconds}};
        ::setitimer(ITIMER_REAL, &interval, nullptr);
    }
};

} // namespace

TEST(ShellPipe, FillsTheSpanWhateverThePausesOfTheCommand)
{
    EXPECT_EQ(readAll("printf abc; sleep 0.2; printf de; sleep 0.2; printf fgh", 3),
              QByteArrayList({"abc", "def", "gh"}));
}

TEST(ShellPipe, HasWhatWasPrintedWhenTheLimitIsReached)
{
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(readAll("printf abcd; exec sleep 1000", 3, 1s), QByteArrayList({"abc", "d"}));
    EXPECT_GE(timer.elapsed(), 1'000);
    EXPECT_LT(timer.elapsed(), 2'000);
}

TEST(ShellPipe, LeavesNeitherAProcessNorAnOpenDescriptorBehind)
{
    const QStringList descriptors = openDescriptors();
    const auto leavesNothing = [&] { return !hasChild() && openDescriptors() == descriptors; };
    EXPECT_EQ(readAll("echo all"), QByteArrayList{"all\n"});
    EXPECT_TRUE(leavesNothing()) << "where all was read";
    EXPECT_EQ(readAll("exec sleep 1000", 512, 1s), QByteArrayList());
    EXPECT_TRUE(leavesNothing()) << "where the limit was reached";
    static_cast<void>(ShellPipe("exec sleep 1000", 5s));
    EXPECT_TRUE(leavesNothing()) << "where nothing was read";
    EXPECT_FALSE(ShellPipe(QByteArray(10'000'000, 'm'), 5s).isOpen()) << "longer than a command may be";
    EXPECT_TRUE(leavesNothing()) << "where the shell was refused";
}

TEST(ShellPipe, SignalsOfTheHostsNeitherCutTheOutputNorTheWait)
{
    const Interruptions interruptions;
    EXPECT_EQ(readAll("printf abc; sleep 0.2; printf d", 4), QByteArrayList{"abcd"});
    EXPECT_GT(Interruptions::count, 0);
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(readAll("printf a; exec sleep 1000", 4, 1s), QByteArrayList{"a"});
    EXPECT_GE(timer.elapsed(), 1'000);
    EXPECT_FALSE(hasChild());
}

TEST(ShellPipe, EndsAtOnceWhereTheSystemRefusesTheWait)
{
    ShellPipe pipe("exec sleep 1000", 5s);
    ASSERT_TRUE(pipe.isOpen());
    rlimit original{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &original), 0);
    const rlimit none = {.rlim_cur = 0, .rlim_max = original.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    QElapsedTimer timer;
    timer.start();
    std::array<char, 4> bytes;
    EXPECT_EQ(pipe.read(bytes), 0U);
    EXPECT_LT(timer.elapsed(), 4'000);
    ::setrlimit(RLIMIT_NOFILE, &original);
}
