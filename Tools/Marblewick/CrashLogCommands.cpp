#include "Tools/Marblewick/CrashLogCommands.h"

#include "CrashReporter/CrashLogFolder.h"
#include "Tools/Marblewick/Console.h"

#include <Marblewick/CrashReportText.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSPathUtilities.h>
#include <Marblewick/NSString.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr qsizetype maximumSize = 256 * 1024 * 1024; // what is a log at all

struct CrashLog
{
    QString path;
    NSDate modificationDate;
};

/*! The line as a terminal can show it. */
QString printable(QStringView line)
{
    QString result;
    for (const QStringView part : line.tokenize(u'\t'))
        result += NSString::escapingControlCharacters(part) + u'\t';
    return result.chopped(1);
}

void printLine(const QString &line) { std::printf("%s\n", qUtf8Printable(line)); }

bool isLogOf(QByteArrayView fileName, const std::vector<std::string> &applicationNames)
{
    if (applicationNames.empty())
        return fileName.indexOf('_') > 0;
    return std::ranges::any_of(applicationNames, [fileName](const std::string &name) {
        return fileName.startsWith(QByteArray::fromStdString(name + '_'));
    });
}

/*! False, with a complaint, where the folder cannot be read. One that is missing holds no logs. */
bool appendLogs(const QString &folder, const std::vector<std::string> &applicationNames,
                std::vector<CrashLog> *logs)
{
    const NSFileManager *const files = NSFileManager::defaultManager();
    if (!files->fileExistsAtPath(folder))
        return true;
    NSError error;
    const bool isRead = files->enumerateContentsOfDirectoryAtPath(
        folder,
        [&](QByteArrayView name) {
            if (!isLogOf(name, applicationNames))
                return;
            const QString path = stringByAppendingPathComponent(
                folder, NSFileManager::stringWithFileSystemRepresentation(name));
            const auto attributes = files->attributesOfItemAtPath(path);
            if (attributes && files->isRegularFileAtPath(path))
                logs->push_back({path, attributes->modificationDate});
        },
        &error);
    if (!isRead)
        complain(folder + u": "_s + error.localizedDescription());
    return isRead;
}

bool printCrashLog(const std::string &fileName)
{
    const std::optional<QByteArray> contents = readWholeInput(fileName, maximumSize);
    if (!contents)
        return false;
    const QString text = textOfCrashReport(*contents).value_or(NSString::stringWithData(*contents));
    QStringView rest(text);
    while (!rest.isEmpty()) {
        const qsizetype end = rest.indexOf(u'\n');
        const QStringView line = end < 0 ? rest : rest.first(end);
        printLine(printable(line.endsWith(u'\r') ? line.chopped(1) : line));
        rest = rest.sliced(end < 0 ? rest.size() : end + 1);
    }
    return true;
}

bool listCrashLogs(const std::vector<std::string> &applicationNames)
{
    std::vector<CrashLog> logs;
    bool isDone = true;
    for (const QString &folder : {crashReporterFolder(), diagnosticReportsFolder()})
        isDone = appendLogs(folder, applicationNames, &logs) && isDone;
    std::ranges::stable_sort(logs, [](const CrashLog &one, const CrashLog &other) {
        return other.modificationDate < one.modificationDate;
    });
    for (const CrashLog &log : logs)
        printLine(printable(log.path));
    return isDone;
}

} // namespace

void addCrashLogCommands(CLI::App *app, Action *action)
{
    CLI::App *const crashLog = app->add_subcommand("crashlog", "Crash logs of applications");
    crashLog->require_subcommand(1);

    CLI::App *const text = crashLog->add_subcommand("text", "A crash report as its user sees it");
    const auto file = std::make_shared<std::string>();
    addFile(text, "FILE", "Crash log; \"-\" is standard input", file.get())->required();
    text->callback([=] { *action = [=] { return printCrashLog(*file); }; });

    CLI::App *const list = crashLog->add_subcommand("list", "The paths of the crash logs, the newest first");
    const auto applicationNames = std::make_shared<std::vector<std::string>>();
    addFiles(list, "NAME", "Names of the applications; without any, those of all", applicationNames.get())
        ->allow_extra_args()
        ->expected(0, -1);
    list->callback([=] { *action = [=] { return listCrashLogs(*applicationNames); }; });
}
