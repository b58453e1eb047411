// Starts a check for updates at the address given, and ends while it is in flight.

#include <Marblewick/MBWSWUpdateChecker.h>

#include <QApplication>
#include <QTimer>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(119, QUrl(QString::fromUtf8(argv[1])));
    QTimer::singleShot(200, &application, &QCoreApplication::quit);
    return QApplication::exec();
}
