// A program that crashes in the way that its argument names. From the signal's handler it prints the record
// of the crash to standard output; then it waits to be looked at, and killed.
//
// The comments "line: …" mark lines that the tests look for in the reports.

#include "CrashReporter/CrashRecord.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <iterator>
#include <map>
#include <pthread.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

CrashRecord record;

[[gnu::noinline]] void writeThrough(volatile int *pointer)
{
    *pointer = 1; // line: write
}

void (*volatile missingFunction)() = nullptr;

[[gnu::noinline]] void callMissingFunction()
{
    missingFunction(); // line: call
}

struct Ship
{
    [[gnu::noinline]] void sink(volatile int *pointer)
    {
        writeThrough(pointer); // line: sink
        m_depth = 1;
    }

    volatile int m_depth = 0;
};

inline __attribute__((always_inline)) void writeInlined(volatile int *pointer)
{
    *pointer = 2; // line: inlined write
}

inline __attribute__((always_inline)) void passOn(volatile int *pointer)
{
    writeInlined(pointer); // line: inlined call
}

[[gnu::noinline]] void crashInInlinedFunction()
{
    passOn(nullptr); // line: caller of inlined
}

[[gnu::noinline]] int recurse(int depth)
{
    if (depth == 0)
        writeThrough(nullptr); // line: bottom
    return recurse(depth - 1) + depth; // line: recursion
}

[[gnu::noinline]] int recurseWidely(int depth)
{
    volatile char room[1024];
    room[0] = static_cast<char>(depth);
    return recurseWidely(depth + 1) + room[0]; // line: wide recursion
}

void crashBelow(int frames) { recurse(frames); }

void overflowStack() { recurseWidely(0); }
void overflowByMillions() { recurse(-1); }

/*! Crashes with all that is above on the stack overwritten. */
[[gnu::noinline]] void crashOnGarbage()
{
    volatile char *const frame = static_cast<char *>(__builtin_frame_address(0));
    for (int i = 0; i < 2048; ++i)
        frame[i] = 'A';
    writeThrough(nullptr); // line: garbage call
}

/*! Crashes in code of which nobody knows how it uses the stack, and with frames that lead to themselves. */
void crashOnEndlessChain()
{
#if defined(__x86_64__)
    auto *const page = static_cast<unsigned char *>(
        ::mmap(nullptr, 65536, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    constexpr unsigned char invalidInstruction[] = {0x0f, 0x0b};
    std::copy(std::begin(invalidInstruction), std::end(invalidInstruction), page);
    auto *const frame = reinterpret_cast<unsigned long *>(page + 32768);
    frame[0] = reinterpret_cast<unsigned long>(frame);
    frame[1] = reinterpret_cast<unsigned long>(page + 1);
    asm volatile("movq %0, %%rbp; movq %0, %%rsp; jmp *%1" : : "r"(frame), "r"(page) : "memory");
#endif
}

/*! A page of its own, of this protection, that is mapped from a file of this size. */
volatile int *mappedPage(int protection, off_t size)
{
    std::FILE *const file = std::tmpfile();
    if (!file || ::ftruncate(::fileno(file), size) != 0)
        std::exit(EXIT_FAILURE);
    return static_cast<volatile int *>(::mmap(nullptr, 4096, protection, MAP_SHARED, ::fileno(file), 0));
}

void writeReadOnly() { writeThrough(mappedPage(PROT_READ, 4096)); }
void writeBehindFile() { writeThrough(mappedPage(PROT_READ | PROT_WRITE, 0)); }

/*! Crashes in a process of which others, but root, may see nothing. */
void crashSecretly()
{
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    writeThrough(nullptr);
}

const char *libraryPath = "";

void crashInLibrary()
{
    void *const library = ::dlopen(libraryPath, RTLD_NOW);
    if (library)
        reinterpret_cast<void (*)(int *)>(::dlsym(library, "crashInLibrary"))(nullptr);
}

void startThreads(int count)
{
    for (int i = 0; i < count; ++i) {
        std::thread thread([] {
            for (;;)
                ::pause(); // line: pause
        });
        ::pthread_setname_np(thread.native_handle(), ("worker " + std::to_string(i)).c_str());
        thread.detach();
    }
}

void crashInThread()
{
    std::thread([] {
        ::pthread_setname_np(::pthread_self(), "unlucky");
        writeThrough(nullptr);
    }).join();
}

void spin()
{
    std::thread([] {
        for (volatile bool isOn = true; isOn;) { } // line: spin
    }).detach();
    writeThrough(nullptr);
}

template <std::size_t size>
void copy(char (&destination)[size], std::string_view text)
{
    std::memcpy(destination, text.data(), std::min(text.size(), size - 1));
}

void report(int, siginfo_t *signal, void *context)
{
    ::clock_gettime(CLOCK_REALTIME, &record.crashTime);
    record.thread = static_cast<pid_t>(::syscall(SYS_gettid));
    record.signal = *signal;
    const auto &registers = static_cast<ucontext_t *>(context)->uc_mcontext.gregs;
    std::copy(std::begin(registers), std::end(registers), std::begin(record.registers));
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0);
    if (::write(STDOUT_FILENO, &record, sizeof record) != sizeof record)
        ::_exit(EXIT_FAILURE);
    for (;;)
        ::pause();
}

void prepare()
{
    record.process = ::getpid();
    ::clock_gettime(CLOCK_REALTIME, &record.launchTime);
    copy(record.applicationName, "Crasher");
    if (::readlink("/proc/self/exe", record.executablePath, sizeof record.executablePath - 1) < 0)
        std::exit(EXIT_FAILURE);

    static char stack[65536];
    stack_t alternate = {};
    alternate.ss_sp = stack;
    alternate.ss_size = sizeof stack;
    ::sigaltstack(&alternate, nullptr);
    struct sigaction action = {};
    action.sa_sigaction = report;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS})
        ::sigaction(signal, &action, nullptr);
}

} // namespace

extern "C" [[gnu::visibility("default")]] void exportedCrash()
{
    Ship ship;
    ship.sink(nullptr); // line: exported
    ship.m_depth = 2;
}

int main(int argc, char **argv)
{
    prepare();
    const std::map<std::string_view, void (*)()> ways{
        {"write", exportedCrash},
        {"call", callMissingFunction},
        {"inline", crashInInlinedFunction},
        {"recursion", [] { crashBelow(2000); }},
        {"overflow", overflowStack},
        {"millions", overflowByMillions},
        {"read-only", writeReadOnly},
        {"mapping", writeBehindFile},
        {"secretive", crashSecretly},
        {"library", crashInLibrary},
        {"garbage", crashOnGarbage},
        {"chain", crashOnEndlessChain},
        {"thread", crashInThread},
        {"spin", spin},
        {"abort", std::abort},
        {"kill", [] { ::raise(SIGSEGV); }},
        {"wild", [] { writeThrough(reinterpret_cast<int *>(0x4141414141414141)); }},
        {"divide",
         [] {
             volatile int zero = 0;
             zero = 7 / zero; // line: divide
         }},
        {"trap", [] { ::raise(SIGTRAP); }},
    };
    if (argc < 2 || !ways.contains(argv[1]))
        return EXIT_FAILURE;
    if (argc > 2)
        startThreads(std::atoi(argv[2]));
    if (argc > 3)
        libraryPath = argv[3];
    ways.at(argv[1])(); // line: way
}
