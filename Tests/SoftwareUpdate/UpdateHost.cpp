// Starts a check for updates at the address given, and quits when it may read a line: while the check is in
// flight.

#include <Marblewick/MBWSWUpdateChecker.h>

#include <QApplication>
#include <QSocketNotifier>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(119, QUrl(QString::fromUtf8(argv[1])));
    const QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    return QApplication::exec();
}
