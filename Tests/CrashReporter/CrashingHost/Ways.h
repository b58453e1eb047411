#pragma once

#include <QString>

/*! Starts threads that wait, named "worker 1" and so on. */
void startWorkers(int count);

/*! Crashes in the way of this name. */
void crash(const QString &way);
