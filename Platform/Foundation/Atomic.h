#pragma once

#include <QMutex>
#include <QMutexLocker>

#include <utility>

namespace Marblewick {

/*! A value that threads may read and change at any time, each as a whole: what an atomic property holds. */
template <typename T>
class Atomic
{
public:
    Atomic() = default;
    explicit Atomic(T value)
        : m_value(std::move(value))
    { }

    T load() const
    {
        const QMutexLocker locker(&m_mutex);
        return m_value;
    }

    void store(T value)
    {
        const QMutexLocker locker(&m_mutex);
        std::swap(m_value, value); // The former value is destroyed after the lock.
    }

    /*! Calls `change(value)`, which may change the value in place, while other threads wait. */
    template <typename Change>
    void change(Change change)
    {
        const QMutexLocker locker(&m_mutex);
        change(m_value);
    }

private:
    mutable QMutex m_mutex;
    T m_value;
};

} // namespace Marblewick
