#pragma once

#include <Marblewick/NSCoder.h>

#include "Tests/Support/QtPrinters.h"

#include <QUrl>

/*! A class of a host's that is archived, with a field of each kind. */
struct ArchivedNote
{
    ArchivedNote() = default;
    explicit ArchivedNote(Marblewick::NSCoder &coder)
        : title(coder.decodeObjectOfClass<QString>(titleKey))
        , link(coder.decodeObjectOfClass<QUrl>(linkKey))
        , number(coder.decodeIntegerForKey(numberKey))
        , dollar(coder.decodeIntegerForKey(dollarKey))
    { }

    static constexpr bool supportsSecureCoding() { return true; }
    static constexpr QLatin1StringView className() { return QLatin1StringView("Note"); }
    void encodeWithCoder(Marblewick::NSCoder &coder) const
    {
        coder.encodeObject(title, titleKey);
        coder.encodeObject(link, linkKey);
        coder.encodeInteger(number, numberKey);
        coder.encodeInteger(dollar, dollarKey);
    }

    static constexpr QLatin1StringView titleKey{"title"};
    static constexpr QLatin1StringView linkKey{"link"};
    static constexpr QLatin1StringView numberKey{"number"};
    static constexpr QLatin1StringView dollarKey{"$class"}; ///< as the archive's own key

    std::optional<QString> title;
    std::optional<QUrl> link;
    qint64 number = 0;
    qint64 dollar = 0;
};
