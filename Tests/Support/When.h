#pragma once

#include <QCoreApplication>
#include <QTimer>

#include <functional>

/*! Runs a step as soon as a condition holds, from inside whatever event loop runs then. */
inline void when(std::function<bool()> condition, std::function<void()> step)
{
    auto *const timer = new QTimer(QCoreApplication::instance());
    QObject::connect(timer, &QTimer::timeout, QCoreApplication::instance(), [=] {
        if (!condition())
            return;
        timer->deleteLater();
        timer->stop();
        step();
    });
    timer->start(5);
}
