#include "AutoPilot.h"

#include "UpdatePilot.h"

#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextStream>

using namespace Qt::StringLiterals;

void say(const QString &text) { QTextStream(stdout) << "  " << text << Qt::endl; }

namespace {

/*! The window of that name that is on the screen, if any. */
QWidget *visibleWindow(const QString &name)
{
    for (QWidget *const window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->objectName() == name)
            return window;
    }
    return nullptr;
}

} // namespace

AutoPilot::AutoPilot(const QString &pictureFolder, Plan plan)
    : m_pictureFolder(pictureFolder)
    , m_plan(plan)
{
    connect(&m_timer, &QTimer::timeout, this, &AutoPilot::lookForWindows);
    m_timer.start(200);
}

void AutoPilot::followUpdate(MBWSWUpdateChecker *checker, const QString &answer)
{
    m_updatePilot = new UpdatePilot(
        answer, [this](QWidget *window, const QString &name) { savePicture(window, name); });
    m_updatePilot->setParent(this);
    m_updatePilot->follow(checker);
}

void AutoPilot::lookForWindows()
{
    QWidget *const crashReport = visibleWindow(u"CrashReport"_s);
    if (crashReport && !m_hasSentReport) {
        constexpr int looks = 4; // A person, too, takes a moment to read, in which the preview loads.
        if (++m_looksAtReport == looks)
            useCrashReport(crashReport);
        return;
    }
    if (m_updatePilot && !m_updatePilot->isDone()) {
        m_updatePilot->look(visibleWindow(u"UpdateNotificationPanel"_s));
        return;
    }
    if (QWidget *const map = visibleWindow(u"MapWindow"_s)) {
        useMap(map);
    }
}

void AutoPilot::useCrashReport(QWidget *window)
{
    m_hasSentReport = true;
    window->findChild<QPlainTextEdit *>(u"descriptionText"_s)
        ->setPlainText(tr("I set a mark at the edge of the map, and the window was gone."));
    window->findChild<QLineEdit *>(u"emailField"_s)->setText(u"ada@example.com"_s);
    savePicture(window, u"crash-report"_s);
    say(u"The panel is up; a description and an e-mail address are filled in."_s);
    window->findChild<QPushButton *>(u"sendButton"_s)->click();
    savePicture(window, u"crash-report-sending"_s);
    say(u"Send Report was clicked."_s);
}

void AutoPilot::useMap(QWidget *window)
{
    savePicture(window, u"host"_s);
    if (m_plan == Plan::ClickBeyondTheEdge) {
        auto *const map = window->findChild<QWidget *>(u"Map"_s);
        say(u"A click beyond the edge of the map."_s);
        const QPointF corner = map->rect().bottomRight();
        QMouseEvent click(QEvent::MouseButtonPress, corner, map->mapToGlobal(corner), Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(map, &click);
    }
    window->close();
}

void AutoPilot::savePicture(QWidget *window, const QString &name) const
{
    const QString path = m_pictureFolder + u'/' + name + u".png"_s;
    say(window->grab().save(path) ? u"Saved a picture: "_s + path : u"Could not save "_s + path);
}
