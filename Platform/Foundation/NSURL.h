#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>
#include <QUrl>

#include <optional>

namespace Marblewick::NSURL {

/*! The URL that a text stands for, or nil where the text is not one by RFC 3986: empty, with a character
    that a URL cannot hold (a blank, "é", a "%" without two hexadecimal digits), or malformed. Unlike QUrl, it
    repairs nothing. Any thread.
*/
MARBLEWICK_CORE_EXPORT std::optional<QUrl> URLWithString(const QString &text);

} // namespace Marblewick::NSURL
