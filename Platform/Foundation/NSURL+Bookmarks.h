#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>
#include <Marblewick/NSFileError.h>

#include <QByteArray>
#include <QFlags>
#include <QUrl>

#include <optional>

namespace Marblewick {

/*! What a new bookmark keeps beside the item. */
enum NSURLBookmarkCreationOption : quint32 {
    NSURLBookmarkCreationWithSecurityScope = 1U << 11, ///< access for reading and writing
    /*! Access for reading. It comes alone; beside the other one it is the one that counts. */
    NSURLBookmarkCreationSecurityScopeAllowOnlyReadAccess = 1U << 12,
};
Q_DECLARE_FLAGS(NSURLBookmarkCreationOptions, NSURLBookmarkCreationOption)
Q_DECLARE_OPERATORS_FOR_FLAGS(NSURLBookmarkCreationOptions)

/*! How a bookmark is resolved. */
enum NSURLBookmarkResolutionOption : quint32 {
    NSURLBookmarkResolutionWithoutUI = 1U << 8, ///< asks the user nothing; here that is always so
    NSURLBookmarkResolutionWithSecurityScope = 1U << 10, ///< lets access to the URL be started
};
Q_DECLARE_FLAGS(NSURLBookmarkResolutionOptions, NSURLBookmarkResolutionOption)
Q_DECLARE_OPERATORS_FOR_FLAGS(NSURLBookmarkResolutionOptions)

/*! What stands behind the access to files outside a sandbox. The framework's own one asks the system for what
    is allowed, and for a document the documents portal, whose file system answers for the documents that it
    shows. A host in a sandbox of another kind can install its own. Main thread.
*/
class MARBLEWICK_CORE_EXPORT NSSecurityScope
{
public:
    virtual ~NSSecurityScope();

    /*! Whether the item can be used from now on, for reading only or for writing too. */
    virtual bool startAccessing(const QUrl &url, bool isReadOnly) = 0;
    /*! The item is not used any more. Also called where access was never started. */
    virtual void stopAccessing(const QUrl &url) = 0;

    /*! The one in use; null where URLs have no security scope. */
    static NSSecurityScope *current();
    /*! Puts another one in its place, which is not owned; null for a system without security scopes. */
    static void setCurrent(NSSecurityScope *scope);
    /*! The framework's own one. */
    static NSSecurityScope *systemScope();
};

namespace NSURL {

/*! Whether access to URLs can be started at all, as `instancesRespondToSelector:` tells of
    startAccessingSecurityScopedResource(). False only while NSSecurityScope::current() is null. Main thread.
*/
MARBLEWICK_CORE_EXPORT bool instancesRespondToStartAccessingSecurityScopedResource();

/*! Bytes from which URLByResolvingBookmarkData() finds the item of a file URL again, also in a later launch:
    a file, a folder, or a symbolic link itself; whatever else has a name, too. They are for this framework
    alone; their form is versioned and has a checksum, and they are smaller than 8 KiB.

    Nil, with `error` set, where the item is missing or cannot be looked at, or the URL is not that of an
    absolute path. Main thread.
*/
MARBLEWICK_CORE_EXPORT std::optional<QByteArray> bookmarkDataWithOptions(const QUrl &url,
                                                                         NSURLBookmarkCreationOptions options,
                                                                         NSError *error = nullptr);

/*! The URL at which a bookmarked item is now. It is found under its path, and where the home folder has
    moved, under the same path in that; where another item of the same kind has taken its name in the same
    folder, as when a file is saved, that one; where the name is gone, by another name in the same folder. A
    folder that was renamed is found even where another one has its name now, unless it looks like a package,
    whose name has an extension. An item that merely has the number of the bookmarked one is never taken for
    it.

    `isStale` receives whether path or item are no longer those in the data, so that it should be made anew.
    Nil, with `error` set, where the item is known to be gone or the data is no bookmark. The path is as it
    was bookmarked, symbolic links not resolved, without a slash at its end.

    Where the system cannot tell whether the item is gone (too many open files, a closed folder, a server
    that does not answer), the URL is the bookmarked one, and not stale. A document of the documents portal,
    as applications in a Flatpak sandbox get them, is not looked for at all. So an outage costs no bookmark;
    what is possible is seen when access starts. Main thread.
*/
MARBLEWICK_CORE_EXPORT std::optional<QUrl> URLByResolvingBookmarkData(const QByteArray &data,
                                                                      NSURLBookmarkResolutionOptions options,
                                                                      bool *isStale = nullptr,
                                                                      NSError *error = nullptr);

/*! Starts the access that a bookmark has kept: true where it can be used in the bookmark's mode. It asks
    NSSecurityScope::current(). The framework's own scope says false only where it is refused for certain; a
    documents portal that is away or has not answered within half a second counts as granting, and after the
    latter it is not asked again in this process.

    A URL has the mode of the bookmark that was last resolved to its path in this process, with
    NSURLBookmarkResolutionWithSecurityScope. False for a path that no bookmark with a scope was resolved to.
    Main thread.
*/
MARBLEWICK_CORE_EXPORT bool startAccessingSecurityScopedResource(const QUrl &url);

/*! Ends the access, also where none was started. It can be started again. Main thread. */
MARBLEWICK_CORE_EXPORT void stopAccessingSecurityScopedResource(const QUrl &url);

} // namespace NSURL

} // namespace Marblewick
