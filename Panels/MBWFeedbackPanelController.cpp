#include "Panels/MBWFeedbackPanelController.h"

#include "Panels/MBWFeedbackPanel.h"
#include "Platform/AppKit/HidingBeforeQuit.h"
#include "Platform/AppKit/LeadingAlignment.h"
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

/*! The host's active window. At launch, or behind other applications, none is: then the modal one, which
   blocks the others, else the first that is on the screen. Null where the host shows none.
*/
QWindow *hostWindow()
{
    const QWidget *const activeWidget = QApplication::activeWindow();
    if (QWindow *const active = activeWidget ? activeWidget->windowHandle() : QGuiApplication::focusWindow())
        return active;
    if (QWindow *const modal = QGuiApplication::modalWindow())
        return modal;
    const QWindowList windows = QGuiApplication::topLevelWindows();
    const auto found = std::ranges::find_if(windows, [](const QWindow *window) {
        return (window->type() == Qt::Window || window->type() == Qt::Dialog) && window->isVisible()
               && window->windowState() != Qt::WindowMinimized;
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
    alignTexts();
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

void MBWFeedbackPanelController::alignTexts()
{
    for (QLabel *const text : {m_ratingText.data(), m_infoText.data()}) {
        if (text)
            alignLeading(text);
    }
}

void MBWFeedbackPanelController::roundCorners()
{
    const QRectF bounds = m_visualEffectView->rect();
    if (bounds.isEmpty())
        return;
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
    m_panel->winId(); // makes the window handle
    QWindow *const host = hostWindow();
    if (host == m_panel->windowHandle())
        return; // It was active until its answer, which shows it again: it stays above the same window.
    // Wayland keeps a window above its transient parent, and above nothing else.
    m_panel->windowHandle()->setTransientParent(host);
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
    const QEvent::Type type = event->type();
    // A screen may have another density. The types come first: other events come from a view that is being
    // destroyed.
    if ((type == QEvent::Resize || type == QEvent::ScreenChangeInternal) && watched == m_visualEffectView)
        roundCorners();
    if (watched == m_panel && type == QEvent::LanguageChange) {
        if (m_ratingText && m_visualEffectView) // which the layout sets texts in
            m_ui->retranslateUi(m_panel);
        updateInfoText();
    }
    if (watched == m_panel && type == QEvent::LayoutDirectionChange)
        alignTexts();
    if (watched == m_panel && type == QEvent::Close && m_panel->isVisible()) {
        const QPointer self(this);
        rateLater();
        if (self && m_panel->isVisible())
            event->ignore(); // The delegate has shown the panel again.
        return true; // The delegate may have destroyed the panel.
    }
    return NSWindowController::eventFilter(watched, event);
}
