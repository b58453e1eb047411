#pragma once

#include <QAction>
#include <QVariant>

/*! The items of a menu are QActions; this is what such an item has beyond. Main thread. */
namespace Marblewick::NSMenuItem {

inline constexpr char tagProperty[] = "tag";

/*! The number by which an item is known, whatever its text; 0 where it has none. */
inline int tag(const QAction *item) { return item->property(tagProperty).toInt(); }
inline void setTag(QAction *item, int tag) { item->setProperty(tagProperty, tag); }

} // namespace Marblewick::NSMenuItem
