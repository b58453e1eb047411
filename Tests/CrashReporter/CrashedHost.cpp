#include "Tests/CrashReporter/CrashedHost.h"

#include "Tests/Support/ChildProgram.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>

#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

CrashedHost::CrashedHost(const QStringList &arguments)
    : m_logFolder(m_home.diagnosticReportsFolder())
{
    EXPECT_EQ(::chdir(qPrintable(m_home.path())), 0); // for the core dump
    // The address sanitizer would otherwise have the signals before the host.
    qputenv("ASAN_OPTIONS", "handle_segv=0:handle_abort=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0");
    QElapsedTimer timer;
    timer.start();
    ChildProgram host(QStringList(QCoreApplication::applicationDirPath() + u"/CrashingHost"_s) + arguments);
    host.exitStatus();
    m_milliseconds = timer.elapsed();
    m_status = host.waitStatus();
    m_output = host.output();
}

int CrashedHost::signal() const { return WIFSIGNALED(m_status) ? WTERMSIG(m_status) : 0; }

bool CrashedHost::hasDumpedCore() const { return WIFSIGNALED(m_status) && WCOREDUMP(m_status); }

int CrashedHost::exitStatus() const { return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1; }

QStringList CrashedHost::files() const
{
    return QDir(m_logFolder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

QByteArray CrashedHost::log() const
{
    const QStringList names = files();
    EXPECT_EQ(names.size(), 1) << qPrintable(names.join(u' '));
    return names.size() == 1 ? readFile(m_logFolder + u'/' + names.first()) : QByteArray();
}

static QJsonObject parsed(const QByteArray &document)
{
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(document, &error).object();
    EXPECT_EQ(error.error, QJsonParseError::NoError) << document.constData();
    return object;
}

QJsonObject CrashedHost::header() const
{
    const QByteArray text = log();
    return parsed(text.left(text.indexOf('\n')));
}

QJsonObject CrashedHost::body() const
{
    const QByteArray text = log();
    return parsed(text.mid(text.indexOf('\n') + 1));
}

QStringList CrashedHost::functionsOfThread(int index) const
{
    QStringList functions;
    for (const QJsonValue frame : body()[u"threads"_s][index][u"frames"_s].toArray()) {
        const QString symbol = frame[u"symbol"_s].toString();
        const QString name = symbol.left(symbol.indexOf(u'(', symbol.startsWith(u'(') ? 1 : 0));
        functions.append(name.mid(name.lastIndexOf(u':') + 1));
    }
    return functions;
}

QStringList CrashedHost::functionsOfCrashedThread() const
{
    return functionsOfThread(body()[u"faultingThread"_s].toInt());
}

QStringList CrashedHost::imagesOfCrashedThread() const
{
    const QJsonObject document = body();
    QStringList images;
    for (const QJsonValue frame :
         document[u"threads"_s][document[u"faultingThread"_s].toInt()][u"frames"_s].toArray())
        images.append(document[u"usedImages"_s][frame[u"imageIndex"_s].toInt(-1)][u"name"_s].toString());
    return images;
}
