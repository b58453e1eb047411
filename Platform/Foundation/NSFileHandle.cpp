#include "Platform/Foundation/NSFileHandle.h"

#include "Platform/Foundation/NSFileManager.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Marblewick {

namespace {

std::nullopt_t failure(NSError *error, int code, const QString &path)
{
    if (error)
        *error = NSError::posixError(code, path);
    return std::nullopt;
}

} // namespace

std::optional<NSFileHandle> NSFileHandle::fileHandleForReadingAtPath(const QString &path, NSError *error)
{
    const QByteArray name = NSFileManager::fileSystemRepresentationWithPath(path);
    struct stat status = {};
    // Looked at before it is opened, because even opening is felt at the other end of a FIFO or a device,
    // and afterwards, because by then it may be another item.
    if (::stat(name.constData(), &status) != 0)
        return failure(error, errno, path);
    if (!S_ISREG(status.st_mode))
        return failure(error, S_ISDIR(status.st_mode) ? EISDIR : EINVAL, path);
    const int descriptor = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return failure(error, errno, path);
    NSFileHandle handle(descriptor, 0, path);
    if (::fstat(descriptor, &status) != 0)
        return failure(error, errno, path);
    if (!S_ISREG(status.st_mode))
        return failure(error, EINVAL, path);
    handle.m_size = status.st_size;
    return handle;
}

NSFileHandle::NSFileHandle(int descriptor, qint64 size, const QString &path)
    : m_descriptor(descriptor)
    , m_size(size)
    , m_path(path)
{ }

NSFileHandle::~NSFileHandle()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

NSFileHandle::NSFileHandle(NSFileHandle &&other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
    , m_size(other.m_size)
    , m_path(std::move(other.m_path))
{ }

std::optional<qint64> NSFileHandle::readInto(std::span<char> buffer, NSError *error) const
{
    for (;;) {
        const ssize_t count = ::read(m_descriptor, buffer.data(), buffer.size());
        if (count >= 0)
            return count;
        if (errno != EINTR)
            return failure(error, errno, m_path);
    }
}

std::optional<qint64> NSFileHandle::readUpToLength(qint64 length,
                                                   const std::function<void(QByteArrayView)> &take,
                                                   NSError *error) const
{
    constexpr qint64 largestPiece = 65536;
    QByteArray buffer(qMin(length, largestPiece), Qt::Uninitialized);
    qint64 done = 0;
    while (done < length) {
        const auto size = static_cast<size_t>(qMin<qint64>(buffer.size(), length - done));
        const std::optional<qint64> count = readInto({buffer.data(), size}, error);
        if (!count)
            return std::nullopt;
        if (*count == 0)
            break;
        take(QByteArrayView(buffer).first(*count));
        done += *count;
    }
    return done;
}

} // namespace Marblewick
