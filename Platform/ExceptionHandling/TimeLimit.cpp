#include "Platform/ExceptionHandling/TimeLimit.h"

#include <csignal>
#include <cstdlib>
#include <unistd.h>

namespace Marblewick {

namespace {

constexpr time_t seconds = 10;

struct sigaction hostsAction = {};

/*! What the host or a crash log writer does at that signal comes first; abort() ends the process afterwards.
 */
void abortAsTheHostLikes(int)
{
    ::sigaction(SIGABRT, &hostsAction, nullptr);
    std::abort();
}

/*! Returns the thread's signal mask of before. */
sigset_t letThisThreadHaveTheSignal()
{
    sigset_t abortSignal;
    ::sigemptyset(&abortSignal);
    ::sigaddset(&abortSignal, SIGABRT);
    sigset_t original{};
    ::pthread_sigmask(SIG_UNBLOCK, &abortSignal, &original);
    return original;
}

} // namespace

// By a timer of the system's, because another thread would be one more that has to be started, and that crash
// logs show.
TimeLimit::TimeLimit()
{
    sigevent event = {};
    event.sigev_notify = SIGEV_THREAD_ID;
    event.sigev_signo = SIGABRT;
    event._sigev_un._tid = ::gettid();
    timer_t timer = nullptr;
    if (::timer_create(CLOCK_MONOTONIC, &event, &timer) != 0)
        return;
    m_timer = timer;
    struct sigaction action = {};
    action.sa_handler = &abortAsTheHostLikes;
    ::sigaction(SIGABRT, &action, &hostsAction);
    m_originalMask = letThisThreadHaveTheSignal();
    constexpr itimerspec time = {.it_interval = {}, .it_value = {.tv_sec = seconds, .tv_nsec = 0}};
    ::timer_settime(timer, 0, &time, nullptr);
}

TimeLimit::~TimeLimit()
{
    if (!m_timer)
        return;
    ::timer_delete(*m_timer);
    ::pthread_sigmask(SIG_SETMASK, &m_originalMask, nullptr);
    ::sigaction(SIGABRT, &hostsAction, nullptr);
}

} // namespace Marblewick
