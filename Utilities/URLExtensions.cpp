#include "Utilities/URLExtensions.h"

#include "Platform/Foundation/NSString.h"

#include <QUrl>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

using namespace Qt::StringLiterals;

namespace URLExtensions {

namespace {

void append(QString &query, const std::optional<QString> &name, const std::optional<QString> &text)
{
    query += Marblewick::NSString::stringWithFormat(u"%@%@=%@", {parameterAmpersand(query), name, text});
}

/*! Nil where the value has no UTF-8 form. */
std::optional<QString> percentEncoded(const QString &value)
{
    if (!value.isValidUtf16())
        return std::nullopt;
    // What a query may hold beside RFC 3986's unreserved characters, which QUrl never encodes.
    return QString::fromLatin1(QUrl::toPercentEncoding(value, "!$&'()*+,/:;=?@"_ba));
}

/*! As printf's "%.*f" without its locale. */
QString fixedPoint(double value, qint32 precision)
{
    if (std::isnan(value))
        return u"nan"_s; // The sign of one is an accident: 0 / 0 has it.
    constexpr qint32 maximumPrecision = 1'000'000; // A slip must not take gigabytes.
    const qint32 digits = precision < 0 ? 6 : std::min(precision, maximumPrecision);
    constexpr int sizeWithoutFraction = std::numeric_limits<float>::max_exponent10 + 1 + 2; // sign, point
    std::string text(static_cast<size_t>(sizeWithoutFraction + digits), '\0');
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed,
                                   digits);
    return QString::fromLatin1(text.data(), end.ptr - text.data());
}

} // namespace

QString parameterAmpersand(const QString &query) { return query.isEmpty() ? QString() : u"&"_s; }

void appendParameterStringValue(QString &query, const std::optional<QString> &name,
                                const std::optional<QString> &value)
{
    append(query, name, value ? percentEncoded(*value) : std::nullopt);
}

void appendParameterIntegerValue(QString &query, const std::optional<QString> &name, qint64 value)
{
    append(query, name, QString::number(value));
}

void appendParameterFloatValue(QString &query, const std::optional<QString> &name, float value,
                               qint32 precision)
{
    append(query, name, fixedPoint(static_cast<double>(value), precision));
}

void appendParameterBoolValue(QString &query, const std::optional<QString> &name, bool value)
{
    appendParameterStringValue(query, name, value ? u"true"_s : u"false"_s);
}

} // namespace URLExtensions
