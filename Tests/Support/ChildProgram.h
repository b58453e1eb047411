#pragma once

#include <QStringList>
#include <QTemporaryFile>

#include <sys/types.h>

/*! Another program, looked up in PATH where its name has no slash, with this process's environment and
    standard error.

    It is started by posix_spawn(): the thread sanitizer takes QProcess's way for a fork, and does not see
    what the starting thread does afterwards.
*/
class ChildProgram
{
public:
    explicit ChildProgram(const QStringList &command);
    /*! Kills the program if it is still running. */
    ~ChildProgram();
    ChildProgram(const ChildProgram &) = delete;
    ChildProgram &operator=(const ChildProgram &) = delete;

    /*! Sends text to its standard input; does nothing where it has ended. */
    void write(const QByteArray &text);
    /*! Ends its standard input. */
    void endInput();
    /*! What it wrote to standard output so far. */
    QByteArray output() const;
    /*! Ends it at once, whatever it is doing. */
    void kill();
    /*! Waits for its end and returns its exit status, or -1 where a signal ended it. */
    int exitStatus();
    /*! How it ended, as waitpid() tells it; for a program whose exitStatus() was asked for. */
    int waitStatus() const { return m_waitStatus; }

private:
    QTemporaryFile m_output;
    int m_input = -1;
    pid_t m_pid = -1; // -1 once it has ended
    int m_waitStatus = 0;
    int m_exitStatus = -1;
};
