#pragma once

#include <QByteArray>
#include <QDeadlineTimer>

#include <chrono>
#include <span>
#include <sys/types.h>

/*! What a command of the shell prints within a time limit, at which the command is ended. It belongs to the
    thread that made it.

    The command has a process group of its own, with all that it starts. Where this process is gone when the
    limit is reached, the group is ended a second later. A program that leaves the group is not ended, but its
    output is not awaited either.
*/
class ShellPipe
{
public:
    ShellPipe(const QByteArray &command, std::chrono::seconds limit);
    /*! Ends what is still running. */
    ~ShellPipe();
    ShellPipe(const ShellPipe &) = delete;
    ShellPipe &operator=(const ShellPipe &) = delete;

    /*! False where the system has refused the pipe or the shell. */
    bool isOpen() const { return m_shell > 0; }
    /*! The next bytes, and how many they are: as many as the span takes, fewer only when the command has
        printed all or its end has come, then 0.
    */
    std::size_t read(std::span<char> bytes);

private:
    /*! False when the end has come. */
    bool waitForOutput() const;

    QDeadlineTimer m_end;
    int m_descriptor = -1;
    pid_t m_shell = -1;
};
