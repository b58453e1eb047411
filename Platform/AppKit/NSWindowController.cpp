#include "Platform/AppKit/NSWindowController.h"

#include "Platform/AppKit/NSApplication.h"
#include "Platform/Foundation/NSLog.h"

namespace Marblewick {

NSWindowController::NSWindowController(const QString &windowNibName)
    : m_windowNibName(windowNibName)
{ }

NSWindowController::~NSWindowController() { delete m_window; }

QWidget *NSWindowController::window()
{
    if (!m_window) {
        m_window = loadWindow();
        // A panel is a guest: closing it must not end a host that has no other window.
        m_window->setAttribute(Qt::WA_QuitOnClose, false);
        windowDidLoad();
    }
    return m_window;
}

void NSWindowController::showWindow(QObject *)
{
    if (!NSApplication::sharedApplication())
        return NSLog(u"%@ is not shown, because a window needs a QApplication: make one before",
                     {m_windowNibName});
    QWidget *const shown = window();
    shown->setWindowState(shown->windowState() & ~Qt::WindowMinimized);
    shown->show();
    shown->raise();
    if (!shown->testAttribute(Qt::WA_ShowWithoutActivating))
        shown->activateWindow();
}

} // namespace Marblewick
