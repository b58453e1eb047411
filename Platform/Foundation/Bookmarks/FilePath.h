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

/*! Whether a system call that failed with this `errno` value proves that nothing is at its path. Others, such
   as that of a server which does not answer or of a process with too many open files, say nothing about it.
*/
bool isProofOfAbsence(int failure);

} // namespace Marblewick
