#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"
#include "Benchmarks/Hosts/Launch.h"

#include <QDir>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

void benchmarkLaunch()
{
    const QTemporaryDir home;
    qputenv("XDG_STATE_HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QDir().mkpath(home.path() + u"/Logs/DiagnosticReports"_s);

    const Comparison time{.ours = [] { return 1000 * secondsOf([] { launch("checking-host"); }); },
                          .peer = [] { return 1000 * secondsOf([] { launch("empty-host"); }); },
                          .repetitions = 30};
    printDifference("launch with the check / the same host without the library", time.run(), "ms",
                    "at most 2 ms");
    const Comparison memory{.ours = [] { return launch("checking-host"); },
                            .peer = [] { return launch("empty-host"); },
                            .repetitions = 30};
    printDifference("its private memory / without the library", memory.run(), "KiB", "at most 1024 KiB");
}
