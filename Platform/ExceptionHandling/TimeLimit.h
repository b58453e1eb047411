#pragma once

#include <csignal>
#include <ctime>
#include <optional>

namespace Marblewick {

/*! Ends the process by SIGABRT, sent to the thread that made it, when 10 seconds have passed: as std::abort()
   does, also where the host ignores that signal, blocks it, or has a handler for it that returns.

    One at a time. It ends on the thread that made it, and leaves the signal as it was.
*/
class TimeLimit
{
public:
    TimeLimit();
    ~TimeLimit();
    TimeLimit(const TimeLimit &) = delete;
    TimeLimit &operator=(const TimeLimit &) = delete;

private:
    std::optional<timer_t> m_timer; // None where the system refuses one: then there is no limit.
    sigset_t m_originalMask{};
};

} // namespace Marblewick
