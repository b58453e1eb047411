// The empty host, with the launch check.

#include "Benchmarks/Hosts/PrivateMemory.h"

#include <Marblewick/MBWCrashReportController.h>

#include <QApplication>
#include <QTimer>
#include <QWidget>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("BenchmarkHost"));
    MBWCrashReportController::setCrashReportURL(QStringLiteral("https://crash.example.com/report"));
    MBWCrashReportController::checkForCrash();
    QWidget window;
    window.show();
    QTimer::singleShot(0, qApp, [] {
        printPrivateMemory();
        QApplication::quit();
    });
    return QApplication::exec();
}
