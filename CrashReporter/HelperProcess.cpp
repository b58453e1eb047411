#include "CrashReporter/HelperProcess.h"

#include "CrashReporter/StandardStreams.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int timeLimit = 3000; // milliseconds

/*! What a killed program needs to be gone. */
constexpr int killTimeLimit = 500; // milliseconds

/*! The stack of the child until it has become the helper. Not the crashed thread's: that may be full. */
alignas(16) constinit std::array<std::byte, 16 * 1024> helperStack = {};

/*! The running helper, and a descriptor of it; -1 where none runs. */
constinit std::atomic<pid_t> helperProcess = -1;
constinit std::atomic<int> helperDescriptor = -1;

struct Start
{
    const char *path;
    int input;
};

/*! Milliseconds, since an arbitrary moment. */
long long now()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000LL + time.tv_nsec / 1'000'000;
}

/*! Whether there is something to read, or room to write, before the deadline. */
bool waitFor(int descriptor, short events, long long deadline)
{
    pollfd item = {.fd = descriptor, .events = events, .revents = 0};
    for (;;) {
        const long long remaining = deadline - now();
        if (remaining <= 0)
            return false;
        const int count = ::poll(&item, 1, static_cast<int>(remaining));
        if (count > 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
    }
}

/*! Handlers of the crashed process must not run in the child, which shares its memory; and the helper shall
   find all signals as a new program does. By the system call, because the C library keeps two signals to
   itself.
*/
void resetSignals()
{
    constexpr std::array<long, 4> defaultAction = {}; // as the kernel has it: handler, flags, restorer, mask
    constexpr std::size_t maskSize = _NSIG / 8;
    for (int number = 1; number < _NSIG; ++number)
        ::syscall(SYS_rt_sigaction, number, defaultAction.data(), nullptr, maskSize);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/*! Becomes the helper: in a session of its own, where no key press and no closed terminal reaches it, with
   the record as standard input, with no other open file of the host's and with no environment.
*/
int becomeHelper(void *argument)
{
    const Start &start = *static_cast<const Start *>(argument);
    resetSignals();
    ::setsid();
    constexpr rlimit noCoreDump = {.rlim_cur = 0, .rlim_max = 0};
    ::setrlimit(RLIMIT_CORE, &noCoreDump); // It would take the place of the host's.
    ::dup2(start.input, STDIN_FILENO);
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDOUT_FILENO);
    ::dup2(nothing, STDERR_FILENO);
    ::syscall(SYS_close_range, STDERR_FILENO + 1, UINT_MAX, 0);

    char *const arguments[] = {const_cast<char *>(start.path), nullptr};
    char *const environment[] = {nullptr};
    ::execve(start.path, arguments, environment);
    ::_exit(127);
}

/*! A host that has used up its descriptors crashes, too. */
void makeRoomForDescriptors()
{
    constexpr rlim_t needed = 16;
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_max - limit.rlim_cur < needed)
        return;
    limit.rlim_cur += needed;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

/*! The way to the helper: two connected sockets. To write into a pipe that nobody reads raises a signal. */
class Channel
{
public:
    Channel()
    {
        const FilledStandardStreams filled;
        int sockets[2] = {-1, -1};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
            return;
        m_ends[0] = aboveStandardStreams(sockets[0]);
        m_ends[1] = aboveStandardStreams(sockets[1]);
    }
    ~Channel()
    {
        closeEnd(0);
        closeEnd(1);
    }
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;

    bool isOpen() const { return m_ends[0] >= 0 && m_ends[1] >= 0; }
    int helperEnd() const { return m_ends[0]; }
    void closeHelperEnd() { closeEnd(0); }

    /*! False where the helper has gone or does not read in time. */
    bool send(const CrashRecord &record, long long deadline) const
    {
        const auto *bytes = reinterpret_cast<const char *>(&record);
        std::size_t remaining = sizeof record;
        while (remaining > 0 && waitFor(m_ends[1], POLLOUT, deadline)) {
            const ssize_t sent = ::send(m_ends[1], bytes, remaining, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent < 0 && errno != EAGAIN && errno != EINTR)
                return false;
            if (sent > 0) {
                bytes += sent;
                remaining -= static_cast<std::size_t>(sent);
            }
        }
        return remaining == 0;
    }

private:
    void closeEnd(std::size_t index)
    {
        if (m_ends[index] >= 0)
            ::close(m_ends[index]);
        m_ends[index] = -1;
    }

    int m_ends[2] = {-1, -1};
};

/*! By whose rights the process runs. */
struct Rights
{
    uid_t users[3] = {};
    gid_t groups[3] = {};

    bool operator==(const Rights &) const = default;
};

Rights currentRights()
{
    Rights rights;
    ::getresuid(&rights.users[0], &rights.users[1], &rights.users[2]);
    ::getresgid(&rights.groups[0], &rights.groups[1], &rights.groups[2]);
    return rights;
}

/*! What was found when the host prepared for crashes. */
constinit Rights preparedRights = {};
constinit bool wasDumpable = false;

/*! Whether the process has forbidden to be observed and is made observable for the helper. */
constinit std::atomic<bool> isMadeObservable = false;

/*! Whether it is the host itself that has forbidden to observe it: not the system, because the process gave
   up rights whose secrets it may still hold.
*/
bool isHiddenByHost()
{
    return wasDumpable && ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 0 && currentRights() == preparedRights;
}

/*! Lets one process observe this one. */
void beginObservation(pid_t observer)
{
    ::prctl(PR_SET_PTRACER, observer, 0, 0, 0); // Some systems have no such rule; there it fails.
    isMadeObservable = isHiddenByHost();
    if (isMadeObservable)
        ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
}

void endObservation()
{
    if (isMadeObservable.exchange(false))
        ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    ::prctl(PR_SET_PTRACER, 0, 0, 0, 0);
}

/*! False where it cannot be started. The exit signal 0 keeps it from whoever waits for the host's children.
 */
bool startHelper(const char *path, const Channel &channel)
{
    Start start = {.path = path, .input = channel.helperEnd()};
    int descriptor = -1;
    const pid_t process = ::clone(&becomeHelper, helperStack.data() + helperStack.size(),
                                  CLONE_VM | CLONE_VFORK | CLONE_PIDFD, &start, &descriptor);
    if (process < 0)
        return false;
    helperProcess = process;
    helperDescriptor = descriptor;
    return true;
}

bool hasHelperEnded(long long deadline) { return waitFor(helperDescriptor, POLLIN, deadline); }

} // namespace

void prepareForHelper()
{
    preparedRights = currentRights();
    wasDumpable = ::prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 1;
}

void runHelper(const char *path, const CrashRecord &record)
{
    const long long deadline = now() + timeLimit;
    makeRoomForDescriptors();
    Channel channel;
    if (!channel.isOpen() || !startHelper(path, channel))
        return;
    channel.closeHelperEnd();
    beginObservation(helperProcess);
    if (channel.send(record, deadline))
        hasHelperEnded(deadline);
    stopHelper();
}

void stopHelper()
{
    const pid_t process = helperProcess.exchange(-1);
    if (process < 0)
        return;
    endObservation();
    // With what it has started itself. Until it is waited for, its number is nobody else's.
    ::kill(-process, SIGKILL);
    hasHelperEnded(now() + killTimeLimit);
    siginfo_t result = {};
    ::waitid(P_PIDFD, static_cast<id_t>(helperDescriptor), &result, WEXITED | WNOHANG | __WALL);
    ::close(helperDescriptor);
}
