#include "Diagnostics/ShellPipe.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/*! In a process group of its own; -1 where the system refuses it. */
pid_t startShell(QByteArray command, int output)
{
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    char shell[] = "sh";
    char option[] = "-c";
    char *const arguments[] = {shell, option, command.data(), nullptr};
    pid_t process = -1;
    if (::posix_spawn(&process, "/bin/sh", &actions, &attributes, arguments, environ) != 0)
        process = -1;
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    return process;
}

} // namespace

ShellPipe::ShellPipe(const QByteArray &command, QDeadlineTimer end)
    : m_end(end)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return;
    m_descriptor = ends[0];
    m_shell = startShell(command, ends[1]);
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
    while (!m_end.hasExpired()) {
        pollfd ready = {.fd = m_descriptor, .events = POLLIN, .revents = 0};
        if (::poll(&ready, 1, static_cast<int>(m_end.remainingTime())) <= 0)
            continue;
        const ssize_t count = ::read(m_descriptor, bytes.data(), bytes.size());
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return 0;
}
