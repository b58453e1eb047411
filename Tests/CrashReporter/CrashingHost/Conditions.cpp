#include "Tests/CrashReporter/CrashingHost/Conditions.h"

#include "Tests/CrashReporter/CrashingHost/HandlerCalls.h"
#include "Tests/CrashReporter/CrashingHost/SystemCallFilter.h"

#include <QByteArray>
#include <QCoreApplication>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Conditions = std::map<QString, void (*)()>;

QByteArray folder() { return qgetenv("XDG_STATE_HOME") + "/Logs/DiagnosticReports"; }

void say(const char *line)
{
    static_cast<void>(::write(STDOUT_FILENO, line, std::char_traits<char>::length(line)));
}

void exitHandler(int number, siginfo_t *signal, void *)
{
    say(number == SIGSEGV && signal->si_code == SEGV_MAPERR && !signal->si_addr ? "former handler\n"
                                                                                : "another signal\n");
    ::_exit(42);
}

void abortHandler(int, siginfo_t *, void *) { std::abort(); }

void installHandler(int number, void (*handler)(int, siginfo_t *, void *), int flags = 0)
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO | flags;
    ::sigaction(number, &action, nullptr);
}

void tellOfUnwaitedChildren(int, siginfo_t *, void *)
{
    if (::waitpid(-1, nullptr, __WALL | WNOHANG) != -1 || errno != ECHILD)
        say("a child is left\n");
}

void printForever()
{
    std::thread([] {
        for (;;) {
            for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                static_cast<void>(::write(stream, "print", 5));
        }
    }).detach();
}

void useUpDescriptors()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 256;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    while (::open("/dev/null", O_RDONLY) >= 0) { }
}

/*! As a system leaves a process that was root, where it lets nobody look at such ones. */
void dropPrivileges()
{
    constexpr uid_t nobody = 65534;
    if (::setresgid(nobody, nobody, nobody) != 0 || ::setresuid(nobody, nobody, nobody) != 0)
        ::_exit(EXIT_FAILURE);
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

void limitFileSize()
{
    constexpr rlimit limit = {.rlim_cur = 100, .rlim_max = 100};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

const Conditions &conditionsBefore()
{
    static const Conditions all{
        {u"former handler"_s, [] { installHandler(SIGSEGV, &exitHandler); }},
        {u"aborting handler"_s, [] { installHandler(SIGSEGV, &abortHandler); }},
        {u"aborting handler that blocks nothing"_s,
         [] { installHandler(SIGSEGV, &abortHandler, SA_NODEFER); }},
        {u"returning handler"_s, [] { installHandler(SIGTRAP, &tellOfUnwaitedChildren); }},
        {u"ignored SIGTRAP"_s, [] { std::signal(SIGTRAP, SIG_IGN); }},
        {u"ignored SIGABRT"_s, [] { std::signal(SIGABRT, SIG_IGN); }},
        {u"ignored SIGSEGV"_s, [] { std::signal(SIGSEGV, SIG_IGN); }},
    };
    return all;
}

const Conditions &conditionsAfter()
{
    static const Conditions all{
        {u"no folder"_s, [] { ::rmdir(folder().constData()); }},
        {u"read-only folder"_s, [] { ::chmod(folder().constData(), 0500); }},
        {u"file for folder"_s,
         [] {
             ::rmdir(folder().constData());
             ::close(::open(folder().constData(), O_CREAT | O_WRONLY, 0600));
         }},
        {u"closed streams"_s,
         [] {
             for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                 ::close(stream);
         }},
        {u"printing thread"_s, printForever},
        {u"no descriptors"_s, useUpDescriptors},
        {u"small files only"_s, limitFileSize},
        {u"not dumpable"_s, [] { ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0); }},
        {u"dropped privileges"_s, dropPrivileges},
        {u"no ptrace"_s, [] { refuseSystemCall(SYS_ptrace); }},
        {u"no new processes"_s, [] { refuseSystemCall(SYS_clone); }},
        {u"closed umask"_s, [] { ::umask(0777); }},
        {u"renamed"_s, [] { QCoreApplication::setApplicationName(u"Käfer/Co\n\"2\""_s); }},
        {u"handler crashes"_s, [] { crashHandlerIn({HandlerCall::SocketPair}); }},
        {u"handler crashes beside its helper"_s, [] { crashHandlerIn({HandlerCall::Send}); }},
        {u"cancelled in handler"_s, cancelThreadInHandler},
        {u"handler crashes twice"_s,
         [] {
             crashHandlerIn({HandlerCall::SocketPair, HandlerCall::FileSync});
         }},
    };
    return all;
}

void apply(const Conditions &conditions, const QString &name)
{
    if (const auto condition = conditions.find(name); condition != conditions.end())
        condition->second();
}

} // namespace

void applyBeforeInstalling(const QString &condition) { apply(conditionsBefore(), condition); }

void applyAfterInstalling(const QString &condition) { apply(conditionsAfter(), condition); }

void fillDisk(const QString &path)
{
    const int file = ::open(qPrintable(path), O_WRONLY | O_APPEND);
    while (::write(file, "filler", 6) > 0) { }
    ::close(file);
}
