#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace Marblewick {

/*! Owns a window that comes from a window resource and is made when it is first asked for.

    A window resource is a `.ui` layout of the framework's Resources folder, compiled in; its texts are
   translated in the context of its name. Main thread only.
*/
class MARBLEWICK_PANELS_EXPORT NSWindowController : public QObject
{
    Q_OBJECT

public:
    explicit NSWindowController(const QString &windowNibName);
    ~NSWindowController() override;

    QString windowNibName() const { return m_windowNibName; }

    /*! The window. The first call makes it, and then calls windowDidLoad(). Owned by the controller; needs a
        QApplication.
    */
    QWidget *window();
    bool isWindowLoaded() const { return !m_window.isNull(); }

    /*! Shows the window in front of the application's others and gives it the focus, unless its attribute
        Qt::WA_ShowWithoutActivating is set. A window that was minimised is restored. Without a QApplication
       the process log says that nothing is shown. The sender is not used.
    */
    virtual void showWindow(QObject *sender = nullptr);

protected:
    /*! Makes the window from its resource. */
    virtual QWidget *loadWindow() = 0;
    /*! Sets the window up once it is there. */
    virtual void windowDidLoad() { }

private:
    const QString m_windowNibName;
    QPointer<QWidget> m_window;
};

} // namespace Marblewick
