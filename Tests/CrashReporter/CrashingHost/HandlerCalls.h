#pragma once

#include <initializer_list>

/*! Calls of the system's functions at which the crash handler can be made to crash itself: the first, by
   which it begins to start its helper, and the one by which it ends its own log.
*/
enum class HandlerCall { SocketPair, FileSync };

/*! From now on these calls crash. */
void crashHandlerIn(std::initializer_list<HandlerCall> calls);
