#include "Tools/Marblewick/Bookmarks.h"

#include "Tools/Marblewick/Console.h"

#include <Marblewick/MBWSandboxManager.h>
#include <Marblewick/MBWSandboxPersistedBookmark.h>
#include <Marblewick/NSBundle.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSManagedObjectContext.h>
#include <Marblewick/NSManagedObjectModel.h>
#include <Marblewick/NSString.h>
#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

std::shared_ptr<const NSManagedObjectModel> bookmarkModel()
{
    NSManagedObject::registerClass<MBWSandboxPersistedBookmark>(u"MBWSandboxPersistedBookmark"_s);
    const auto url = NSBundle::bundleForClass<MBWSandboxManager>()->URLForResource(
        u"SandboxPersistedBookmarks"_s, u"momd"_s);
    return url ? NSManagedObjectModel::initWithContentsOfURL(*url) : nullptr;
}

QString pathOf(const MBWSandboxPersistedBookmark &bookmark)
{
    const std::optional<QString> urlString = bookmark.urlString();
    return urlString ? NSURL::path(QUrl(*urlString)) : u"(null)"_s;
}

void printBookmark(const MBWSandboxPersistedBookmark &bookmark)
{
    // Not resolvedURL(): that would note its findings in the record and in the log.
    const std::optional<QUrl> url = NSURL::URLByResolvingBookmarkData(bookmark.data(),
                                                                      NSURLBookmarkResolutionWithoutUI);
    const QString path = url ? NSURL::path(*url) : pathOf(bookmark);
    std::printf("%-5s  %-6s  %-10s  %s\n", url ? "found" : "lost", bookmark.isDirectory() ? "folder" : "file",
                bookmark.isReadOnly() ? "read-only" : "read-write",
                qUtf8Printable(NSString::escapingControlCharacters(path)));
}

bool listBookmarks(const std::string &fileName)
{
    std::error_code failure;
    const std::filesystem::path absolute = std::filesystem::absolute(fileName, failure);
    if (failure) {
        complainAbout(fileName, QString::fromStdString(failure.message()));
        return false;
    }
    const QString path = NSFileManager::stringWithFileSystemRepresentation(absolute.string());
    NSError error;
    const auto coordinator = std::make_shared<NSPersistentStoreCoordinator>(bookmarkModel());
    NSManagedObjectContext context(NSMainQueueConcurrencyType);
    context.setPersistentStoreCoordinator(coordinator);
    const auto bookmarks = coordinator->addPersistentStoreWithType(
                               NSSQLiteStoreType, std::nullopt, NSURL::fileURLWithPath(path),
                               {{NSReadOnlyPersistentStoreOption, true}}, &error)
                               ? context.executeFetchRequest(NSFetchRequest(u"Bookmark"_s), &error)
                               : std::nullopt;
    if (!bookmarks) {
        complainAbout(fileName, error.localizedDescription());
        return false;
    }
    for (const NSManagedObject *const bookmark : *bookmarks)
        printBookmark(static_cast<const MBWSandboxPersistedBookmark &>(*bookmark));
    return true;
}

} // namespace

void addBookmarksCommands(CLI::App *app, Action *action)
{
    CLI::App *const bookmarks = app->add_subcommand("bookmarks",
                                                    "What the users of sandboxed applications have granted");
    bookmarks->require_subcommand(1);

    CLI::App *const list = bookmarks->add_subcommand(
        "list", "Whether each item that was granted is found or lost, and how and where it was granted; a "
                "document of the portal counts as found, as only the sandbox can tell");
    const auto store = std::make_shared<std::string>();
    addFile(list, "STORE", "File in which an application keeps the grants; only read", store.get())
        ->required();
    list->callback([=] { *action = [=] { return listBookmarks(*store); }; });
}
