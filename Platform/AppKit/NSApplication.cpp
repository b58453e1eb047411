#include "Platform/AppKit/NSApplication.h"

#include "Platform/AppKit/HidingBeforeQuit.h"

#include <QApplication>
#include <QEventLoop>
#include <QPointer>
#include <QScopeGuard>

#include <optional>

namespace Marblewick {

/*! One run of a modal loop. */
class NSApplication::ModalSession : public QObject
{
public:
    explicit ModalSession(QWidget *window)
        : m_window(window)
    {
        window->installEventFilter(this);
        connect(window, &QObject::destroyed, &m_loop, &QEventLoop::quit);
    }

    QWidget *window() const { return m_window; }
    bool isStopped() const { return m_code.has_value(); }

    qint64 run()
    {
        // A host that called QApplication::quit() before exec() has not ended this loop; a stop, the end of
        // the window and a quit inside exec() do.
        if (!isStopped())
            m_loop.exec(QEventLoop::DialogExec);
        return m_code.value_or(NSModalResponseAbort);
    }

    void stop(qint64 code)
    {
        m_code = code;
        m_loop.quit();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        // The look is queued, because who hides the window on purpose stops the session right after it. (A
        // minimised window gets this event, too, but does not count as hidden.)
        if (event->type() == QEvent::Hide)
            QMetaObject::invokeMethod(this, &ModalSession::quitIfWindowIsHidden, Qt::QueuedConnection);
        return QObject::eventFilter(watched, event);
    }

private:
    void quitIfWindowIsHidden()
    {
        if (!m_window || (m_window->isHidden() && !HidingBeforeQuit::isUndecided()))
            m_loop.quit();
    }

    const QPointer<QWidget> m_window;
    QEventLoop m_loop;
    std::optional<qint64> m_code;
};

NSApplication *NSApplication::sharedApplication()
{
    static NSApplication application;
    return qobject_cast<QApplication *>(QCoreApplication::instance()) ? &application : nullptr;
}

qint64 NSApplication::runModalForWindow(QWidget *window)
{
    ModalSession session(window);
    m_sessions.push_back(&session);
    const auto ending = qScopeGuard([&] { m_sessions.remove(&session); });

    // Qt takes a change of modality only while the window is hidden.
    const Qt::WindowModality modality = window->windowModality();
    if (modality != Qt::ApplicationModal)
        window->hide();
    window->setWindowModality(Qt::ApplicationModal);
    window->show();
    window->raise();
    window->activateWindow();

    const qint64 code = session.run();
    if (session.window())
        session.window()->setWindowModality(modality);
    return code;
}

QWidget *NSApplication::modalWindow() const
{
    for (auto session = m_sessions.rbegin(); session != m_sessions.rend(); ++session) {
        if (!(*session)->isStopped())
            return (*session)->window();
    }
    return nullptr;
}

void NSApplication::stopModalWithCode(qint64 code)
{
    for (auto session = m_sessions.rbegin(); session != m_sessions.rend(); ++session) {
        if (!(*session)->isStopped())
            return (*session)->stop(code);
    }
}

void NSApplication::stopModalForWindow(const QWidget *window, qint64 code)
{
    for (ModalSession *session : m_sessions) {
        if (session->window() == window && !session->isStopped())
            session->stop(code);
    }
}

} // namespace Marblewick
