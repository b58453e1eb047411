#include "Platform/Foundation/NSNotificationCenter.h"

#include <atomic>

namespace Marblewick {

struct NSNotificationCenter::Registration
{
    const void *const observer;
    const Callback callback;
    const QString name;
    const void *const object;
    std::atomic<bool> isRemoved = false;

    bool wants(const NSNotification &notification) const
    {
        return (name.isEmpty() || name == notification.name) && (!object || object == notification.object);
    }
};

NSNotificationCenter *NSNotificationCenter::defaultCenter()
{
    static auto *const center = new NSNotificationCenter;
    return center;
}

NSNotificationCenter::~NSNotificationCenter() = default;

void NSNotificationCenter::addObserver(const void *observer, Callback callback, const QString &name,
                                       const void *object)
{
    const std::shared_ptr<Registration> registration(
        new Registration{observer, std::move(callback), name, object});
    const std::lock_guard lock(m_mutex);
    m_registrations.push_back(registration);
}

void NSNotificationCenter::removeObserver(const void *observer)
{
    std::vector<std::shared_ptr<Registration>> removed; // outlives the lock: a callback may own anything
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_registrations, [&](const std::shared_ptr<Registration> &registration) {
        if (registration->observer != observer)
            return false;
        registration->isRemoved = true;
        removed.push_back(registration);
        return true;
    });
}

void NSNotificationCenter::postNotification(const NSNotification &notification)
{
    std::vector<std::shared_ptr<Registration>> wanting;
    {
        const std::lock_guard lock(m_mutex);
        for (const std::shared_ptr<Registration> &registration : m_registrations) {
            if (registration->wants(notification))
                wanting.push_back(registration);
        }
    }
    for (const std::shared_ptr<Registration> &registration : wanting) {
        if (!registration->isRemoved)
            registration->callback(notification);
    }
}

void NSNotificationCenter::postNotificationName(const QString &name, const void *object,
                                                const QVariantMap &userInfo)
{
    postNotification({name, object, userInfo});
}

} // namespace Marblewick
