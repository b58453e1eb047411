#include "CrashScene.h"

#include "Host.h"
#include "Say.h"
#include "Server.h"

#include <Marblewick/CrashReportText.h>
#include <Marblewick/MBWCrashReporter.h>
#include <Marblewick/NSUserDefaults.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! How far the stored date is moved back after the crash, in seconds. It is stored in steps of 64 seconds,
   so a crash within the same minute could count as reported already.
*/
constexpr float movedBack = 5 * 60;

QString dateText(float secondsSinceReferenceDate)
{
    const QDateTime referenceDate(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return referenceDate.addMSecs(static_cast<qint64>(secondsSinceReferenceDate) * 1000)
        .toString(Qt::ISODate);
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/*! A crash log as another program would have left it an hour ago. */
bool writeOldCrashLog(const QString &path)
{
    const QByteArray contents = contentsOf(u":/Cartographer.ips"_s);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size() && file.flush()
           && file.setFileTime(QDateTime::currentDateTime().addSecs(-3600),
                               QFileDevice::FileModificationTime);
}

/*! Path of the one log that the host has written; empty where there is none. */
QString ownCrashLog(const Host &host)
{
    const QStringList logs = QDir(host.crashLogFolder()).entryList({u"Cartographer_2*.ips"_s}, QDir::Files);
    return logs.size() == 1 ? host.crashLogFolder() + u'/' + logs.first() : QString();
}

/*! Prints what a report says of the crash itself: from its exception to the first frames of its thread. */
bool printCrash(const QString &path)
{
    const QString text = textOfCrashReport(contentsOf(path)).value_or(QString());
    constexpr qsizetype shownFrames = 6;
    const qsizetype exception = text.indexOf("Exception Type:"_L1);
    const qsizetype frames = text.indexOf("Thread 0 Crashed:"_L1);
    if (exception < 0 || frames < 0)
        return false;
    say(u"  | "_s + text.mid(exception, text.indexOf(u'\n', exception) - exception));
    for (const QString &line : text.sliced(frames).split(u'\n').first(shownFrames + 1))
        say(u"  | "_s + line);
    return true;
}

/*! Whether a report names the function and the line at fault: both in one frame. */
bool namesTheFault(const QByteArray &report)
{
    static const QRegularExpression frame(
        uR"("symbol":"[^"]*Map::setMark[^{}]*"sourceFile":"MapWindow\.cpp","sourceLine":\d)"_s);
    return frame.match(QString::fromUtf8(report)).hasMatch();
}

/*! Prints a text, shortened in the middle where it is long. */
void printText(const QString &text)
{
    constexpr qsizetype shownLines = 24;
    constexpr qsizetype shownColumns = 100;
    const QStringList lines = QString(text).remove(u'\r').split(u'\n');
    for (const QString &line : lines.first(qMin(shownLines, lines.size())))
        say(u"  |   "_s + (line.size() > shownColumns ? line.first(shownColumns) + u'…' : line));
    if (lines.size() > shownLines)
        say(u"  |   … and %1 more lines"_s.arg(lines.size() - shownLines));
}

} // namespace

bool playCrashScene()
{
    say(u"\n== A host that crashed reports it ==\n"_s);
    QDir reports(Host::demoFolder() + u"/reports"_s);
    reports.removeRecursively();
    Server server({u"--reports"_s, reports.path()});
    if (server.url().isEmpty())
        return false;
    const QStringList options{u"--report-url"_s, server.url() + u"/report"_s};
    const Host host(u"crash"_s);
    NSUserDefaults defaults([&host] { return host.defaultsFile(); });
    say(u"The maker's server, marblewick serve, listens at "_s + server.url());

    say(u"\n1. The first launch, with an old crash log already there."_s);
    if (!Host::hasDisplay())
        say(u"   (No display: the host's windows are used by a program.)"_s);
    if (!writeOldCrashLog(host.crashLogFolder() + u"/Cartographer_old.ips"_s) || !host.launch(options))
        return false;
    if (!defaults.contains(MBWCrashReporterLastCrashReportDateKey) || !reports.isEmpty()) {
        say(u"  Unexpected: the date was not stored, or something was sent."_s);
        return false;
    }
    float date = defaults.floatForKey(MBWCrashReporterLastCrashReportDateKey);
    say(u"  Nothing was shown or sent. The date is stored: %1 (%2)"_s.arg(dateText(date))
            .arg(static_cast<double>(date), 0, 'f', 0));

    say(u"\n2. The next launch, and a crash."_s);
    if (Host::hasDisplay())
        say(u"   Click beyond the edge of the map."_s);
    if (!host.crash(options + QStringList{u"--crash"_s})) {
        say(u"  Unexpected: the host did not crash."_s);
        return false;
    }
    const QString log = ownCrashLog(host);
    say(u"  It died, and left "_s + log);
    if (!printCrash(log)) {
        say(u"  Unexpected: there is no report of the crash."_s);
        return false;
    }
    say(u"  Some minutes pass: the stored date moves back."_s);
    date -= movedBack;
    defaults.setFloat(date, MBWCrashReporterLastCrashReportDateKey);
    say(u"  It is now "_s + dateText(defaults.floatForKey(MBWCrashReporterLastCrashReportDateKey)));

    say(u"\n3. The launch after that."_s);
    if (!host.launch(options))
        return false;
    reports.refresh();
    if (reports.isEmpty()) {
        say(Host::hasDisplay() ? u"  No report was sent. Was it cancelled?"_s
                               : u"  Unexpected: no report reached the server."_s);
        return Host::hasDisplay();
    }
    say(u"\n4. What the maker's server says, and the report that it saved:\n"_s);
    for (const QString &line : server.takeLines())
        say(u"  | "_s + line);
    const QByteArray report = contentsOf(reports.filePath(u"report-1.txt"_s));
    printText(QString::fromUtf8(report));
    const bool isNamed = namesTheFault(report);
    say(isNamed ? u"\nThe report names the function and the line that were at fault."_s
                : u"\nUnexpected: the report does not name the fault."_s);
    return isNamed;
}
