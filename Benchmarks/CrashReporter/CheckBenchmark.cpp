#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/MBWCrashReporter.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <dirent.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int foreignEntries = 100'000;

void fill(const QString &folder)
{
    QDir().mkpath(folder);
    for (int i = 0; i < foreignEntries; ++i) {
        QFile file(folder + u"/Foreign_%1.ips"_s.arg(i));
        if (!file.open(QIODevice::WriteOnly))
            std::abort();
    }
}

/*! The least that finding out what a folder holds can take. */
int countOfEntries(const QByteArray &folder)
{
    DIR *const directory = ::opendir(folder.constData());
    int count = 0;
    while (::readdir(directory))
        ++count;
    ::closedir(directory);
    return count;
}

} // namespace

void benchmarkCheck()
{
    const QTemporaryDir home;
    qputenv("XDG_STATE_HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    const QString logs = home.path() + u"/Logs"_s;
    for (const QString &folder : {logs + u"/CrashReporter"_s, logs + u"/DiagnosticReports"_s})
        fill(folder);

    const Comparison comparison{
        .ours =
            [] {
                return 1000 * secondsOf([] {
                           if (MBWCrashReporter().checkForCrashLog())
                               std::abort();
                       });
            },
        .peer =
            [&] {
                return 1000 * secondsOf([&] {
                           const int count = countOfEntries((logs + u"/CrashReporter"_s).toUtf8())
                                             + countOfEntries((logs + u"/DiagnosticReports"_s).toUtf8());
                           if (count < 2 * foreignEntries)
                               std::abort();
                       });
            }};
    printRatio("checkForCrashLog, nothing new, 2 x 100,000 foreign entries / readdir", comparison.run(), "ms",
               "at most 1.5");
}
