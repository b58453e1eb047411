#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QWidget>

#include <list>

namespace Marblewick {

/*! Code of a modal session that ended because its window was hidden or destroyed and nobody stopped it. */
inline constexpr qint64 NSModalResponseAbort = -1001;

/*! The application's modal sessions. Main thread only. */
class MARBLEWICK_PANELS_EXPORT NSApplication
{
public:
    /*! The application; null where the host has not made a QApplication, without which there are no windows.
     */
    static NSApplication *sharedApplication();

    /*! Shows a window, blocks the application's other windows, and handles events until the session is
       stopped. Returns the code with which it was stopped. Works before QApplication::exec() as well as
       inside it.

        A session never outlives its window: where that is hidden or destroyed without a stop, the session
       ends with NSModalResponseAbort; so it does when the application quits. Sessions nest: an outer one that
        is stopped while an inner one runs returns right after the inner one.
    */
    qint64 runModalForWindow(QWidget *window);

    /*! The window of the innermost running session; null when none runs. */
    QWidget *modalWindow() const;

    /*! Stops the innermost running session, whosever it is. Nothing happens when none runs. */
    void stopModalWithCode(qint64 code);

    /*! Stops the sessions of one window, and no other. Nothing happens when it has none. */
    void stopModalForWindow(const QWidget *window, qint64 code);

private:
    class ModalSession;

    NSApplication() = default;

    /*! The running sessions, innermost last. */
    std::list<ModalSession *> m_sessions;
};

} // namespace Marblewick
