#pragma once

#include "Platform/Foundation/NSError.h"

#include <QByteArray>
#include <QUrl>

#include <optional>

namespace Marblewick {

/*! The bytes by which the system knows the item of a file URL, without slashes at the end. Nil, with `error`
    set, where it is no file URL, or its path is relative or holds a NUL. Any thread.
*/
std::optional<QByteArray> filePath(const QUrl &url, NSError *error);

/*! The folder that the item at an absolute path lies in; "/" for "/". */
QByteArray folderOfItem(const QByteArray &path);

/*! The name of the item at an absolute path; empty for "/". */
QByteArray nameOfItem(const QByteArray &path);

} // namespace Marblewick
