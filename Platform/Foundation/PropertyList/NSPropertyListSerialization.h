#pragma once

#include "Platform/Foundation/NSError.h"

#include <QByteArray>
#include <QVariantMap>

#include <optional>

/*! Property lists of the host's own, XML or binary. Not for a stranger's bytes: the library behind it
    trusts what it reads.
*/
namespace Marblewick::NSPropertyListSerialization {

/*! Code, in the Cocoa error domain, of a property list that could not be read. */
inline constexpr qint64 NSPropertyListReadCorruptError = 3840;

/*! The dictionary at the top of a property list, with strings, numbers, booleans, dates, data, arrays and
    dictionaries as the matching QVariant. Nil, with `error` set, where the bytes are not a property list, its
    top is not a dictionary, or the reader (a plugin, loaded here) is missing. Any thread.
*/
std::optional<QVariantMap> dictionaryWithData(const QByteArray &data, NSError *error);

} // namespace Marblewick::NSPropertyListSerialization
