#include <Marblewick/MBWCrashReportController.h>

#include <QApplication>
#include <QLabel>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    MBWCrashReportController::setCrashReportURL(QStringLiteral("https://crash.example.com/report"));
    MBWCrashReportController::checkForCrash();
    QLabel window(QStringLiteral("Hello"));
    window.show();
    return QApplication::exec();
}
