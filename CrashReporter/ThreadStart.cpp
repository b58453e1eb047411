// Gives every thread that begins after the crash handler was installed an alternate stack. There is no other
// way to hear of the start of threads that other libraries make, such as Qt's, on the thread itself.

#include "CrashReporter/AlternateStack.h"
#include "CrashReporter/CrashHandler.h"

#include <Marblewick/MarblewickCoreExport.h>

#include <cerrno>
#include <dlfcn.h>
#include <memory>
#include <pthread.h>

namespace {

using Routine = void *(*)(void *);

struct Start
{
    Routine routine;
    void *argument;
};

/*! The C library's function, or a sanitizer's that stands between. */
auto nextPthreadCreate()
{
    static const auto next = reinterpret_cast<decltype(&::pthread_create)>(
        ::dlsym(RTLD_NEXT, "pthread_create"));
    return next;
}

void *runThread(void *argument)
{
    // Both are freed when the thread ends, also by pthread_exit() or because it is cancelled: those unwind.
    // Nothing is freed before the routine, which may be where a sanitizer gets to know the thread.
    const std::unique_ptr<const Start> start(static_cast<const Start *>(argument));
    const AlternateStack stack;
    return start->routine(start->argument);
}

} // namespace

extern "C" MARBLEWICK_CORE_EXPORT int pthread_create(pthread_t *__restrict thread,
                                                     const pthread_attr_t *__restrict attributes,
                                                     Routine routine, void *__restrict argument) noexcept
{
    if (!CrashHandler::isInstalled())
        return nextPthreadCreate()(thread, attributes, routine, argument);
    std::unique_ptr<Start> start(new (std::nothrow) Start{routine, argument});
    if (!start)
        return EAGAIN;
    const int result = nextPthreadCreate()(thread, attributes, &runThread, start.get());
    if (result == 0)
        static_cast<void>(start.release()); // the new thread's now
    return result;
}
