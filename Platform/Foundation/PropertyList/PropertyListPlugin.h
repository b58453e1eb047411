#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

/*! The one function of the plugin "marblewick-plist": reads a property list with libplist. False, with
    `reason` set, where the bytes are not one.
*/
using MarblewickReadPropertyList = bool (*)(const QByteArray &data, QVariant *root, QString *reason);

inline constexpr char marblewickReadPropertyListName[] = "marblewickReadPropertyList";
