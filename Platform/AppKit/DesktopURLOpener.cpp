#include "Platform/AppKit/NSWorkspace.h"

#include <QDesktopServices>
#include <QGuiApplication>

namespace {

bool openWithDesktop(const QUrl &url)
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) && QDesktopServices::openUrl(url);
}

void installOpener() { Marblewick::NSWorkspace::sharedWorkspace()->setURLOpener(openWithDesktop); }
Q_CONSTRUCTOR_FUNCTION(installOpener)

} // namespace
