#pragma once

#include <Marblewick/MarblewickCoreExport.h>

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

} // namespace Marblewick::NSURL
