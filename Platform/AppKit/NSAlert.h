#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QString>
#include <QStringList>

namespace Marblewick {

/*! What NSAlert::runModal() returns for the first button; 1001 is the second, and so on. */
inline constexpr qint64 NSAlertFirstButtonReturn = 1000;

/*! A question with an answer on each button. Its texts are plain. Main thread only. */
class MARBLEWICK_PANELS_EXPORT NSAlert
{
public:
    /*! The question itself. */
    void setMessageText(const QString &text) { m_messageText = text; }
    /*! What there is to know about it. */
    void setInformativeText(const QString &text) { m_informativeText = text; }

    /*! Adds a button. The first one is the default, which Return presses; the last one is what Escape and the
       window's close control press. They stand in the order that the desktop is used to.
    */
    void addButtonWithTitle(const QString &title) { m_buttonTitles.append(title); }

    /*! Shows the alert, blocks the application's other windows, and handles events until a button is pressed;
       returns its number, counted from NSAlertFirstButtonReturn. Works before QApplication::exec() as well as
       inside it.

        NSModalResponseAbort where nobody answered: the application quits, or there is no QApplication to show
       a window, which the process log says.
    */
    qint64 runModal() const;

private:
    QString m_messageText;
    QString m_informativeText;
    QStringList m_buttonTitles;
};

} // namespace Marblewick
