#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace Marblewick {

/*! What is announced: a name, whom it is about, and details. */
struct NSNotification
{
    QString name;
    /*! The identity of whom it is about, to compare with; null for nobody. Not owned. */
    const void *object = nullptr;
    QVariantMap userInfo;
};

/*! Passes what is announced on to those who asked for it.

    Any thread. A callback runs on the thread that posts, within the post.
*/
class MARBLEWICK_CORE_EXPORT NSNotificationCenter
{
public:
    /*! The centre of the process, never destroyed. */
    static NSNotificationCenter *defaultCenter();

    NSNotificationCenter() = default;
    ~NSNotificationCenter();
    NSNotificationCenter(const NSNotificationCenter &) = delete;
    NSNotificationCenter &operator=(const NSNotificationCenter &) = delete;

    using Callback = std::function<void(const NSNotification &notification)>;

    /*! Has `callback` called, in the order of registration, with every notification of that name about that
        object. An empty name stands for every name, a null object for every object. `observer` is the
        identity by which removeObserver() finds the registration; it is not owned. Registering twice means
        being called twice.
    */
    void addObserver(const void *observer, Callback callback, const QString &name = {},
                     const void *object = nullptr);

    /*! Ends all registrations of an observer. No call to it begins after this one has returned, but one that
        another thread is in the middle of may still be running.
    */
    void removeObserver(const void *observer);

    /*! Calls everybody who asked for it, and returns when all have returned. Who registers meanwhile hears
        only the next one, who is removed meanwhile is not called any more.
    */
    void postNotification(const NSNotification &notification);
    void postNotificationName(const QString &name, const void *object = nullptr,
                              const QVariantMap &userInfo = {});

private:
    struct Registration;

    std::mutex m_mutex; // never held while a callback runs
    std::vector<std::shared_ptr<Registration>> m_registrations;
};

} // namespace Marblewick
