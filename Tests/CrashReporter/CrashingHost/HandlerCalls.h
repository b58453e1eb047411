#pragma once

#include <initializer_list>

/*! Calls of the system's functions at which the crash handler can be made to crash itself: the first, by
   which it begins to start its helper, the one by which it tells the running helper of the crash, and the one
   by which it ends its own log.
*/
enum class HandlerCall { SocketPair, Send, FileSync };

/*! From now on these calls crash. */
void crashHandlerIn(std::initializer_list<HandlerCall> calls);

/*! From now on the crashed thread is cancelled while the handler runs, and would end at once if it could be.
 */
void cancelThreadInHandler();
