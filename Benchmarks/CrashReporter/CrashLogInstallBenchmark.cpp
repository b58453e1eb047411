#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

struct Cost
{
    double memory = 0; ///< KiB
    double time = 0; ///< milliseconds
};

Cost costOfHost(const char *arguments)
{
    const QByteArray host = (QCoreApplication::applicationDirPath() + u"/crash-log-host"_s).toUtf8();
    FILE *const output = ::popen((host + arguments).constData(), "re");
    Cost cost;
    if (!output || std::fscanf(output, "%lf %lf", &cost.memory, &cost.time) != 2 || ::pclose(output) != 0)
        std::abort();
    return cost;
}

/*! As many logs as are kept, of the host and of another application. */
void writeLogs(const QString &folder)
{
    QDir().mkpath(folder);
    for (const QString &name : {u"crash-log-host"_s, u"Another"_s}) {
        for (int number = 10; number < 30; ++number) {
            QFile log(folder + u"/%1_2026-01-%2-120000_4711.ips"_s.arg(name).arg(number));
            if (!log.open(QIODevice::WriteOnly))
                std::abort();
        }
    }
}

} // namespace

void benchmarkCrashLogInstall()
{
    const QTemporaryDir home;
    qputenv("XDG_STATE_HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    writeLogs(home.path() + u"/Logs/DiagnosticReports"_s);

    const Comparison time{.ours = [] { return costOfHost(" install").time; },
                          .peer = [] { return costOfHost("").time; },
                          .repetitions = 30};
    printDifference("begin to write crash logs / the same host without", time.run(), "ms", "at most 0.3 ms");
    const Comparison memory{.ours = [] { return costOfHost(" install").memory; },
                            .peer = [] { return costOfHost("").memory; },
                            .repetitions = 30};
    printDifference("its private memory / without", memory.run(), "KiB", "at most 256 KiB");
}
