#include "Tests/Support/ChildProgram.h"

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <csignal>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

ChildProgram::ChildProgram(const QStringList &command)
{
    EXPECT_TRUE(m_output.open());
    int input[2] = {-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input), 0);
    m_input = input[0];

    QByteArrayList words;
    std::vector<char *> arguments;
    for (const QString &word : command)
        words.append(word.toUtf8());
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input[1], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, m_output.handle(), STDOUT_FILENO);
    EXPECT_EQ(::posix_spawnp(&m_pid, arguments[0], &actions, nullptr, arguments.data(), environ), 0)
        << arguments[0];
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(input[1]);
}

ChildProgram::~ChildProgram()
{
    kill();
    exitStatus();
    ::close(m_input);
}

void ChildProgram::write(const QByteArray &text)
{
    ::send(m_input, text.constData(), static_cast<size_t>(text.size()), MSG_NOSIGNAL);
}

void ChildProgram::endInput() { ::shutdown(m_input, SHUT_WR); }

QByteArray ChildProgram::output() const { return readFile(m_output.fileName()); }

void ChildProgram::kill()
{
    if (m_pid > 0)
        ::kill(m_pid, SIGKILL);
}

int ChildProgram::exitStatus()
{
    if (m_pid > 0 && ::waitpid(m_pid, &m_waitStatus, 0) == m_pid) {
        m_pid = -1;
        m_exitStatus = WIFEXITED(m_waitStatus) ? WEXITSTATUS(m_waitStatus) : -1;
    }
    return m_exitStatus;
}
