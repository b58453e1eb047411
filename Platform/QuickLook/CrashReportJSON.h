#pragma once

#include <QByteArrayView>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/*! Reading the JSON of a crash report, where nothing can be relied on: neither a key nor a value's type. */
namespace Marblewick::CrashReportJSON {

struct Body
{
    QJsonObject object;
    qsizetype length = 0; ///< bytes up to the object's closing brace, inclusive
};

/*! The object that the bytes begin with, after white space at most. Nil where there is none, or it is
    malformed, not closed, or nested more deeply than Qt reads (1024).
*/
std::optional<Body> bodyAtStart(QByteArrayView bytes);

/*! A whole number from 0 to 2^64 - 1, exactly; nil for anything else. */
std::optional<quint64> number(const QJsonValue &value);

/*! A string that is not empty, with its control characters escaped, or a whole number in decimal; nil for
    anything else.
*/
std::optional<QString> displayText(const QJsonValue &value);

} // namespace Marblewick::CrashReportJSON
