#pragma once

#include "Platform/ExceptionHandling/StackTrace.h"

#include <exception>

/*! The stacks of the latest throws, by the exceptions that were thrown. A stack that was unwound, because the
    exception was caught and thrown again or passed a destructor, is still known here.

    Core has a __cxa_throw() and a __cxa_free_exception() in front of the language runtime's, which every
    `throw` of the process and the end of every exception call where the host is linked with Core. Any thread;
    no throw waits for another one.
*/
namespace Marblewick::ThrowRecord {

/*! Whether throws are recorded from now on; at first they are not, and never where Core is not in front. In a
    process that has loaded it as part of a plugin it need not be.
*/
void setEnabled(bool isEnabled);
bool isEnabled();

/*! The stack of the throw, from the frame that threw. Empty where it was not recorded, or where later throws
   have taken its place; never that of another exception.
*/
StackTrace stackOfThrow(const std::exception_ptr &exception);

} // namespace Marblewick::ThrowRecord
