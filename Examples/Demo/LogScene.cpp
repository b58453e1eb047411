#include "LogScene.h"

#include "Host.h"
#include "Say.h"

#include <QDir>
#include <QFile>
#include <QThread>
#include <QTime>

using namespace Qt::StringLiterals;

namespace {

constexpr int launches = 11;
constexpr int keptLogs = 10;

/*! Log files are named after the second of their launch. */
void waitForTheNextSecond() { QThread::msleep(1000 - static_cast<ulong>(QTime::currentTime().msec())); }

QStringList logs(const Host &host) { return QDir(host.logFolder()).entryList(QDir::Files, QDir::Name); }

void printLog(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    for (const QByteArray &line : file.readAll().trimmed().split('\n'))
        say(u"  |   "_s + QString::fromUtf8(line));
}

bool namesTheThrow(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray log = file.readAll();
    return log.contains("Uncaught exception std::runtime_error: the map ")
           && log.contains("     1\treadMarks at ") && log.contains("MapWindow.cpp:");
}

} // namespace

bool playLogScene()
{
    say(u"\n== A host keeps a log file of each launch =="_s);
    const Host host(u"log"_s);
    say(u"\n1. Eleven launches, a second apart. The logs are in "_s + host.logFolder());
    QString firstLog;
    for (int launch = 1; launch <= launches; ++launch) {
        waitForTheNextSecond();
        if (!host.launch({u"--log"_s, u"--quit"_s}))
            return false;
        if (launch == 1)
            firstLog = logs(host).value(0);
        say(u"  after launch %1 there are %2: the newest is %3"_s.arg(launch, 2)
                .arg(logs(host).size(), 2)
                .arg(logs(host).value(logs(host).size() - 1)));
    }
    if (logs(host).size() != keptLogs || logs(host).contains(firstLog)) {
        say(u"  Unexpected: the log of the first launch should be the only one that is gone."_s);
        return false;
    }
    say(u"  The log of the first launch, %1, is gone: ten are kept."_s.arg(firstLog));

    say(u"\n2. What the last launch wrote to standard error:"_s);
    printLog(host.logFolder() + u'/' + logs(host).last());

    say(u"\n3. A launch that shall open a map which is not there, and does not catch what is thrown:"_s);
    waitForTheNextSecond();
    if (!host.crash({u"--log"_s, u"--map"_s, host.logFolder() + u"/atlantis.map"_s})) {
        say(u"  Unexpected: the host did not end by the exception."_s);
        return false;
    }
    const QString path = host.logFolder() + u'/' + logs(host).last();
    printLog(path);
    if (!namesTheThrow(path)) {
        say(u"  Unexpected: the log does not name the exception and its place."_s);
        return false;
    }
    say(u"  The log says what was thrown, and its first frames say where. Like any crash it also left a crash"
        " log:\n  "_s
        + QDir(host.crashLogFolder()).entryList(QDir::Files).value(0));
    return true;
}
