#include "Tools/Marblewick/Feed.h"

#include "Tools/Marblewick/Console.h"
#include "Tools/Marblewick/FeedFields.h"

#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include <QJsonDocument>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! No feed that applications accept is larger, nor is a record for people. */
constexpr qsizetype maximumSize = 16 * 1024 * 1024;

/*! The members of a JSON object; nil, with a complaint, where a file holds none. */
std::optional<QJsonObject> readMembers(const std::string &fileName)
{
    const std::optional<QByteArray> text = readWholeInput(fileName, maximumSize);
    if (!text)
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*text, &error);
    if (document.isObject())
        return document.object();
    if (document.isNull())
        complainAbout(fileName,
                      u"line %1: %2"_s.arg(QString::number(1 + text->first(error.offset).count('\n')),
                                           error.errorString()));
    else
        complainAbout(fileName, u"it has to be one JSON object: { \"versionIdentifier\": 120, … }"_s);
    return std::nullopt;
}

} // namespace

bool createFeed(const std::string &inputName, const std::string &outputName)
{
    const std::optional<QJsonObject> members = readMembers(inputName);
    if (!members)
        return false;
    MBWSWUpdateInfo record;
    if (const auto reason = setFields(&record, *members)) {
        complainAbout(inputName, *reason);
        return false;
    }
    if (const auto warning = warningAboutSystemVersion(record))
        complainAbout(inputName, u"warning: "_s + *warning);
    return writeOutput(outputName, NSKeyedArchiver::archivedDataWithRootObject(record));
}

bool showFeed(const std::string &fileName, bool asJSON)
{
    const std::optional<QByteArray> feed = readWholeInput(fileName, maximumSize);
    if (!feed)
        return false;
    NSError error;
    const auto record = NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(*feed, &error);
    if (!record) {
        complainAbout(fileName, u"no feed. "_s + error.localizedDescription());
        return false;
    }
    const QByteArray text = asJSON ? QJsonDocument(jsonOfRecord(*record)).toJson()
                                   : textOfRecord(*record).toUtf8();
    return writeOutput("-", text);
}
