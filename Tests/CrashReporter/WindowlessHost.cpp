#include <Marblewick/MBWCrashReportController.h>
#include <Marblewick/MBWCrashReporter.h>

#include <QCoreApplication>

#include <cstdio>

/*! A host without windows: prints the names whose logs it looks for, and whether a report was shown. */
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::puts(MBWCrashReporter().applicationNames().join(u',').toUtf8().constData());
    std::puts(MBWCrashReportController::reportCrash(QStringLiteral("a report")) ? "shown" : "not shown");
    return 0;
}
