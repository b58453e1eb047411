#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QString>
#include <QUrl>

#include <optional>

namespace Marblewick::NSURL {

/*! The URL that a text stands for, or nil where the text is not one by RFC 3986: empty, with a character
    that a URL cannot hold (a blank, "é", a "%" without two hexadecimal digits) or holds elsewhere only (a
    square bracket outside the host, a second "#"), with a host that is no host name or a port above 65535.

    Unlike QUrl's own parser, it repairs nothing. The QUrl writes some URLs differently, as RFC 3986, 6.2.2
    and 6.2.3 call the same: scheme and host in lower case, unreserved characters bare (`%41` is `A`), no ":"
    without a port. Any thread.
*/
MARBLEWICK_CORE_EXPORT std::optional<QUrl> URLWithString(const QString &text);

/*! The file URL of a path, as it is: nothing is looked up, resolved or shortened. It is equal to the one that
    QUrl::fromLocalFile() makes, but for a byte that is not UTF-8 (see NSFileManager): that is escaped
   (`%FF`), so that the URL's absolute string keeps it. Any thread.
*/
MARBLEWICK_CORE_EXPORT QUrl fileURLWithPath(const QString &path);

/*! The path of a URL, without slashes at its end: the file manager's string for a file URL. Symbolic links
   are not resolved, and the case is kept. Empty where the URL has no path, "/" for the root. Any thread.
*/
MARBLEWICK_CORE_EXPORT QString path(const QUrl &url);

/*! The URL of the folder that an item lies in, with a slash at its end; the root's is its own. Any thread. */
MARBLEWICK_CORE_EXPORT QUrl URLByDeletingLastPathComponent(const QUrl &url);

/*! Whether a file URL's item may be there, symbolic links followed. False, with `error` set, only where it is
    provably missing, or the URL is not a file's.

    What a sandbox hides looks missing: a path outside the folders that it shows, a document that was not
    granted. Such an item counts as reachable, as one does where the system does not let us look, or the
    documents portal does not answer within half a second. Main thread.
*/
MARBLEWICK_CORE_EXPORT bool checkResourceIsReachable(const QUrl &url, NSError *error = nullptr);

} // namespace Marblewick::NSURL
