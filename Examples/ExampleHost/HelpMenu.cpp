#include "HelpMenu.h"

#include <Marblewick/MBWAboutPanel.h>
#include <Marblewick/MBWNewsPanelController.h>

#include <QCoreApplication>
#include <QStatusBar>

using namespace Qt::StringLiterals;

namespace {

/*! Tells the subscription page where its visitor comes from. */
const QString productCode = u"cartographer"_s;

} // namespace

HelpMenu::HelpMenu(QMainWindow *window)
    : QMenu(tr("&Help"), window)
    , m_window(window)
{
    m_feedback->setDelegate(this);
    addAction(tr("&Rate Cartographer…"), this, &HelpMenu::showFeedback);
    addAction(tr("&News by E-Mail…"), this, &HelpMenu::showNews);
    addAction(tr("&About Cartographer"), [] { MBWAboutPanel::sharedAboutPanel()->showWindow(); });
}

void HelpMenu::askUser()
{
    MBWNewsPanelController::sharedPanel()->showSubscribePanelIfFirstRunForProductCode(productCode);
    showFeedback();
}

void HelpMenu::showNews()
{
    MBWNewsPanelController::sharedPanel()->showSubscribePanelForProductCode(productCode);
}

void HelpMenu::showFeedback()
{
    m_feedback->showWindowForApplicationName(QCoreApplication::applicationName());
}

void HelpMenu::feedbackPanelControllerDidEndWithResponse(MBWFeedbackPanelController *,
                                                         MBWFeedbackPanelResponse response)
{
    // A real host would open its page in a store, or that of its support, and note when to ask again.
    QStatusBar *const status = m_window->statusBar();
    switch (response) {
    case MBWFeedbackPanelResponseRateApp:
        return status->showMessage(tr("Thank you for rating Cartographer."));
    case MBWFeedbackPanelResponseRateLater:
        return status->showMessage(tr("You will be asked again next month."));
    case MBWFeedbackPanelResponseDeclineRateApp:
        return status->showMessage(tr("You will not be asked again."));
    case MBWFeedbackPanelResponseGetSupport:
        return status->showMessage(tr("What can we help you with?"));
    }
}
