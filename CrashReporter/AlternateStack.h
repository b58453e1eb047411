#pragma once

#include <signal.h>

#include <cstddef>

/*! A stack for the signal handlers of the thread that makes it, so that they can run after its own stack has
    overflowed. A thread that has a large enough one already keeps it; where the system gives no memory there
   is none.

    It is to be destroyed on the same thread.
*/
class AlternateStack
{
public:
    AlternateStack();
    ~AlternateStack();
    AlternateStack(const AlternateStack &) = delete;
    AlternateStack &operator=(const AlternateStack &) = delete;

private:
    void *m_mapping = nullptr;
    stack_t m_own = {};
    stack_t m_former = {};
};
