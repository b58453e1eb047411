// An empty Qt Widgets host: shows a window and quits.

#include "Benchmarks/Hosts/PrivateMemory.h"

#include <QApplication>
#include <QTimer>
#include <QWidget>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("BenchmarkHost"));
    QWidget window;
    window.show();
    QTimer::singleShot(0, qApp, [] {
        printPrivateMemory();
        QApplication::quit();
    });
    return QApplication::exec();
}
