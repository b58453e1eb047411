#pragma once

#include <QByteArray>
#include <QDeadlineTimer>

#include <span>
#include <sys/types.h>

/*! What a command of the shell prints, up to a moment at which the command is ended. It belongs to the thread
   that made it.

    The command has a process group of its own, with all that it starts. A program that leaves the group is
   not ended, but its output is not awaited either.
*/
class ShellPipe
{
public:
    ShellPipe(const QByteArray &command, QDeadlineTimer end);
    /*! Ends what is still running. */
    ~ShellPipe();
    ShellPipe(const ShellPipe &) = delete;
    ShellPipe &operator=(const ShellPipe &) = delete;

    /*! False where the system has refused the pipe or the shell. */
    bool isOpen() const { return m_shell > 0; }
    /*! The next bytes, as soon as there are some, and how many they are: 0 when the command has printed all,
       and when its end has come.
    */
    std::size_t read(std::span<char> bytes);

private:
    QDeadlineTimer m_end;
    int m_descriptor = -1;
    pid_t m_shell = -1;
};
