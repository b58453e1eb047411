#include <Marblewick/NSPathUtilities.h>
#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include <iostream>
#include <sstream>
#include <string>

using namespace Marblewick;

namespace {

std::string bookmark(const QUrl &url, NSURLBookmarkCreationOptions options)
{
    NSError error;
    const auto data = NSURL::bookmarkDataWithOptions(url, options, &error);
    return data ? data->toHex().toStdString() : error.description().toStdString();
}

std::string resolved(const QByteArray &data)
{
    NSError error;
    bool isStale = false;
    const auto url = NSURL::URLByResolvingBookmarkData(
        data, NSURLBookmarkResolutionWithoutUI | NSURLBookmarkResolutionWithSecurityScope, &isStale, &error);
    return url ? url->toEncoded().toStdString() + (isStale ? " stale" : "")
               : error.description().toStdString();
}

std::string word(bool flag) { return flag ? "yes" : "no"; }

std::string answer(const std::string &command, const QByteArray &argument)
{
    const QUrl url = QUrl::fromEncoded(argument);
    if (command == "bookmark")
        return bookmark(url, NSURLBookmarkCreationWithSecurityScope);
    if (command == "bookmark-for-reading")
        return bookmark(url, NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess);
    if (command == "resolve")
        return resolved(QByteArray::fromHex(argument));
    if (command == "start")
        return word(NSURL::startAccessingSecurityScopedResource(url));
    if (command == "reachable")
        return word(NSURL::checkResourceIsReachable(url));
    return NSHomeDirectory().toStdString();
}

} // namespace

/*! Does what standard input says, a command a line, and answers each with a line. */
int main()
{
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string command;
        std::string argument;
        words >> command >> argument;
        std::cout << answer(command, QByteArray::fromStdString(argument)) << std::endl;
    }
}
