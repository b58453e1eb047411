#pragma once

#include <Marblewick/NSCoder.h>
#include <Marblewick/NSError.h>

#include <QByteArray>

#include <memory>

namespace Marblewick {

/*! Reads an object from a keyed archive, which may come from anybody: time and memory stay within a small
    multiple of the archive's size, and only the classes asked for are made. What the archive itself says of a
    class's superclasses is not believed.
*/
class MARBLEWICK_CORE_EXPORT NSKeyedUnarchiver final : public NSCoder
{
public:
    /*! The root object of an archive. Null, with `error` set (NSCoderReadCorruptError of the Cocoa domain),
        where `data` is no keyed archive, its root is nil or of another class than T, or a field that T reads
        is of another class than T asks for. Any thread.
    */
    template <NSSecureCoding T>
    static std::shared_ptr<T> unarchivedObjectOfClass(const QByteArray &data, NSError *error = nullptr)
    {
        NSKeyedUnarchiver unarchiver(data);
        std::shared_ptr<T> object;
        if (unarchiver.enterRootOfClass(T::className()))
            object = std::make_shared<T>(static_cast<NSCoder &>(unarchiver));
        return unarchiver.isIntact(error) ? object : nullptr;
    }

    ~NSKeyedUnarchiver() override;

    qint64 decodeIntegerForKey(QLatin1StringView key) override;

protected:
    std::optional<QString> decodeString(QLatin1StringView key) override;
    std::optional<QUrl> decodeURL(QLatin1StringView key) override;

private:
    explicit NSKeyedUnarchiver(const QByteArray &data);
    /*! Whether the root is an object of the class of that name, whose fields can now be read. */
    bool enterRootOfClass(QLatin1StringView className);
    /*! Whether nothing has failed so far; else `error` receives what did. */
    bool isIntact(NSError *error) const;

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Marblewick
