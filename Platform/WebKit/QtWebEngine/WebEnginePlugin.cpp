#include "Platform/WebKit/QtWebEngine/WebEngineView.h"

#include <QGuiApplication>
#include <QPalette>

extern "C" Q_DECL_EXPORT Marblewick::WebContent *marblewickCreateWebContent(
    Marblewick::WebContentClient *client);

namespace {

constexpr char flagsVariable[] = "QTWEBENGINE_CHROMIUM_FLAGS";

/*! Tells the engine, which reads the variable when it starts, that pages are to use their dark colours. */
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

bool isPaletteDark()
{
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::WindowText).lightness() > palette.color(QPalette::Window).lightness();
}

} // namespace

Marblewick::WebContent *marblewickCreateWebContent(Marblewick::WebContentClient *client)
{
    std::optional<DarkColors> colors;
    if (isPaletteDark())
        colors.emplace();
    return new Marblewick::WebEngineView(client);
}
