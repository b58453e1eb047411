#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>

namespace Marblewick {

/*! Hides its parent, a window, when the application is about to quit. Quitting closes all windows that are
   shown, and a panel would take that for the user's answer.
*/
class HidingBeforeQuit : public QObject
{
public:
    explicit HidingBeforeQuit(QWidget *window)
        : QObject(window)
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == QCoreApplication::instance() && event->type() == QEvent::Quit)
            static_cast<QWidget *>(parent())->hide();
        return QObject::eventFilter(watched, event);
    }
};

} // namespace Marblewick
