#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QScopedValueRollback>
#include <QWidget>

namespace Marblewick {

/*! Hides its parent, a window, while the application is asked to quit, and shows it again where another
   window refused. Quitting closes all windows that are shown, and a panel would take that for the user's
   answer.
*/
class HidingBeforeQuit : public QObject
{
public:
    explicit HidingBeforeQuit(QWidget *window)
        : QObject(window)
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

    /*! Whether windows are hidden for a quit that is not decided yet; the host may handle events meanwhile,
       to ask the user.
    */
    static bool isUndecided() { return undecided; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *const window = static_cast<QWidget *>(parent());
        if (watched != QCoreApplication::instance() || event->type() != QEvent::Quit || !window->isVisible())
            return QObject::eventFilter(watched, event);
        const QScopedValueRollback deciding(undecided, true);
        const QPointer self(this);
        window->hide();
        QCoreApplication::sendEvent(watched, event);
        if (self && !event->isAccepted())
            window->show();
        return true;
    }

private:
    inline static bool undecided = false;
};

} // namespace Marblewick
