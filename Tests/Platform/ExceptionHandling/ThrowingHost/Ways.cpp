#include "Tests/Platform/ExceptionHandling/ThrowingHost/Ways.h"

#include <Marblewick/NSException.h>

#include "Tests/Support/Host.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThreadPool>
#include <QTimer>

#include <atomic>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct Storm
{ };

// The tests look for these functions at these lines. What the thread sanitizer adds to a function would be
// cleaned up, and so unwind the stack, where an exception passes.
// clang-format off
#line 101 "Ways.cpp"
[[gnu::noipa, gnu::no_sanitize("thread")]] void throwText(const char *text) { throw std::runtime_error(text); }
[[gnu::noinline, gnu::no_sanitize("thread")]] void readMap() { throwText("the map is upside down"); }
[[gnu::noinline, gnu::no_sanitize("thread")]] void openMap() { readMap(); }
[[gnu::noipa, gnu::no_sanitize("thread")]] void raiseStorm() { throw Storm(); }
// clang-format on

struct ThrowingText : std::exception
{
    const char *what() const noexcept override { throw Storm(); }
};

struct CrashingText : std::exception
{
    const char *what() const noexcept override
    {
        *static_cast<volatile int *>(nullptr) = 1;
        return "";
    }
};

constinit std::atomic<bool> endlessTextIsAsked = false;

struct EndlessText : std::exception
{
    const char *what() const noexcept override
    {
        endlessTextIsAsked = true;
        endlessTextIsAsked.notify_all();
        for (;;)
            ::pause();
    }
};

struct TextLess : std::exception
{
    const char *what() const noexcept override { return nullptr; }
};

/*! Something to be destroyed when the stack is unwound. */
struct Guest
{
    ~Guest() { guests = guests - 1; }

    volatile int guests = 1;
};

[[gnu::no_sanitize("thread")]] void openMapNoexcept() noexcept { openMap(); }

[[gnu::noinline]] void openMapWithGuest()
{
    const Guest guest;
    openMap();
}

void openMapNoexceptPastDestructor() noexcept { openMapWithGuest(); }

void catchAndThrowOn()
{
    try {
        openMap();
    } catch (...) {
        throw;
    }
}

std::exception_ptr caughtException()
{
    try {
        openMap();
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

/*! Out of another thread than the one that threw, after others were thrown. */
void handToAnotherThread()
{
    const std::exception_ptr exception = caughtException();
    for (int count = 0; count < 20; ++count)
        caughtException();
    std::thread([&] { std::rethrow_exception(exception); }).join();
}

/*! One that no throw has made, most likely where one was that is gone. */
void rethrowWhatWasNeverThrown()
{
    caughtException();
    std::rethrow_exception(std::make_exception_ptr(std::runtime_error("never thrown")));
}

void throwBesideEndlessText()
{
    std::thread([] { throw EndlessText(); }).detach();
    endlessTextIsAsked.wait(false);
    openMap();
}

void throwFromDestructorWhileUnwinding()
{
    struct Thrower
    {
        ~Thrower() noexcept(false) { throwText("in the destructor"); }
    };
    try {
        const Thrower thrower;
        throw Storm();
    } catch (const Storm &) { // Now the stack is unwound.
    }
}

void inThreadPool(const std::function<void()> &function)
{
    QThreadPool::globalInstance()->start(function);
    QThreadPool::globalInstance()->waitForDone();
}

void inSlot()
{
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, &openMap);
    timer.start(0);
    QCoreApplication::exec();
}

void inEventHandler()
{
    struct Map : QObject
    {
        bool event(QEvent *) override
        {
            openMap();
            return true;
        }
    };
    Map map;
    QCoreApplication::postEvent(&map, new QEvent(QEvent::User));
    QCoreApplication::exec();
}

[[gnu::noinline]] void descend(int depth)
{
    const Guest guest;
    if (depth > 0)
        descend(depth - 1);
    else
        throwText("deep down");
}

const std::map<QString, std::function<void()>> &ways()
{
    using Marblewick::NSException;
    using namespace Host;
    static const std::map<QString, std::function<void()>> all{
        {u"main"_s, openMap},
        {u"caught"_s, [] { caughtException(); }},
        {u"number"_s, [] { throw 42; }},
        {u"string"_s, [] { throw std::string("text"); }},
        {u"own type"_s, [] { throw Storm(); }},
        {u"platform exception"_s,
         [] {
             throw NSException(u"MapException"_s, u"no north"_s, {{u"sheet"_s, 7}});
         }},
        {u"at"_s, [] { static_cast<void>(std::vector<int>().at(5)); }},
        {u"two lines"_s, [] { throwText("one\n2026-11-21 two\x1b[31m"); }},
        {u"Latin-1"_s, [] { throwText("caf\xe9"); }},
        {u"no text"_s, [] { throw TextLess(); }},
        {u"throwing text"_s, [] { throw ThrowingText(); }},
        {u"crashing text"_s, [] { throw CrashingText(); }},
        {u"endless text"_s, [] { throw EndlessText(); }},
        {u"thread"_s, [] { inThread(openMap); }},
        {u"QThread"_s, [] { inQThread(openMap); }},
        {u"QThreadPool"_s, [] { inThreadPool(openMap); }},
        {u"slot"_s, inSlot},
        {u"event handler"_s, inEventHandler},
        {u"noexcept"_s, openMapNoexcept},
        {u"noexcept past destructor"_s, openMapNoexceptPastDestructor},
        {u"thrown on"_s, catchAndThrowOn},
        {u"other thread"_s, handToAnotherThread},
        {u"never thrown"_s, rethrowWhatWasNeverThrown},
        {u"destructor"_s, throwFromDestructorWhileUnwinding},
        {u"two threads"_s, [] { inTwoThreads(openMap, raiseStorm); }},
        {u"beside an endless text"_s, throwBesideEndlessText},
        {u"deep"_s, [] { descend(1000); }},
        {u"terminate"_s, [] { std::terminate(); }},
    };
    return all;
}

} // namespace

void throwInWay(const QString &name)
{
    const auto way = ways().find(name);
    if (way != ways().end())
        way->second();
}
