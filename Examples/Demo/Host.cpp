#include "Host.h"

#include "Say.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include <unistd.h>

using namespace Qt::StringLiterals;

QString Host::demoFolder() { return QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/../demo"_s); }

bool Host::hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

Host::Host(const QString &scene)
    : m_home(demoFolder() + u"/home-"_s + scene)
{
    QDir(m_home).removeRecursively();
    QDir().mkpath(crashLogFolder());
    QDir().mkpath(m_home + u"/tmp"_s);
}

QString Host::crashLogFolder() const { return m_home + u"/state/Logs/DiagnosticReports"_s; }

QString Host::defaultsFile() const { return m_home + u"/config/Cartographer/defaults.json"_s; }

QString Host::logFolder() const { return m_home + u"/data/Cartographer/Logs"_s; }

bool Host::launch(const QStringList &options) const { return run(options) == End::Quit; }

bool Host::crash(const QStringList &options) const { return run(options) == End::Crash; }

std::optional<Host::End> Host::run(QStringList arguments) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_STATE_HOME"_s, m_home + u"/state"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, m_home + u"/config"_s);
    environment.insert(u"XDG_DATA_HOME"_s, m_home + u"/data"_s);
    environment.insert(u"TMPDIR"_s, m_home + u"/tmp"_s);
    environment.insert(u"no_proxy"_s, u"127.0.0.1"_s);
    if (!hasDisplay()) {
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        environment.insert(u"XDG_RUNTIME_DIR"_s, m_home + u"/tmp"_s);
        environment.insert(
            u"QT_LOGGING_RULES"_s, // what offscreen windows cannot do, and the engine's figures
            u"default.warning=false;qt.webenginecontext=false"_s);
        arguments += {u"--drive"_s, demoFolder()};
    }
    if (::geteuid() == 0) // The web engine does not run as root with the sandbox of its processes.
        environment.insert(u"QTWEBENGINE_DISABLE_SANDBOX"_s, u"1"_s);

    QProcess host;
    host.setProcessEnvironment(environment);
    host.setProcessChannelMode(QProcess::ForwardedChannels);
    host.start(QCoreApplication::applicationDirPath() + u"/cartographer"_s, arguments);
    if (!host.waitForFinished(hasDisplay() ? -1 : 60'000)) {
        say(u"The host could not be run: "_s + host.errorString());
        return std::nullopt;
    }
    if (host.exitStatus() == QProcess::CrashExit)
        return End::Crash;
    return host.exitCode() == 0 ? std::optional(End::Quit) : std::nullopt;
}
