#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

double now()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/*! A host that crashes. */
class CrashingHost
{
public:
    explicit CrashingHost(const QString &arguments)
        : m_output(
            ::popen((u"exec "_s + QCoreApplication::applicationDirPath() + u"/crashing-host "_s + arguments)
                        .toUtf8()
                        .constData(),
                    "re"))
    {
        if (!m_output || std::fscanf(m_output, "%d %lf", &process, &timeOfCrash) != 2)
            std::abort();
    }
    ~CrashingHost() { ::pclose(m_output); }
    CrashingHost(const CrashingHost &) = delete;
    CrashingHost &operator=(const CrashingHost &) = delete;

    pid_t process = 0;
    double timeOfCrash = 0;

private:
    FILE *const m_output;
};

/*! Milliseconds from the crash until the whole log is in the folder. */
double timeOfLog(int threads, const QString &folder)
{
    const int watch = ::inotify_init1(IN_CLOEXEC);
    if (watch < 0 || ::inotify_add_watch(watch, folder.toUtf8().constData(), IN_MOVED_TO) < 0)
        std::abort();
    const CrashingHost host(QString::number(threads));
    constexpr int timeLimit = 30'000; // milliseconds
    pollfd item = {.fd = watch, .events = POLLIN, .revents = 0};
    char event[1024];
    if (::poll(&item, 1, timeLimit) <= 0 || ::read(watch, event, sizeof event) <= 0)
        std::abort();
    const double end = now();
    ::close(watch);
    return 1000 * (end - host.timeOfCrash);
}

/*! Milliseconds that the debugger takes to show the frames of the same host, which waits in its crash. */
double timeOfDebugger(int threads)
{
    const CrashingHost host(QString::number(threads) + u" wait"_s);
    const QByteArray command = "gdb -nx -batch -p " + QByteArray::number(host.process)
                               + " -ex 'thread apply all bt' >/dev/null 2>&1";
    const double time = 1000 * secondsOf([&command] {
                            if (std::system(command.constData()) != 0)
                                std::abort();
                        });
    ::kill(host.process, SIGKILL);
    return time;
}

} // namespace

void benchmarkCrashLog()
{
    if (QStandardPaths::findExecutable(u"gdb"_s).isEmpty()) {
        std::puts("crash log: there is no gdb to compare with");
        return;
    }
    const QTemporaryDir home;
    qputenv("XDG_STATE_HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("DEBUGINFOD_URLS");
    const QString logs = home.path() + u"/Logs/DiagnosticReports"_s;
    QDir().mkpath(logs);
    for (const int threads : {1, 8, 32}) {
        const Comparison comparison{.ours = [&] { return timeOfLog(threads, logs); },
                                    .peer = [&] { return timeOfDebugger(threads); },
                                    .repetitions = 11};
        printRatio("crash log of " + std::to_string(threads) + (threads == 1 ? " thread" : " threads")
                       + " / gdb, thread apply all bt",
                   comparison.run(), "ms", "at most 0.2, and 80 ms without files for debugging");
    }
}
