#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/NSExceptionHandler.h>

#include <QCoreApplication>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr int frames = 30;
constexpr int throws = 20'000;

double now()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/*! A host that throws, or waits where it would. */
class ThrowingHost
{
public:
    explicit ThrowingHost(const QString &arguments)
        : output(::popen((u"exec "_s + QCoreApplication::applicationDirPath() + u"/throwing-host "_s
                          + arguments + u" 2>&1"_s)
                             .toUtf8()
                             .constData(),
                         "re"))
    {
        if (!output || std::fscanf(output, "%d %lf", &process, &timeOfThrow) != 2)
            std::abort();
    }
    ~ThrowingHost() { ::pclose(output); }
    ThrowingHost(const ThrowingHost &) = delete;
    ThrowingHost &operator=(const ThrowingHost &) = delete;

    FILE *const output;
    pid_t process = 0;
    double timeOfThrow = 0;
};

/*! Milliseconds from the throw until the host has written its log and is gone. */
double timeOfLog()
{
    const ThrowingHost host({});
    int frame = 0;
    char line[4096];
    while (std::fgets(line, sizeof line, host.output)) {
        int number = 0;
        if (std::sscanf(line, "%d\t", &number) == 1 && number == frame + 1)
            frame = number;
    }
    const double end = now();
    if (frame != frames) {
        std::printf("the exception's log has %d frames\n", frame);
        std::abort();
    }
    return 1000 * (end - host.timeOfThrow);
}

/*! Milliseconds that the debugger takes to show the same frames. */
double timeOfDebugger()
{
    const ThrowingHost host(u"wait"_s);
    const QByteArray command = "gdb -nx -batch -p " + QByteArray::number(host.process) + " -ex 'bt "
                               + QByteArray::number(frames) + "' >/dev/null 2>&1";
    const double time = 1000 * secondsOf([&command] {
                            if (std::system(command.constData()) != 0)
                                std::abort();
                        });
    ::kill(host.process, SIGKILL);
    return time;
}

void compareLogs()
{
    if (QStandardPaths::findExecutable(u"gdb"_s).isEmpty()) {
        std::puts("exception log: there is no gdb to compare with");
        return;
    }
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("DEBUGINFOD_URLS");
    const Comparison comparison{.ours = timeOfLog, .peer = timeOfDebugger, .repetitions = 11};
    printRatio("from a throw to the log of 30 frames / gdb, bt", comparison.run(), "ms", "at most 0.25");
}

[[gnu::noipa]] void throwAt(int depth)
{
    if (depth == 0)
        throw std::runtime_error("text");
    throwAt(depth - 1);
    asm volatile(""); // What follows keeps the call from becoming a jump.
}

/*! Microseconds of a throw that is caught that many frames further out. */
double timeOfThrow(int depth, bool isRecorded)
{
    NSExceptionHandler::defaultExceptionHandler()->setRecordsThrows(isRecorded);
    return 1e6 / throws * secondsOf([depth] {
               for (int count = 0; count < throws; ++count) {
                   try {
                       throwAt(depth);
                   } catch (const std::runtime_error &) { // It is what is measured.
                   }
               }
           });
}

void compareThrows()
{
    for (const int depth : {0, 10, 30}) {
        const Comparison comparison{.ours = [depth] { return timeOfThrow(depth, true); },
                                    .peer = [depth] { return timeOfThrow(depth, false); }};
        printRatio("a caught throw over " + std::to_string(depth) + " frames, recorded / not recorded",
                   comparison.run(), "us", "the host's choice");
    }
    NSExceptionHandler::defaultExceptionHandler()->setRecordsThrows(false);
}

} // namespace

void benchmarkException()
{
    compareLogs();
    compareThrows();
}
