#include "Diagnostics/ShellPipe.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/*! In a process group of its own, which a program at its head ends after `limit` seconds; -1 where the system
    refuses it.
*/
pid_t startShell(QByteArray command, QByteArray limit, int output)
{
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    char timeout[] = "timeout";
    char signal[] = "--signal=KILL";
    char shell[] = "/bin/sh";
    char option[] = "-c";
    char *const arguments[] = {timeout, signal, limit.data(), shell, option, command.data(), nullptr};
    pid_t process = -1;
    if (::posix_spawn(&process, "/usr/bin/timeout", &actions, &attributes, arguments, environ) != 0)
        process = -1;
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return process;
}

} // namespace

ShellPipe::ShellPipe(const QByteArray &command, std::chrono::seconds limit)
    : m_end(limit)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return;
    m_descriptor = ends[0];
    m_shell = startShell(command, QByteArray::number(limit.count() + 1), ends[1]);
    ::close(ends[1]);
}

ShellPipe::~ShellPipe()
{
    ::close(m_descriptor);
    if (!isOpen())
        return;
    ::kill(-m_shell, SIGKILL);
    while (::waitpid(m_shell, nullptr, 0) < 0 && errno == EINTR) { }
}

std::size_t ShellPipe::read(std::span<char> bytes)
{
    std::size_t size = 0;
    while (size < bytes.size() && waitForOutput()) {
        const ssize_t count = ::read(m_descriptor, bytes.data() + size, bytes.size() - size);
        if (count <= 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    return size;
}

bool ShellPipe::waitForOutput() const
{
    while (!m_end.hasExpired()) {
        pollfd output = {.fd = m_descriptor, .events = POLLIN, .revents = 0};
        const int count = ::poll(&output, 1, static_cast<int>(m_end.remainingTime()));
        if (count > 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
    }
    return false;
}
