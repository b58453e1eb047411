#include "PanelPilot.h"

#include "AutoPilot.h"

#include <Marblewick/NSWorkspace.h>

#include <QApplication>
#include <QPointer>
#include <QPushButton>
#include <QStatusBar>
#include <QStyleFactory>

using namespace Qt::StringLiterals;

PanelPilot::PanelPilot(const QString &pictureFolder, QMainWindow *window, QMenu *menu)
    : m_pictureFolder(pictureFolder)
    , m_window(window)
    , m_menu(menu)
{
    Marblewick::NSWorkspace::sharedWorkspace()->setURLOpener([](const QUrl &url) {
        say(u"The user's browser is asked for "_s + url.toString());
        return true;
    });
    connect(&m_timer, &QTimer::timeout, this, &PanelPilot::look);
    m_timer.start(100);
}

void PanelPilot::look()
{
    constexpr int looks = 5; // Till then a panel has faded in.
    if (QWidget *const panel = panelOnScreen()) {
        if (++m_looks == looks)
            use(panel);
    } else {
        openNext();
    }
}

QWidget *PanelPilot::panelOnScreen() const
{
    for (QWidget *const window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window != m_window)
            return window;
    }
    return nullptr;
}

void PanelPilot::openNext()
{
    m_looks = 0;
    if (m_item < m_menu->actions().size()) {
        // Queued: a modal panel must not hold up this look.
        QTimer::singleShot(0, m_menu->actions().at(m_item), &QAction::trigger);
    } else if (!m_isDark) {
        m_isDark = true;
        m_item = 0;
        QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
        QApplication::setPalette(QPalette(QColor(53, 53, 53)));
    } else {
        m_window->close();
    }
}

void PanelPilot::use(QWidget *panel)
{
    m_looks = 0;
    const QString item = m_menu->actions().at(m_item)->text().remove(u'&').remove(u'…').trimmed();
    if (m_button == 0)
        savePicture(panel, u"panel-%1-%2"_s.arg(m_item).arg(m_isDark ? u"dark"_s : u"light"_s));
    const auto buttons = panel->findChildren<QPushButton *>();
    if (m_button < buttons.size()) {
        QPushButton *const button = buttons.at(m_button++);
        say(u"%1: the user presses \"%2\"."_s.arg(item, button->text().remove(u'&')));
        m_window->statusBar()->clearMessage();
        const QPointer<QWidget> stillThere = panel;
        button->click();
        if (!m_window->statusBar()->currentMessage().isEmpty())
            say(u"The host says: "_s + m_window->statusBar()->currentMessage());
        if (stillThere && m_button == buttons.size())
            panel->close();
    } else {
        panel->close();
    }
    if (m_button >= buttons.size()) {
        m_button = 0;
        ++m_item;
    }
}

void PanelPilot::savePicture(QWidget *window, const QString &name) const
{
    const QString path = m_pictureFolder + u'/' + name + u".png"_s;
    say(window->grab().save(path) ? u"Saved a picture: "_s + path : u"Could not save "_s + path);
}
