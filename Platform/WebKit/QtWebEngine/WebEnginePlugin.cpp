#include "Platform/WebKit/QtWebEngine/WebEngineView.h"

#include <QGuiApplication>
#include <QPalette>

#include <optional>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

extern "C" Q_DECL_EXPORT Marblewick::WebContent *marblewickCreateWebContent(
    Marblewick::WebContentClient *client, QString *reason);

namespace {

constexpr char flagsVariable[] = "QTWEBENGINE_CHROMIUM_FLAGS";

/*! Tells the engine, which reads the variable when it starts, that pages are to use their dark colours. It
   takes that from nowhere else but the command line. No other thread should look for variables at that
   moment; but neither should it in a light palette, as the engine's own start sets one.
*/
class DarkColors
{
public:
    DarkColors() { qputenv(flagsVariable, m_flags + " --blink-settings=preferredColorScheme=0"); }
    ~DarkColors()
    {
        if (m_flags.isNull())
            qunsetenv(flagsVariable);
        else
            qputenv(flagsVariable, m_flags);
    }

private:
    const QByteArray m_flags = qgetenv(flagsVariable);
};

/*! The arguments that the engine takes: those of the environment where there are any. */
QStringList engineArguments()
{
    if (qEnvironmentVariableIsSet(flagsVariable))
        return qEnvironmentVariable(flagsVariable).split(u' ');
    const QStringList arguments = QCoreApplication::arguments();
    const qsizetype mark = arguments.indexOf("--webEngineArgs"_L1);
    return mark < 0 ? QStringList() : arguments.mid(mark + 1);
}

/*! Root has no sandbox to put the engine's processes into: unless it is to do without, it ends the host. */
bool canRun()
{
    return ::geteuid() != 0 || qEnvironmentVariableIsSet("QTWEBENGINE_DISABLE_SANDBOX")
           || engineArguments().contains("--no-sandbox"_L1);
}

bool isPaletteDark()
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::WindowText).lightness() > palette.color(QPalette::Window).lightness();
}

} // namespace

Marblewick::WebContent *marblewickCreateWebContent(Marblewick::WebContentClient *client, QString *reason)
{
    if (!canRun()) {
        *reason = u"The web engine does not run as root unless QTWEBENGINE_DISABLE_SANDBOX is set"_s;
        return nullptr;
    }
    static bool isStarted = false;
    std::optional<DarkColors> colors;
    if (!std::exchange(isStarted, true) && isPaletteDark())
        colors.emplace();
    return new Marblewick::WebEngineView(client);
}
