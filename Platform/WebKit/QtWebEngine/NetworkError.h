#pragma once

#include <QtGlobal>

namespace Marblewick {

/*! The code of NSURLErrorDomain for an error number of the engine, which is negative. */
qint64 urlErrorCode(int networkError);

} // namespace Marblewick
