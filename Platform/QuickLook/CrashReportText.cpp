#include "Platform/QuickLook/CrashReportText.h"

#include "Platform/Foundation/NSString.h"
#include "Platform/QuickLook/CrashReportJSON.h"
#include "Platform/QuickLook/CrashReportLayout.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr qsizetype maximumContentsSize = 64 * 1024 * 1024;

std::optional<QString> textOfJSONBody(QByteArrayView bytes)
{
    const std::optional<CrashReportJSON::Body> body = CrashReportJSON::bodyAtStart(bytes);
    std::optional<QString> text = body ? CrashReportLayout(body->object).text() : std::nullopt;
    if (!text)
        return std::nullopt;
    QByteArrayView rest = bytes.sliced(body->length);
    if (rest.trimmed().isEmpty())
        return text;
    while (rest.startsWith('\n') || rest.startsWith('\r'))
        rest = rest.sliced(1);
    return *text += u'\n' + NSString::stringWithData(rest.toByteArray());
}

std::optional<QString> textOfTextBody(QByteArrayView bytes)
{
    if (bytes.trimmed().isEmpty())
        return std::nullopt;
    return NSString::stringWithData(bytes.toByteArray());
}

} // namespace

std::optional<QString> textOfCrashReport(const QByteArray &contents)
{
    const qsizetype headerLength = contents.indexOf('\n');
    if (contents.size() > maximumContentsSize || headerLength < 0)
        return std::nullopt;
    const QJsonObject header = QJsonDocument::fromJson(contents.first(headerLength)).object();
    const QString type = header.value("bug_type"_L1).toString();
    const QByteArrayView body = QByteArrayView(contents).sliced(headerLength + 1);
    if (type == "309"_L1)
        return textOfJSONBody(body);
    return type == "109"_L1 ? textOfTextBody(body) : std::nullopt;
}

} // namespace Marblewick
