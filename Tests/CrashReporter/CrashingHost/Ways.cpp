#include "Tests/CrashReporter/CrashingHost/Ways.h"

#include "Tests/CrashReporter/CrashingHost/SystemCallFilter.h"
#include "Tests/Support/Host.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <latch>
#include <malloc.h>
#include <map>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

[[gnu::noinline]] void writeThrough(volatile int *pointer) { *pointer = 1; }

[[gnu::noinline]] void writeThroughNull() { writeThrough(nullptr); }

[[gnu::noinline]] void readBehindEndOfFile()
{
    const int file = ::open(".", O_TMPFILE | O_RDWR, 0600);
    const void *const page = ::mmap(nullptr, 4096, PROT_READ, MAP_SHARED, file, 0);
    std::printf("%d", *static_cast<const volatile int *>(page));
}

[[gnu::noinline]] void divideByZero()
{
    volatile int zero = 0;
    zero = 7 / zero;
}

[[gnu::noinline]] void executeNoInstruction() { __builtin_trap(); }

[[gnu::noinline]] void hitBreakpoint()
{
#if defined(__x86_64__)
    asm volatile("int3");
#elif defined(__aarch64__)
    asm volatile("brk #0");
#endif
}

[[gnu::noinline]] void callForbiddenFunction()
{
    trapSystemCall(SYS_getpriority);
    ::syscall(SYS_getpriority, 0, 0);
}

[[gnu::noinline]] void killItself() { ::kill(::getpid(), SIGSEGV); }

[[gnu::noinline]] void callAbort() { std::abort(); }

[[gnu::noinline]] int overflowStack(int depth)
{
    if (depth < 0)
        return 0;
    volatile char frame[512];
    frame[0] = static_cast<char>(depth);
    return overflowStack(depth + 1) + frame[0];
}

void overflowInThreadWithSmallStack()
{
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, 128 * 1024);
    pthread_t thread = {};
    ::pthread_create(
        &thread, &attributes, [](void *) -> void * { return overflowStack(0), nullptr; }, nullptr);
    ::pthread_join(thread, nullptr);
}

/*! Inside malloc(), which locks its arena because there is another thread. */
[[gnu::noinline]] void crashWithMallocLockHeld()
{
    constexpr std::size_t size = 100'000;
    std::latch isRunning(1); // A thread that is starting still reads what it was given, which is on the heap.
    std::thread([&] {
        isRunning.count_down();
        ::pause();
    }).detach();
    isRunning.wait();
    void *const block = std::malloc(size);
    const auto page = reinterpret_cast<std::uintptr_t>(block) / 4096 * 4096;
    const auto end = reinterpret_cast<std::uintptr_t>(::sbrk(0));
    std::free(block);
    ::mprotect(reinterpret_cast<void *>(page), end - page, PROT_NONE);
    void *volatile again = std::malloc(size);
    std::free(again);
}

[[gnu::noinline]] void freeWhatWasNotAllocated()
{
    static char text[256] = {};
    char *volatile inside = text + 24;
    std::free(inside);
}

[[gnu::noinline]] void corruptHeap()
{
    for (int index = 0; index < 64; ++index) {
        auto *const block = static_cast<volatile char *>(std::malloc(2000));
        for (int offset = 0; offset < 2064; ++offset)
            block[offset] = 'A';
    }
    std::free(std::malloc(64 * 1024));
    ::malloc_trim(0);
}

[[gnu::noinline]] void throwNumber() { throw 42; }

struct ThrowingExplanation : std::exception
{
    const char *what() const noexcept override
    {
        throwNumber();
        return "";
    }
};

struct CrashingExplanation : std::exception
{
    const char *what() const noexcept override
    {
        writeThroughNull();
        return "";
    }
};

[[gnu::noinline]] void throwRuntimeError() { throw std::runtime_error("the map is upside down"); }

/*! In a child that goes on without another program. The parent then ends as the child did. */
void crashInForkedChild(void (*function)())
{
    const pid_t child = ::fork();
    if (child == 0)
        function();
    std::printf("%d\n", child);
    int status = 0;
    ::waitpid(child, &status, 0);
    std::exit(WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV ? EXIT_SUCCESS : EXIT_FAILURE);
}

const std::map<QString, void (*)()> &ways()
{
    using namespace Host;
    static const std::map<QString, void (*)()> all{
        {u"SIGSEGV"_s, writeThroughNull},
        {u"SIGABRT"_s, callAbort},
        {u"SIGBUS"_s, readBehindEndOfFile},
        {u"SIGFPE"_s, divideByZero},
        {u"SIGILL"_s, executeNoInstruction},
        {u"SIGTRAP"_s, hitBreakpoint},
        {u"SIGSYS"_s, callForbiddenFunction},
        {u"SIGTRAP, then SIGSEGV"_s,
         [] {
             hitBreakpoint();
             writeThroughNull();
         }},
        {u"raise SIGTRAP"_s, [] { ::raise(SIGTRAP); }},
        {u"kill SIGSEGV"_s, killItself},
        {u"thread"_s, [] { inThread(writeThroughNull); }},
        {u"QThread"_s, [] { inQThread(writeThroughNull); }},
        {u"overflow"_s, [] { overflowStack(0); }},
        {u"overflow in thread"_s, [] { inThread([] { overflowStack(0); }); }},
        {u"overflow in QThread"_s, [] { inQThread([] { overflowStack(0); }); }},
        {u"overflow in thread with small stack"_s, overflowInThreadWithSmallStack},
        {u"malloc lock"_s, crashWithMallocLockHeld},
        {u"bad free"_s, freeWhatWasNotAllocated},
        {u"corrupt heap"_s, corruptHeap},
        {u"two threads"_s, [] { inTwoThreads(writeThroughNull, writeThroughNull); }},
        {u"exception"_s, throwRuntimeError},
        {u"exception in thread"_s, [] { inThread(throwRuntimeError); }},
        {u"number"_s, throwNumber},
        {u"throwing explanation"_s, [] { throw ThrowingExplanation(); }},
        {u"crashing explanation"_s, [] { throw CrashingExplanation(); }},
        {u"fork"_s, [] { crashInForkedChild(writeThroughNull); }},
        {u"overflow in fork"_s, [] { crashInForkedChild([] { overflowStack(0); }); }},
        {u"overflow in fork of thread"_s,
         [] { inThread([] { crashInForkedChild([] { overflowStack(0); }); }); }},
        {u"nothing"_s, [] {}},
    };
    return all;
}

} // namespace

void startWorkers(int count)
{
    static std::latch running(count); // A thread that has not begun has no frames of its own.
    for (int number = 1; number <= count; ++number) {
        std::thread thread([] {
            running.count_down();
            for (;;)
                ::pause();
        });
        ::pthread_setname_np(thread.native_handle(), ("worker " + std::to_string(number)).c_str());
        thread.detach();
    }
    running.wait();
}

void crash(const QString &way) { ways().at(way)(); }
