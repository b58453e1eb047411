// Does what standard input says, a command a line, and answers each with a line: "start"; "open" and a URL,
// whether the user has to be asked for it, "ask" or "no"; "open-read-only", the same for reading; "grant",
// "grant-read-only" and "forget". Keeps grants in the home folder.

#include <Marblewick/MBWSandboxManager.h>
#include <Marblewick/NSPathUtilities.h>
#include <Marblewick/NSURL.h>

#include <iostream>
#include <sstream>
#include <string>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

class GrantManager : public MBWSandboxManager
{
public:
    std::optional<QUrl> storeFileURL() const override
    {
        return NSURL::fileURLWithPath(NSHomeDirectory() + u"/Grants.store"_s);
    }
};

std::string answer(const std::string &command, const QUrl &url)
{
    if (command == "start")
        return "started";
    MBWSandboxManager *const manager = MBWSandboxManager::sharedManager<GrantManager>();
    if (command == "open")
        return manager->appNeedsToObtainPermissionToAccessURL(url) ? "ask" : "no";
    if (command == "open-read-only")
        return manager->appNeedsToObtainReadOnlyPermissionToAccessURL(url) ? "ask" : "no";
    if (command == "grant")
        manager->appDidObtainPermissionToAccessURL(url);
    else if (command == "grant-read-only")
        manager->appDidObtainReadOnlyPermissionToAccessURL(url);
    else if (command == "forget")
        manager->removePersistedBookmarkForURL(url);
    return "done";
}

} // namespace

int main()
{
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string command;
        std::string url;
        words >> command >> url;
        std::cout << answer(command, QUrl::fromEncoded(QByteArray::fromStdString(url))) << std::endl;
    }
}
