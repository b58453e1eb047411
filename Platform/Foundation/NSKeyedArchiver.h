#pragma once

#include <Marblewick/NSCoder.h>

#include <QByteArray>

#include <memory>

namespace Marblewick {

/*! Writes one object and what it holds as a keyed archive: a binary property list, as the platform's own
    archiver lays it out.
*/
class MARBLEWICK_CORE_EXPORT NSKeyedArchiver final : public NSCoder
{
public:
    /*! The archive whose root is `object`. Any thread. */
    template <NSSecureCoding T>
    static QByteArray archivedDataWithRootObject(const T &object)
    {
        NSKeyedArchiver archiver(T::className());
        object.encodeWithCoder(archiver);
        return archiver.encodedData();
    }

    ~NSKeyedArchiver() override;

    void encodeObject(const std::optional<QString> &string, QLatin1StringView key) override;
    void encodeObject(const std::optional<QUrl> &url, QLatin1StringView key) override;
    void encodeInteger(qint64 number, QLatin1StringView key) override;

private:
    explicit NSKeyedArchiver(QLatin1StringView rootClassName);
    QByteArray encodedData();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Marblewick
