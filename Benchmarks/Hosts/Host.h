#pragma once

#include <QApplication>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <cstring>

/*! Prints at once the memory, in KiB, that this process has for itself: what it has written to. Pages of
   files that it only reads are the system's cache, which counts them as shared or not by what else runs.
*/
inline void printPrivateMemory()
{
    FILE *const file = std::fopen("/proc/self/smaps_rollup", "re");
    char line[256];
    long total = 0;
    while (file && std::fgets(line, sizeof line, file)) {
        long amount = 0;
        if (std::strncmp(line, "Private_Dirty:", 14) == 0 && std::sscanf(line, "%*s %ld", &amount) == 1)
            total += amount;
    }
    if (file)
        std::fclose(file);
    std::printf("%ld\n", total);
    std::fflush(stdout);
}

/*! An empty Qt Widgets host: starts as the one that is measured does, shows a window and quits. */
inline int runHost(int argc, char **argv, void (*atLaunch)())
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("BenchmarkHost"));
    atLaunch();
    QWidget window;
    window.show();
    QTimer::singleShot(0, qApp, [] {
        printPrivateMemory();
        QApplication::quit();
    });
    return QApplication::exec();
}
