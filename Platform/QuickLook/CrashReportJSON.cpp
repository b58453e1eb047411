#include "Platform/QuickLook/CrashReportJSON.h"

#include "Platform/Foundation/NSString.h"

#include <QJsonDocument>

namespace Marblewick::CrashReportJSON {

namespace {

bool isPartOfNumber(char c) { return (c >= '0' && c <= '9') || QByteArrayView("+-.eE").contains(c); }

/*! Length of the JSON string that begins, with its quotation mark, at `start`. */
qsizetype stringLength(QByteArrayView bytes, qsizetype start)
{
    qsizetype i = start + 1;
    while (i < bytes.size() && bytes[i] != '"')
        i += bytes[i] == '\\' ? 2 : 1;
    return qMin(i + 1, bytes.size()) - start;
}

qsizetype numberLength(QByteArrayView bytes, qsizetype start)
{
    qsizetype i = start;
    while (i < bytes.size() && isPartOfNumber(bytes[i]))
        ++i;
    return i - start;
}

/*! Whether QJsonDocument would round this number: it keeps whole numbers up to 2^63 - 1 only. Addresses
    and registers go up to 2^64 - 1.
*/
bool wouldBeRounded(QByteArrayView digits)
{
    bool isWhole = false;
    return digits.size() >= 19 && digits.toULongLong(&isWhole) > Q_UINT64_C(0x7fffffffffffffff) && isWhole;
}

/*! The first object's JSON, in which the numbers that QJsonDocument would round are strings, and its length
    in the original.
*/
struct Scanned
{
    QByteArray json;
    qsizetype length = 0;
};

std::optional<Scanned> scanObject(QByteArrayView bytes)
{
    QByteArray json;
    qsizetype depth = 0;
    qsizetype copied = 0;
    for (qsizetype i = 0; i < bytes.size();) {
        const char c = bytes[i];
        if (c == '"') {
            i += stringLength(bytes, i);
        } else if (isPartOfNumber(c)) {
            const QByteArrayView digits = bytes.sliced(i, numberLength(bytes, i));
            if (wouldBeRounded(digits)) {
                json.append(bytes.sliced(copied, i - copied)).append('"').append(digits).append('"');
                copied = i + digits.size();
            }
            i += digits.size();
        } else {
            depth += (c == '{') - (c == '}');
            ++i;
            if (c == '}' && depth <= 0)
                return Scanned{json.append(bytes.sliced(copied, i - copied)), i};
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Body> bodyAtStart(QByteArrayView bytes)
{
    const std::optional<Scanned> scanned = scanObject(bytes);
    if (!scanned)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(scanned->json);
    if (!document.isObject())
        return std::nullopt;
    return Body{document.object(), scanned->length};
}

std::optional<quint64> number(const QJsonValue &value)
{
    if (value.isString()) {
        bool isWhole = false;
        const quint64 number = value.toString().toULongLong(&isWhole);
        return isWhole ? std::optional(number) : std::nullopt;
    }
    const qint64 number = value.toInteger(-1);
    return number >= 0 ? std::optional(static_cast<quint64>(number)) : std::nullopt;
}

std::optional<QString> displayText(const QJsonValue &value)
{
    if (value.isString())
        return value.toString().isEmpty()
                   ? std::nullopt
                   : std::optional(NSString::escapingControlCharacters(value.toString()));
    const std::optional<quint64> whole = number(value);
    return whole ? std::optional(QString::number(*whole)) : std::nullopt;
}

} // namespace Marblewick::CrashReportJSON
