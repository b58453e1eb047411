#pragma once

#include "Platform/Foundation/Bookmarks/ItemIdentity.h"
#include "Platform/Foundation/NSError.h"

#include <QByteArray>

#include <optional>

namespace Marblewick {

/*! What the data of a bookmark says. docs/architecture.md has its form, byte by byte. */
struct Bookmark
{
    /*! What the first part of the path is, which may have another place later. */
    enum class Base : quint8 { None = 0, Home = 1, Documents = 2 };
    enum class Scope : quint8 { None = 0, ReadWrite = 1, ReadOnly = 2 };

    QByteArray path = {}; ///< absolute, without a slash at its end
    Base base = Base::None;
    qsizetype baseLength = 0; ///< bytes of the path; 0 where there is no base
    Scope scope = Scope::None;
    /*! Neither is there for a document of the documents portal, which has an identifier in its path. */
    std::optional<ItemIdentity> item = {};
    std::optional<ItemIdentity> folder = {}; ///< that the item lies in

    QByteArray data() const;
    /*! Nil, with `error` set, where the bytes are no bookmark, were damaged, or are of a newer version. */
    static std::optional<Bookmark> fromData(const QByteArray &data, NSError *error);
};

} // namespace Marblewick
