#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

/*! How GoogleTest prints Qt's types in a failure. */
inline void PrintTo(const QString &string, std::ostream *out) { *out << '"' << string.toStdString() << '"'; }
inline void PrintTo(const QByteArray &bytes, std::ostream *out) { *out << '"' << bytes.toStdString() << '"'; }
