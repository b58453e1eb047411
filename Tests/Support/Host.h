#pragma once

#include <QStringList>
#include <QThread>

#include <barrier>
#include <functional>
#include <map>
#include <memory>
#include <thread>

/*! What the programs have in common that tests run as hosts. */
namespace Host {

/*! What a host may do, by name; a step `name:text` hands it the text. */
using Steps = std::map<QString, std::function<void(const QString &text)>>;

/*! Takes those steps, one after another. False where there is none of a name. */
inline bool take(const Steps &steps, const QStringList &names)
{
    for (const QString &name : names) {
        const qsizetype colon = name.indexOf(u':');
        const auto step = steps.find(name.left(colon));
        if (step == steps.end())
            return false;
        step->second(colon < 0 ? QString() : name.mid(colon + 1));
    }
    return true;
}

inline void inThread(const std::function<void()> &function) { std::thread(function).join(); }

inline void inQThread(const std::function<void()> &function)
{
    const std::unique_ptr<QThread> thread(QThread::create(function));
    thread->start();
    thread->wait();
}

/*! One on the calling thread, one on another, at the same moment. */
inline void inTwoThreads(const std::function<void()> &function, const std::function<void()> &other)
{
    std::barrier start(2);
    std::thread thread([&] {
        start.arrive_and_wait();
        other();
    });
    start.arrive_and_wait();
    function();
    thread.join();
}

} // namespace Host
