// A host that has no QApplication, and so no windows, checks for a crash all the same.

#include <Marblewick/MBWCrashReportController.h>

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("App"));
    return MBWCrashReportController::checkForCrash() ? 1 : 0;
}
