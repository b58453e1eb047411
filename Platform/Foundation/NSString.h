#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QString>
#include <QStringConverter>

#include <initializer_list>
#include <optional>

/*! What the platform's string class does and QString does not. Stateless; any thread. */
namespace Marblewick::NSString {

/*! Replaces each `%@` of `format` by the next argument, once and in order, so that an argument may itself
    hold `%@`. A nil argument prints `(null)`, as does a `%@` without an argument.
*/
MARBLEWICK_CORE_EXPORT QString stringWithFormat(QStringView format,
                                                std::initializer_list<std::optional<QString>> arguments);

/*! Whether the string is empty once white space and newlines are trimmed off both its ends. */
MARBLEWICK_CORE_EXPORT bool isBlank(QStringView string);

/*! The integer that a text begins with: white space, an optional sign, and ASCII digits up to the first other
    character. 0 where there is no digit; the nearest 64-bit integer where the number is out of range.
*/
MARBLEWICK_CORE_EXPORT qint64 integerValue(QStringView string);

/*! The string with every control character, line or paragraph separator, bidirectional control and
    unpaired surrogate written as an escape: `\n`, `\r`, `\t`, `\0`, else `\u{hex}`.
*/
MARBLEWICK_CORE_EXPORT QString escapingControlCharacters(QStringView string);

/*! Text from bytes of unknown encoding: UTF-8, UTF-16 or UTF-32 where a byte order mark says so (the mark
    is not part of the text) and the bytes are valid in it, else UTF-8 where the bytes are valid UTF-8, else
    Latin-1, which takes every byte. Never fails. `usedEncoding` receives the encoding that was used.
*/
MARBLEWICK_CORE_EXPORT QString stringWithData(const QByteArray &data,
                                              QStringConverter::Encoding *usedEncoding = nullptr);

/*! The text of a file, decoded as by stringWithData().

    Nil, with `error` set, where the path is not a regular file (a link to one is), cannot be read, or is
    larger than `maximumSize` bytes. Never blocks on a FIFO or a device.
*/
MARBLEWICK_CORE_EXPORT std::optional<QString> stringWithContentsOfFile(
    const QString &path, qint64 maximumSize, QStringConverter::Encoding *usedEncoding = nullptr,
    NSError *error = nullptr);

} // namespace Marblewick::NSString
