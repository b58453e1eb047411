#pragma once

#include <QByteArray>

/*! Runs a command of the shell, which must succeed, to its end and returns the first line of its output. */
QByteArray firstLineOf(const QString &command);

/*! How many seconds that command takes to print its first line, whatever it does afterwards. */
double secondsToFirstLineOf(const QString &command);
