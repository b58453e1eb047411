#include "UpdatePilot.h"

#include "AutoPilot.h"

#include <Marblewick/MBWSWUpdateChecker.h>
#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/WKWebView.h>

#include <QCoreApplication>
#include <QDesktopServices>
#include <QHash>
#include <QMouseEvent>
#include <QPushButton>
#include <QStackedWidget>

using namespace Qt::StringLiterals;

namespace {

/*! How often a view is looked at before it is used: a page that has loaded is not yet drawn. */
constexpr int looks = 5;

const QHash<QString, QString> &buttonsOfAnswers()
{
    static const QHash<QString, QString> buttons{{u"more-info"_s, u"infoButton"_s},
                                                 {u"download"_s, u"downloadButton"_s},
                                                 {u"remind-later"_s, u"remindButton"_s},
                                                 {u"skip"_s, u"skipButton"_s}};
    return buttons;
}

} // namespace

UpdatePilot::UpdatePilot(const QString &answer, SavePicture savePicture)
    : m_answer(answer)
    , m_savePicture(std::move(savePicture))
{
    for (const auto &scheme : {u"http"_s, u"https"_s, u"appstream"_s})
        QDesktopServices::setUrlHandler(scheme, this, "noteAddress");
}

void UpdatePilot::noteAddress(const QUrl &url)
{
    say(u"The user's browser is asked for "_s + url.toString());
}

void UpdatePilot::follow(MBWSWUpdateChecker *checker)
{
    connect(checker, &MBWSWUpdateChecker::newSoftwareFound, this, [](const auto &info) {
        say(u"The host hears: there is a new release, number %1."_s.arg(info->versionIdentifier()));
    });
    connect(checker, &MBWSWUpdateChecker::softwareUpToDate, this, [this] {
        say(u"The host hears: it is up to date."_s);
        m_isDone = true;
    });
    connect(checker, &MBWSWUpdateChecker::updateCheckFailed, this, [this](const auto &error) {
        say(u"The host hears: the check failed. "_s + (error ? error->localizedDescription() : QString()));
        m_isDone = true;
    });
}

void UpdatePilot::look(QWidget *panel)
{
    if (!panel) {
        m_isDone = m_isDone || m_hasAnswered;
        return;
    }
    const QString view = panel->findChild<QStackedWidget *>(u"contentBox"_s)->currentWidget()->objectName();
    if (view != m_shownView)
        m_looksAtView = 0;
    m_shownView = view;
    ++m_looksAtView;
    use(panel, view);
}

void UpdatePilot::use(QWidget *panel, const QString &view)
{
    if (view == u"loadingView" && m_looksAtView == 1)
        m_savePicture(panel, u"update-loading"_s);
    if (m_looksAtView != looks)
        return;
    if (view == u"webContainerView" && !m_hasAnswered) {
        m_savePicture(panel, u"update-loaded"_s);
        answer(panel);
    } else if (view == u"webContainerView") {
        say(u"The panel stays, and shows another place of the notes."_s);
        m_savePicture(panel, u"update-in-page"_s);
        press(panel, u"remindButton"_s);
    } else if (view == u"errorView") {
        m_savePicture(panel, u"update-error"_s);
        press(panel, u"remindButton"_s);
    }
}

void UpdatePilot::answer(QWidget *panel)
{
    m_looksAtView = 0; // Where the panel stays, it is looked at anew.
    if (buttonsOfAnswers().contains(m_answer))
        press(panel, buttonsOfAnswers().value(m_answer));
    else
        clickNotes(panel, m_answer == u"in-page-link" ? 0 : 1);
}

void UpdatePilot::press(QWidget *panel, const QString &name)
{
    auto *const button = panel->findChild<QPushButton *>(name);
    say(u"The user presses \"%1\"."_s.arg(button->text().remove(u'&')));
    button->click();
    m_hasAnswered = true;
}

void UpdatePilot::clickNotes(QWidget *panel, int row)
{
    QWidget *receiver = panel->findChild<Marblewick::WKWebView *>();
    while (receiver->focusProxy()) // the innermost is the engine's own
        receiver = receiver->focusProxy();
    const QPointF place(40, 32 * row + 16);
    const QPointF onScreen = receiver->mapToGlobal(place);
    say(u"The user clicks the %1 link of the notes."_s.arg(row == 0 ? u"first"_s : u"second"_s));
    for (const auto type : {QEvent::MouseMove, QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, place, place, onScreen, button,
                          type == QEvent::MouseButtonPress ? button : Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(receiver, &event);
    }
    m_hasAnswered = true;
}
