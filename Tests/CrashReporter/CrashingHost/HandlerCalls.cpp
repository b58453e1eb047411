#include "Tests/CrashReporter/CrashingHost/HandlerCalls.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

// Functions of the program's stand in front of the system's.

static bool crashes[3] = {};
static bool cancels = false;
static volatile int *volatile nowhere = nullptr;

static void crashIf(HandlerCall call)
{
    if (crashes[static_cast<int>(call)])
        *nowhere = 1;
}

extern "C" [[gnu::visibility("default")]] int socketpair(int domain, int type, int protocol,
                                                         int sockets[2]) noexcept
{
    crashIf(HandlerCall::SocketPair);
    if (cancels)
        ::pthread_cancel(::pthread_self());
    return static_cast<int>(::syscall(SYS_socketpair, domain, type, protocol, sockets));
}

extern "C" [[gnu::visibility("default")]] ssize_t send(int socket, const void *bytes, size_t size, int flags)
{
    crashIf(HandlerCall::Send);
    return ::syscall(SYS_sendto, socket, bytes, size, flags, nullptr, 0);
}

extern "C" [[gnu::visibility("default")]] int fsync(int descriptor)
{
    crashIf(HandlerCall::FileSync);
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

void crashHandlerIn(std::initializer_list<HandlerCall> calls)
{
    for (const HandlerCall call : calls)
        crashes[static_cast<int>(call)] = true;
}

void cancelThreadInHandler()
{
    cancels = true;
    ::pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
}
