// A host that does what its arguments say, step by step, until an exception that nobody catches ends it.

#include "Tests/Platform/ExceptionHandling/ThrowingHost/Ways.h"
#include "Tests/Support/Host.h"

#include <Marblewick/MBWCrashLogWriter.h>
#include <Marblewick/MBWExceptionHandler.h>
#include <Marblewick/MBWLogManager.h>
#include <Marblewick/NSExceptionHandler.h>
#include <Marblewick/NSLog.h>

#include <QCoreApplication>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void waitForever()
{
    for (;;)
        ::pause();
}

/*! Tells what it is asked, and then does as it is called. */
class Delegate : public NSExceptionHandlerDelegate
{
public:
    explicit Delegate(const QString &behaviour)
        : m_behaviour(behaviour)
    { }

    bool exceptionHandlerShouldLogException(NSExceptionHandler *sender, const NSException &exception,
                                            quint64 mask) override
    {
        if (sender == NSExceptionHandler::defaultExceptionHandler())
            NSLog(u"asked: %@ / %@ / %@", {exception.name(), exception.reason(), QString::number(mask)});
        const QVariantMap userInfo = exception.userInfo();
        for (auto entry = userInfo.begin(); entry != userInfo.end(); ++entry)
            NSLog(u"%@ = %@", {entry.key(), entry.value().toString()});
        if (m_behaviour == u"throws")
            throw 1;
        if (m_behaviour == u"terminates")
            std::terminate();
        if (m_behaviour == u"crashes")
            *static_cast<volatile int *>(nullptr) = 1;
        if (m_behaviour == u"blocks")
            waitForever();
        return m_behaviour == u"yes";
    }

private:
    const QString m_behaviour;
};

bool isAbortBlocked()
{
    sigset_t blocked;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return ::sigismember(&blocked, SIGABRT) == 1;
}

[[noreturn]] void tellWhatIsDoneAtAbort()
{
    struct sigaction action = {};
    ::sigaction(SIGABRT, nullptr, &action);
    std::puts(action.sa_handler == SIG_IGN ? "ignored" : "not ignored");
    std::puts(isAbortBlocked() ? "blocked" : "not blocked");
    std::_Exit(7);
}

/*! Longer than steps may take. */
[[noreturn]] void endAfterElevenSeconds()
{
    std::this_thread::sleep_for(std::chrono::seconds(11));
    std::_Exit(7);
}

[[noreturn]] void endAsTheHostLikes()
{
    std::puts("the host's terminate handler");
    std::_Exit(7);
}

/*! Others of an ordinary user: root may look into everything. */
void forbidOthersToLookInside()
{
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0 && ::setresuid(nobody, nobody, nobody) != 0)
        std::abort();
    ::prctl(PR_SET_DUMPABLE, 0);
}

std::terminate_handler replacedTerminateHandler = nullptr;

void endAsTheReplacedHandlerLikes()
{
    std::puts("the host's chaining terminate handler");
    replacedTerminateHandler();
}

const Host::Steps steps{
    {u"mask"_s,
     [](const QString &mask) {
         NSExceptionHandler::defaultExceptionHandler()->setExceptionHandlingMask(
             mask.isEmpty() ? NSLogUncaughtExceptionMask : mask.toULongLong());
     }},
    {u"record"_s,
     [](const QString &state) {
         NSExceptionHandler::defaultExceptionHandler()->setRecordsThrows(state != u"off");
     }},
    {u"delegate"_s,
     [](const QString &behaviour) {
         NSExceptionHandler::defaultExceptionHandler()->setDelegate(new Delegate(behaviour));
     }},
    {u"handler"_s, [](const QString &) { MBWExceptionHandler::sharedHandler(); }},
    {u"symbolizer"_s, [](const QString &path) { new MBWExceptionHandler(path); }},
    {u"writer"_s, [](const QString &) { MBWCrashLogWriter::install(); }},
    {u"terminate-handler"_s, [](const QString &) { std::set_terminate(&endAsTheHostLikes); }},
    {u"telling-terminate-handler"_s, [](const QString &) { std::set_terminate(&tellWhatIsDoneAtAbort); }},
    {u"slow-terminate-handler"_s, [](const QString &) { std::set_terminate(&endAfterElevenSeconds); }},
    {u"chaining-terminate-handler"_s,
     [](const QString &) { replacedTerminateHandler = std::set_terminate(&endAsTheReplacedHandlerLikes); }},
    {u"throwing-terminate-handler"_s, [](const QString &) { std::set_terminate([] { throw 1; }); }},
    {u"block-abort"_s,
     [](const QString &) {
         sigset_t signals;
         ::sigemptyset(&signals);
         ::sigaddset(&signals, SIGABRT);
         ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
     }},
    {u"default-abort"_s, [](const QString &) { std::signal(SIGABRT, SIG_DFL); }},
    {u"ignore-abort"_s, [](const QString &) { std::signal(SIGABRT, SIG_IGN); }},
    {u"survive-abort"_s, [](const QString &) { std::signal(SIGABRT, [](int) { std::puts("SIGABRT"); }); }},
    {u"close"_s, [](const QString &descriptor) { ::close(descriptor.toInt()); }},
    {u"undumpable"_s, [](const QString &) { forbidOthersToLookInside(); }},
    {u"redirect"_s,
     [](const QString &path) { MBWLogManager::sharedManager()->redirectStandardErrorToFileAtPath(path); }},
    {u"throw"_s, throwInWay},
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    return Host::take(steps, application.arguments().sliced(1)) ? 0 : 2;
}
