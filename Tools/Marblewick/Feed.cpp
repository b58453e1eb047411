#include "Tools/Marblewick/Feed.h"

#include "Tools/Marblewick/Console.h"
#include "Tools/Marblewick/FeedFields.h"

#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include <QJsonDocument>

#include <memory>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! No feed that applications accept is larger, nor is a record for people. */
constexpr qsizetype maximumSize = 16 * 1024 * 1024;

constexpr char recordFields[] =
    "Members of the object; all but versionIdentifier may be missing or null:\n"
    "  productIdentifier  identifier of the product\n"
    "  productName        its name for people\n"
    "  versionIdentifier  number of the release, an integer; applications with a lower one are told of it\n"
    "  versionString      version of the release for people\n"
    "  directDownloadURL  where the installer is downloaded from\n"
    "  productPageURL     page of the product\n"
    "  updateInfoURL      page with the release notes, http or https\n"
    "  appStoreURL        page of the product in a store\n"
    "  systemVersion      first version of the system that it runs on, such as 12.5";

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

void addCreateCommand(CLI::App *feed, Action *action)
{
    CLI::App *const command = feed->add_subcommand("create", "Writes the feed of a record");
    const auto input = std::make_shared<std::string>();
    const auto output = std::make_shared<std::string>();
    addFile(command, "INPUT", "Record as a JSON object; \"-\" is standard input", input.get())->required();
    addFile(command, "OUTPUT", "Feed; \"-\" is standard output", output.get())->required();
    command->footer(recordFields);
    command->callback([=] { *action = [=] { return createFeed(*input, *output); }; });
}

void addShowCommand(CLI::App *feed, Action *action)
{
    CLI::App *const command = feed->add_subcommand("show", "Prints what a feed announces, or why it is none");
    const auto input = std::make_shared<std::string>();
    const auto asJSON = std::make_shared<bool>(false);
    addFile(command, "FILE", "Feed; \"-\" is standard input", input.get())->required();
    command->add_flag("--json", *asJSON,
                      "As a JSON object, which \"create\" takes where nothing in it is refused");
    command->callback([=] { *action = [=] { return showFeed(*input, *asJSON); }; });
}

} // namespace

void addFeedCommands(CLI::App *app, Action *action)
{
    CLI::App *const feed = app->add_subcommand("feed", "The feed that announces a release to its users");
    feed->require_subcommand(1);
    addCreateCommand(feed, action);
    addShowCommand(feed, action);
}
