#pragma once

#include <chrono>
#include <functional>

/*! Does something in a child process, and waits for it. False where it returned false, crashed, or had not
   ended at the moment `end`, at which the child is ended by a signal.
*/
bool succeedsInChild(std::chrono::steady_clock::time_point end, const std::function<bool()> &work);
