#include "Platform/Foundation/NSLog.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSString.h"

#include <QDateTime>

#include <cerrno>
#include <csignal>
#include <mutex>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! Keeps a write to a pipe that nobody reads any more from ending the process, until destruction. */
class BrokenPipeSignalHeldBack
{
public:
    BrokenPipeSignalHeldBack()
    {
        ::sigemptyset(&m_signal);
        ::sigaddset(&m_signal, SIGPIPE);
        sigset_t pending;
        ::sigpending(&pending);
        m_wasPending = ::sigismember(&pending, SIGPIPE) == 1;
        ::pthread_sigmask(SIG_BLOCK, &m_signal, &m_original);
    }
    ~BrokenPipeSignalHeldBack()
    {
        const timespec atOnce{};
        if (!m_wasPending)
            ::sigtimedwait(&m_signal, nullptr, &atOnce);
        ::pthread_sigmask(SIG_SETMASK, &m_original, nullptr);
    }
    BrokenPipeSignalHeldBack(const BrokenPipeSignalHeldBack &) = delete;
    BrokenPipeSignalHeldBack &operator=(const BrokenPipeSignalHeldBack &) = delete;

private:
    sigset_t m_signal{};
    sigset_t m_original{};
    bool m_wasPending = false;
};

void writeWholly(int descriptor, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), static_cast<size_t>(bytes.size()));
        if (written > 0)
            bytes = bytes.sliced(written);
        else if (written == 0 || errno != EINTR)
            return; // A log that cannot be written has nowhere to say so.
    }
}

} // namespace

void NSLog(QStringView format, std::initializer_list<std::optional<QString>> arguments)
{
    const QString message = NSString::escapingControlCharacters(
        NSString::stringWithFormat(format, arguments));
    const QString line = u"%1 %2[%3:%4] %5\n"_s.arg(
        QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss.zzz"),
        NSString::escapingControlCharacters(NSBundle::mainBundle()->executableName()),
        QString::number(::getpid()), QString::number(::gettid()), message);
    const QByteArray bytes = line.toUtf8();

    // The system takes a long line in pieces where standard error is a pipe that fills up.
    static constinit std::mutex oneLineAtATime;
    const std::lock_guard locker(oneLineAtATime);
    const BrokenPipeSignalHeldBack heldBack;
    writeWholly(STDERR_FILENO, bytes);
}

} // namespace Marblewick
