#pragma once

#include <QString>
#include <QTextStream>

/*! Prints a line at once, so that it stands in order with what the host prints. */
inline void say(const QString &line) { QTextStream(stdout) << line << Qt::endl; }
