#pragma once

#include <QByteArrayView>

#include <csignal>

namespace Marblewick {

/*! Keeps a write to a pipe that nobody reads any more from ending the process, until destruction. It belongs
    to the thread that made it.
*/
class BrokenPipeSignalHeldBack
{
public:
    BrokenPipeSignalHeldBack();
    ~BrokenPipeSignalHeldBack();
    BrokenPipeSignalHeldBack(const BrokenPipeSignalHeldBack &) = delete;
    BrokenPipeSignalHeldBack &operator=(const BrokenPipeSignalHeldBack &) = delete;

private:
    sigset_t m_signal{};
    sigset_t m_original{};
    bool m_wasPending = false;
};

/*! Writes bytes as they are, in one call of the system's where it takes them. What cannot be written is
    dropped: a log that cannot be written has nowhere to say so. Any thread.
*/
void writeToStandardError(QByteArrayView bytes);

} // namespace Marblewick
