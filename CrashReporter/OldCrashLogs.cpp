#include "CrashReporter/OldCrashLogs.h"

#include "Platform/Foundation/NSFileManager.h"

#include <algorithm>
#include <iterator>
#include <unistd.h>

using namespace Marblewick;

namespace {

/*! What follows the name: "_", date and time with a digit for each 0, "_", digits of the process id, ".ips".
 */
constexpr QByteArrayView datePattern = "_0000-00-00-000000_";
constexpr QByteArrayView extension = ".ips";

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

bool matchesDate(QByteArrayView text)
{
    return std::ranges::equal(text, datePattern, [](char byte, char expected) {
        return expected == '0' ? isDigit(byte) : byte == expected;
    });
}

bool isOwnLog(QByteArrayView name, QByteArrayView applicationName)
{
    if (!name.startsWith(applicationName) || !name.endsWith(extension))
        return false;
    const QByteArrayView rest = name.sliced(applicationName.size());
    const qsizetype digits = rest.size() - datePattern.size() - extension.size();
    return digits > 0 && matchesDate(rest.first(datePattern.size()))
           && std::ranges::all_of(rest.sliced(datePattern.size(), digits), isDigit);
}

} // namespace

QByteArrayList crashLogsToRemove(const QByteArray &applicationName, const QByteArrayList &names)
{
    QByteArrayList own;
    std::ranges::copy_if(names, std::back_inserter(own),
                         [&](const QByteArray &name) { return isOwnLog(name, applicationName); });
    std::ranges::sort(own); // Of one application, that is by date.
    own.resize(std::max<qsizetype>(0, own.size() - keptCrashLogs));
    return own;
}

void removeOldCrashLogs(const QByteArray &applicationName, const QString &folder)
{
    QByteArrayList names;
    NSFileManager::defaultManager()->enumerateContentsOfDirectoryAtPath(
        folder, [&](QByteArrayView name) { names.append(name.toByteArray()); });
    const QByteArray path = NSFileManager::fileSystemRepresentationWithPath(folder);
    for (const QByteArray &name : crashLogsToRemove(applicationName, names))
        ::unlink((path + '/' + name).constData());
}
