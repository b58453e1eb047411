#pragma once

#include <QByteArray>
#include <QLatin1StringView>

/*! How a keyed archive is laid out, for its writer and its reader.

    The property list is a dictionary with the archiver's name, the version, "$objects" and "$top", where
   "root" refers to the root object. "$objects" is a flat array, in which objects refer to each other by index
   (UID). Index 0 is the string "$null" and stands for nil. A string stands there by itself; every other
   object is a dictionary of its fields, whose "$class" refers to a dictionary with the class's name and those
   of its superclasses.
*/
namespace Marblewick::KeyedArchive {

inline constexpr QLatin1StringView archiverKey("$archiver");
inline constexpr QLatin1StringView archiver("NSKeyedArchiver");
inline constexpr QLatin1StringView versionKey("$version");
inline constexpr qint64 version = 100'000;
inline constexpr QLatin1StringView topKey("$top");
inline constexpr QLatin1StringView rootKey("root");
inline constexpr QLatin1StringView objectsKey("$objects");
inline constexpr QLatin1StringView null("$null");
inline constexpr quint32 nullUID = 0;
inline constexpr QLatin1StringView classKey("$class");
inline constexpr QLatin1StringView classNameKey("$classname");
inline constexpr QLatin1StringView classesKey("$classes");

inline constexpr QLatin1StringView objectClass("NSObject");
inline constexpr QLatin1StringView urlClass("NSURL");
inline constexpr QLatin1StringView urlBaseKey("NS.base");
inline constexpr QLatin1StringView urlRelativeKey("NS.relative");
inline constexpr QLatin1StringView stringClass("NSString");
inline constexpr QLatin1StringView mutableStringClass("NSMutableString");
inline constexpr QLatin1StringView stringKey("NS.string");

/*! Whether the key of a field begins as the archive's own do, and therefore stands in it as escapedKey(). */
inline bool isReserved(QLatin1StringView key) { return key.startsWith(QLatin1Char('$')); }
inline QByteArray escapedKey(QLatin1StringView key) { return '$' + QByteArray(key.data(), key.size()); }

} // namespace Marblewick::KeyedArchive
