// Every figure beside its peer's on the same work in the same run. Quote the ratios: the times are this
// machine's.

#include "Benchmarks/Benchmarks.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("BenchmarkHost"));
    benchmarkCheck();
    benchmarkLaunch();
    benchmarkCrashLog();
    benchmarkCrashLogInstall();
    benchmarkUpload();
    benchmarkLog();
    benchmarkException();
    benchmarkHexadecimal();
    benchmarkEncryption();
    benchmarkChecksum();
    return 0;
}
