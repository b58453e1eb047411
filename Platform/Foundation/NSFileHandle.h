#pragma once

#include "Platform/Foundation/NSError.h"

#include <QByteArrayView>
#include <QString>

#include <functional>
#include <optional>
#include <span>

namespace Marblewick {

/*! A regular file, open for reading until destruction. Belongs to one thread at a time. */
class NSFileHandle
{
public:
    /*! Nil, with `error` set, where there is none, it cannot be read, or it is not a regular file: a FIFO, a
        socket or a device is not even opened, so that nothing waits for its other end.
    */
    static std::optional<NSFileHandle> fileHandleForReadingAtPath(const QString &path,
                                                                  NSError *error = nullptr);

    ~NSFileHandle();
    NSFileHandle(NSFileHandle &&other) noexcept;
    NSFileHandle &operator=(NSFileHandle &&) = delete;

    /*! Bytes at the time of opening. Files of /proc say 0 and hold something all the same. */
    qint64 size() const { return m_size; }

    /*! Reads what comes next, as much as the system gives at once. The count of bytes, 0 at the end; nil,
       with `error` set, where it cannot be read.
    */
    std::optional<qint64> readInto(std::span<char> buffer, NSError *error = nullptr) const;

    /*! Hands the next `length` bytes to `take`, in pieces that need little memory. The count of bytes, less
       than `length` where the file ends before; nil, with `error` set, where it cannot be read.
    */
    std::optional<qint64> readUpToLength(qint64 length, const std::function<void(QByteArrayView)> &take,
                                         NSError *error = nullptr) const;

private:
    NSFileHandle(int descriptor, qint64 size, const QString &path);

    int m_descriptor = -1;
    qint64 m_size = 0;
    QString m_path;
};

} // namespace Marblewick
