#pragma once

#include <QByteArray>

#include <optional>

namespace Marblewick {

struct ItemIdentity;

/*! The path of an item somewhere in a folder, subfolders left out; empty where it is not there, or has no
    handle that would prove it is the one. An item with several names in the folder has one of them.

    Nil, with the reason in `errno`, where the folder could not be read or has more than 250,000 entries.

    What a folder holds is remembered from the second search on, until it changes or another one is searched,
   so that many items which are gone from one folder cost two readings of it. Main thread.
*/
std::optional<QByteArray> pathOfItemInFolder(const ItemIdentity &item, const QByteArray &folder);

} // namespace Marblewick
