#pragma once

#include "Platform/Foundation/NSURLSession.h"

namespace Marblewick {

/*! One request with what is to be done about its answer. Once the task has handed it over, it belongs to the
    worker thread.
*/
struct HTTPTransfer
{
    const NSURLRequest request;
    const qint64 maximumResponseSize; ///< in bytes
    NSURLSessionCompletion completion; ///< none once the outcome is settled
};

} // namespace Marblewick
