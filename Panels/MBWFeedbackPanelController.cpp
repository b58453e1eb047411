#include "Panels/MBWFeedbackPanelController.h"

#include "Panels/MBWFeedbackPanel.h"
#include "Platform/AppKit/HidingBeforeQuit.h"
#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSVisualEffectView.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSString.h"
#include "ui_FeedbackPanel.h"

#include <QApplication>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <QWindow>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr double cornerRadius = 5;
constexpr int fadeDuration = 250; // milliseconds

/*! The host's active window, else one that is on the screen: at launch, or behind other applications, none is
    active. Null where the host shows none.
*/
const QWidget *hostWindow(const QWidget *panel)
{
    if (const QWidget *const active = QApplication::activeWindow())
        return active;
    const QWidgetList windows = QApplication::topLevelWidgets();
    const auto found = std::ranges::find_if(windows, [panel](const QWidget *window) {
        return window != panel && window->windowType() == Qt::Window && window->isVisible()
               && !window->isMinimized();
    });
    return found == windows.end() ? nullptr : *found;
}

} // namespace

MBWFeedbackPanelControllerDelegate::~MBWFeedbackPanelControllerDelegate() = default;

std::unique_ptr<MBWFeedbackPanelController> MBWFeedbackPanelController::init()
{
    if (!NSApplication::sharedApplication())
        return nullptr;
    std::unique_ptr<MBWFeedbackPanelController> controller(new MBWFeedbackPanelController);
    controller->window();
    return controller;
}

MBWFeedbackPanelController::MBWFeedbackPanelController()
    : NSWindowController(u"FeedbackPanel"_s)
{ }

MBWFeedbackPanelController::~MBWFeedbackPanelController() = default;

QWidget *MBWFeedbackPanelController::loadWindow()
{
    m_panel = new MBWFeedbackPanel;
    m_ui = std::make_unique<Ui::FeedbackPanel>();
    m_ui->setupUi(m_panel);
    m_ratingText = m_ui->ratingText;
    m_infoText = m_ui->infoText;
    m_visualEffectView = m_ui->visualEffectView;
    return m_panel;
}

void MBWFeedbackPanelController::windowDidLoad()
{
    QFont headingFont = m_ratingText->font();
    headingFont.setBold(true);
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.3);
    m_ratingText->setFont(headingFont);
    updateInfoText();
    roundCorners();
    m_panel->setAlphaValue(0);
    m_fade.setTargetObject(m_panel);
    m_fade.setPropertyName("alphaValue");
    m_fade.setEndValue(1.0);
    m_fade.setDuration(fadeDuration);

    connectButton(m_ui->rateAppButton, &MBWFeedbackPanelController::rateApp);
    connectButton(m_ui->rateLaterButton, &MBWFeedbackPanelController::rateLater);
    connectButton(m_ui->declineRateAppButton, &MBWFeedbackPanelController::declineRateApp);
    connectButton(m_ui->getSupportButton, &MBWFeedbackPanelController::getSupport);
    connect(new QShortcut(QKeySequence::Cancel, m_panel), &QShortcut::activated, this,
            [this] { rateLater(); });
    m_panel->installEventFilter(this);
    m_visualEffectView->installEventFilter(this);
    new HidingBeforeQuit(m_panel);
    m_ui->rateAppButton->setFocus();
}

void MBWFeedbackPanelController::connectButton(QPushButton *button, Action action)
{
    // A button's own key presses it for a moment before it is clicked; the user may have answered otherwise
    // meanwhile.
    connect(button, &QPushButton::clicked, this, [this, action] {
        if (m_panel->isVisible())
            (this->*action)(nullptr);
    });
}

