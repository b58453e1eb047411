#include "Platform/Foundation/StandardError.h"

#include <cerrno>
#include <unistd.h>

namespace Marblewick {

BrokenPipeSignalHeldBack::BrokenPipeSignalHeldBack()
{
    ::sigemptyset(&m_signal);
    ::sigaddset(&m_signal, SIGPIPE);
    sigset_t pending;
    ::sigpending(&pending);
    m_wasPending = ::sigismember(&pending, SIGPIPE) == 1;
    ::pthread_sigmask(SIG_BLOCK, &m_signal, &m_original);
}

BrokenPipeSignalHeldBack::~BrokenPipeSignalHeldBack()
{
    const timespec atOnce{};
    if (!m_wasPending)
        ::sigtimedwait(&m_signal, nullptr, &atOnce);
    ::pthread_sigmask(SIG_SETMASK, &m_original, nullptr);
}

void writeToStandardError(QByteArrayView bytes)
{
    const BrokenPipeSignalHeldBack heldBack;
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(STDERR_FILENO, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written > 0)
            bytes = bytes.sliced(written);
        else if (written == 0 || errno != EINTR)
            return;
    }
}

} // namespace Marblewick
