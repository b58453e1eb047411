#pragma once

#include "Platform/Foundation/NSError.h"

#include <QUrl>

namespace Marblewick {

/*! The error of a code of NSURLErrorDomain, with its sentence in the host's language and the URL that failed.
    `reason`, where there is one, stands in for the sentence of an unknown error. Any thread.
*/
NSError errorWithURLErrorCode(qint64 code, const QUrl &url, const QString &reason = {});

} // namespace Marblewick
