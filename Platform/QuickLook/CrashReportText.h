#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QByteArray>
#include <QString>

#include <optional>

namespace Marblewick {

/*! The text that a person reads, made from the contents of an `.ips` crash report: a header, which is one
    line of JSON, and a body. No key is required but the header's `bug_type`:

    - "309": the body is one JSON object. It is laid out as process, exception, threads, registers of the
      crashed thread and binary images. What follows the object, such as further reports, is appended after
      an empty line as it stands.
    - "109": the body is the text itself and comes back as it stands.

    Nil for every other type, for contents that do not parse, for contents above 64 MiB (67,108,864 bytes)
    and where the layout would be longer than 134,217,728 UTF-16 code units. Such contents are best shown as
    plain text.

    In the layout every string of the report has its control characters escaped. What comes back "as it
    stands" may hold control characters still.

    Any thread; a large report takes seconds, so none of them should be the main one.
*/
MARBLEWICK_CORE_EXPORT std::optional<QString> textOfCrashReport(const QByteArray &contents);

} // namespace Marblewick
