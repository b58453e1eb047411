#include "Tools/CrashLog/ChildAttempt.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/*! Has a signal end this process at a moment. */
void endAt(std::chrono::steady_clock::time_point moment)
{
    using namespace std::chrono;
    const auto left = duration_cast<microseconds>(moment - steady_clock::now());
    const auto atLeast = std::max(left, microseconds(1)); // None would switch the timer off.
    itimerval timer = {};
    timer.it_value = {atLeast / seconds(1), (atLeast % seconds(1)).count()};
    sigset_t alarm;
    ::sigemptyset(&alarm);
    ::sigaddset(&alarm, SIGALRM);
    ::sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
    ::signal(SIGALRM, SIG_DFL);
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

bool succeedsInChild(std::chrono::steady_clock::time_point end, const std::function<bool()> &work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        endAt(end);
        ::_exit(work() ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    return child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status)
           && WEXITSTATUS(status) == EXIT_SUCCESS;
}
