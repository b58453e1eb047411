#pragma once

#include <QMainWindow>
#include <QMenu>
#include <QTimer>

/*! Opens each panel from a menu and presses each of its buttons, first in a light palette and then in a dark
    one, for the demo on a machine without a display.
*/
class PanelPilot : public QObject
{
    Q_OBJECT

public:
    /*! Pictures go into the folder. When all is done the window is closed. */
    PanelPilot(const QString &pictureFolder, QMainWindow *window, QMenu *menu);

private:
    void look();
    void openNext();
    void use(QWidget *panel);
    void savePicture(QWidget *window, const QString &name) const;
    QWidget *panelOnScreen() const;

    const QString m_pictureFolder;
    QMainWindow *const m_window;
    QMenu *const m_menu;
    QTimer m_timer;
    bool m_isDark = false;
    qsizetype m_item = 0; ///< of the menu
    qsizetype m_button = 0; ///< of that item's panel
    int m_looks = 0;
};