void MBWFeedbackPanelController::roundCorners()
{
    const QRectF bounds = m_visualEffectView ? m_visualEffectView->rect() : QRect();
    const double scale = m_panel->devicePixelRatioF();
    QImage mask((bounds.size() * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    mask.fill(Qt::transparent);
    QPainter painter(&mask);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(scale, scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::black);
    painter.drawRoundedRect(bounds, cornerRadius, cornerRadius);
    painter.end();
    if (m_visualEffectView)
        m_visualEffectView->setMaskImage(mask);
}

void MBWFeedbackPanelController::updateInfoText()
{
    if (!m_infoText)
        return;
    const QString format = NSBundle::mainBundle()->localizedStringForKey(
        u"If you like %@, please consider rating the app or leaving a review on the Mac\u00A0App\u00A0Store, thanks!"_s);
    m_infoText->setText(NSString::stringWithFormat(format, {applicatioName()}));
    if (m_panel->isVisible())
        fitToTexts();
}

void MBWFeedbackPanelController::fitToTexts()
{
    if (!m_visualEffectView)
        return;
    m_visualEffectView->layout()->activate(); // The panel learns of the new size of its contents.
    m_panel->adjustSize();
}

void MBWFeedbackPanelController::showWindowForApplicationName(const QString &applicationName)
{
    if (m_panel->isVisible())
        return closeWindowWithResponse(MBWFeedbackPanelResponseRateLater);
    setApplicatioName(applicationName);
    updateInfoText();
    showWindow(this);
}

void MBWFeedbackPanelController::showWindow(QObject *sender)
{
    if (!m_panel->isVisible()) {
        m_fade.stop();
        m_panel->setAlphaValue(0);
        fitToTexts();
        placeOverActiveWindow();
    }
    NSWindowController::showWindow(sender);
    m_fade.start();
}

void MBWFeedbackPanelController::placeOverActiveWindow()
{
    const QWidget *const host = hostWindow(m_panel);
    if (host == m_panel)
        return; // It is shown again by its own answer, and stays above the window that it was shown for.
    m_panel->winId(); // makes the window handle
    // Wayland keeps a window above its transient parent, and above nothing else.
    m_panel->windowHandle()->setTransientParent(host ? host->windowHandle() : nullptr);
    if (m_wasPlaced)
        return; // The user may have moved it.
    m_wasPlaced = true;
    QRect frame = m_panel->frameGeometry();
    frame.moveCenter(host ? host->frameGeometry().center() : m_panel->screen()->availableGeometry().center());
    m_panel->move(frame.topLeft());
}

void MBWFeedbackPanelController::closeWindowWithResponse(MBWFeedbackPanelResponse response)
{
    const QPointer self(this);
    m_panel->hide();
    m_fade.stop();
    if (auto *const delegate = this->delegate())
        delegate->feedbackPanelControllerDidEndWithResponse(this, response);
    // The delegate may have destroyed the controller, or shown the panel again, which is fading in then.
    if (self && !m_panel->isVisible())
        m_panel->setAlphaValue(0);
}

void MBWFeedbackPanelController::rateApp(QObject *)
{
    closeWindowWithResponse(MBWFeedbackPanelResponseRateApp);
}

void MBWFeedbackPanelController::rateLater(QObject *)
{
    closeWindowWithResponse(MBWFeedbackPanelResponseRateLater);
}

void MBWFeedbackPanelController::declineRateApp(QObject *)
{
    closeWindowWithResponse(MBWFeedbackPanelResponseDeclineRateApp);
}

void MBWFeedbackPanelController::getSupport(QObject *)
{
    closeWindowWithResponse(MBWFeedbackPanelResponseGetSupport);
}

bool MBWFeedbackPanelController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == m_visualEffectView)
        roundCorners();
    if (watched == m_panel && event->type() == QEvent::LanguageChange) {
        if (m_ratingText && m_visualEffectView) // which the layout sets texts in
            m_ui->retranslateUi(m_panel);
        updateInfoText();
    }
    if (watched == m_panel && event->type() == QEvent::Close && m_panel->isVisible()) {
        const QPointer self(this);
        rateLater();
        if (self && m_panel->isVisible())
            event->ignore(); // The delegate has shown the panel again.
        return true; // The delegate may have destroyed the panel.
    }
    return NSWindowController::eventFilter(watched, event);
}
