#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>
#include <QUrl>

#include <concepts>
#include <optional>

namespace Marblewick {

/*! Code, in the Cocoa error domain, of an archive that cannot be read or holds something else than asked for.
 */
inline constexpr qint64 NSCoderReadCorruptError = 4864;

/*! What an object writes its fields to and reads them from, each under a key: NSKeyedArchiver and
    NSKeyedUnarchiver. An archiver only encodes, an unarchiver only decodes; the other operations throw an
    NSException (NSInvalidArgumentException).

    Decoding does not report single failures: a field of another class than asked for makes the decoding fail
    as a whole, and it and every later one read as absent. One thread.
*/
class MARBLEWICK_CORE_EXPORT NSCoder
{
public:
    NSCoder() = default;
    virtual ~NSCoder();
    NSCoder(const NSCoder &) = delete;
    NSCoder &operator=(const NSCoder &) = delete;

    /*! Writes a string; nothing for nil. */
    virtual void encodeObject(const std::optional<QString> &string, QLatin1StringView key);
    /*! Writes a URL; nothing for nil or an invalid one. */
    virtual void encodeObject(const std::optional<QUrl> &url, QLatin1StringView key);
    virtual void encodeInteger(qint64 number, QLatin1StringView key);

    /*! The object under a key, which must be of class T, QString or QUrl. Nil where it is nil or absent, and
        a URL also where its text is not one (see NSURL.h). A URL with a base URL is resolved against it.
    */
    template <typename T>
    std::optional<T> decodeObjectOfClass(QLatin1StringView key)
    {
        static_assert(std::same_as<T, QString> || std::same_as<T, QUrl>);
        if constexpr (std::same_as<T, QString>)
            return decodeString(key);
        else
            return decodeURL(key);
    }
    /*! The integer under a key, 0 where it is absent. Of a boolean 0 or 1. */
    virtual qint64 decodeIntegerForKey(QLatin1StringView key);

protected:
    virtual std::optional<QString> decodeString(QLatin1StringView key);
    virtual std::optional<QUrl> decodeURL(QLatin1StringView key);
};

/*! A class whose objects can be archived, and read from an archive that may be hostile: the constructor
    initialises from a coder, and className() is the name that stands for the class in archives.
*/
template <typename T>
concept NSSecureCoding = requires(const T &object, NSCoder &coder)
{
    requires T::supportsSecureCoding();
    requires std::same_as<decltype(T::className()), QLatin1StringView>;
    requires std::constructible_from<T, NSCoder &>;
    object.encodeWithCoder(coder);
};

} // namespace Marblewick
