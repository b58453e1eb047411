#include "SoftwareUpdate/MBWUpdateNotificationPanel.h"

#include "Platform/AppKit/NSApplication.h"
#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSURLError.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "SoftwareUpdate/MBWSWUpdateInfo.h"
#include "Utilities/MBWApplicationName.h"
#include "ui_UpdateNotificationPanel.h"

#include <QApplication>
#include <QEvent>
#include <QScreen>
#include <QShortcut>
#include <QStyle>

using namespace Qt::StringLiterals;
using namespace Marblewick;

constinit const QLatin1StringView MBWLastSWUpdateVersionKey("MBWLastSWUpdateVersionKey");

namespace {

constexpr int minimumWidth = 520;

/*! The information property of builds that a store sells. */
constexpr QLatin1StringView buildVersionKey("MWBuildVersion");

QString translated(const char *text) { return QCoreApplication::translate("UpdateNotificationPanel", text); }

/*! A text from outside as a label can show it: one line of at most so many characters. */
QString oneLine(const QString &text, qsizetype limit)
{
    QString line = text.left(4 * limit).simplified();
    line.removeIf(
        [](QChar c) { return c.category() == QChar::Other_Control || c.category() == QChar::Other_Format; });
    return line.size() <= limit ? line : line.left(limit - 1) + u'…';
}

QString oneLine(const std::optional<QString> &text) { return oneLine(text.value_or(QString()), 60); }

void openURL(const std::optional<QUrl> &url)
{
    NSWorkspace::sharedWorkspace()->openURL(url.value_or(QUrl()));
}

std::optional<QUrl> infoURL(const MBWSWUpdateInfo &info)
{
    const bool isFromStore = NSBundle::mainBundle()->infoDictionary().contains(buildVersionKey);
    const std::optional<QUrl> storeURL = isFromStore ? info.appStoreURL() : std::nullopt;
    return storeURL ? storeURL : info.productPageURL();
}

void makeHeadline(QLabel *label)
{
    QFont font = label->font();
    font.setBold(true);
    if (font.pixelSize() > 0) // which is -1 for a font with a size in points, as it is the other way round
        font.setPixelSize(qRound(font.pixelSize() * 1.3));
    else
        font.setPointSizeF(font.pointSizeF() * 1.3);
    label->setFont(font);
}

} // namespace

MBWUpdateNotificationPanel *MBWUpdateNotificationPanel::sharedPanel()
{
    static auto *const panel = new MBWUpdateNotificationPanel;
    return panel;
}

MBWUpdateNotificationPanel::MBWUpdateNotificationPanel()
    : NSWindowController(u"UpdateNotificationPanel"_s)
{ }

MBWUpdateNotificationPanel::~MBWUpdateNotificationPanel()
{
    if (isWindowLoaded())
        webView()->setNavigationDelegate(nullptr);
}

QStackedWidget *MBWUpdateNotificationPanel::contentBox() const { return m_ui ? m_ui->contentBox : nullptr; }

QProgressBar *MBWUpdateNotificationPanel::loadingProgress() const
{
    return m_ui ? m_ui->loadingProgress : nullptr;
}

QWidget *MBWUpdateNotificationPanel::loadingView() const { return m_ui ? m_ui->loadingView : nullptr; }

QWidget *MBWUpdateNotificationPanel::webContainerView() const
{
    return m_ui ? m_ui->webContainerView : nullptr;
}

WKWebView *MBWUpdateNotificationPanel::webView() const { return m_ui ? m_ui->webView : nullptr; }

QWidget *MBWUpdateNotificationPanel::errorView() const { return m_ui ? m_ui->errorView : nullptr; }

void MBWUpdateNotificationPanel::setUpdateInfo(const std::shared_ptr<MBWSWUpdateInfo> &updateInfo)
{
    m_updateInfo = updateInfo;
    if (m_ui)
        setUpTexts();
}

void MBWUpdateNotificationPanel::setErrorText(const QString &errorText)
{
    m_errorText = errorText;
    if (m_ui)
        m_ui->errorTextLabel->setText(oneLine(m_errorText, 400));
}

void MBWUpdateNotificationPanel::showWindowForUpdateInfo(const std::shared_ptr<MBWSWUpdateInfo> &updateInfo)
{
    if (!NSApplication::sharedApplication()) {
        NSLog(u"The new release is not shown, because a window needs a QApplication");
        return;
    }
    center();
    setUpdateInfo(updateInfo);
    loadReleaseNotes();
    m_ui->downloadButton->setFocus();
    window()->setWindowState(window()->windowState() & ~Qt::WindowMinimized);
    showWindow();
}

void MBWUpdateNotificationPanel::center()
{
    const QRect available = window()->screen()->availableGeometry();
    const QRect frame = window()->frameGeometry();
    window()->move(available.center() - QPoint(frame.width() / 2, frame.height() / 2));
}

void MBWUpdateNotificationPanel::loadReleaseNotes()
{
    m_ui->loadingProgress->setRange(0, 0); // A range of nothing is what makes the bar move.
    m_ui->contentBox->setCurrentWidget(m_ui->loadingView);
    const std::optional<QUrl> url = m_updateInfo ? m_updateInfo->updateInfoURL() : std::nullopt;
    m_ui->webView->loadRequest(NSURLRequest(url.value_or(QUrl())));
}

QWidget *MBWUpdateNotificationPanel::loadWindow()
{
    auto *const window = new QWidget;
    m_ui = std::make_unique<Ui::UpdateNotificationPanel>();
    m_ui->setupUi(window);
    return window;
}

void MBWUpdateNotificationPanel::windowDidLoad()
{
    window()->setAttribute(Qt::WA_ShowWithoutActivating);
    window()->installEventFilter(this);
    m_ui->webView->setNavigationDelegate(this);
    m_ui->webView->setUIDelegate(this);

    const QStyle *const style = window()->style();
    const int iconSize = style->pixelMetric(QStyle::PM_MessageBoxIconSize);
    QIcon icon = QApplication::windowIcon();
    if (icon.isNull())
        icon = style->standardIcon(QStyle::SP_MessageBoxInformation);
    m_ui->iconLabel->setPixmap(icon.pixmap(QSize(iconSize, iconSize), window()->devicePixelRatio()));
    makeHeadline(m_ui->headlineLabel);
    makeHeadline(m_ui->errorHeadlineLabel);
    setUpTexts();

    connect(m_ui->infoButton, &QPushButton::clicked, this, [this] { showInfo(m_ui->infoButton); });
    connect(m_ui->downloadButton, &QPushButton::clicked, this,
            [this] { downloadUpdate(m_ui->downloadButton); });
    connect(m_ui->remindButton, &QPushButton::clicked, this, [this] { remindLater(m_ui->remindButton); });
    connect(m_ui->skipButton, &QPushButton::clicked, this, [this] { skipUpdate(m_ui->skipButton); });
    connect(m_ui->tryAgainButton, &QPushButton::clicked, this, [this] { loadReleaseNotes(); });
    connect(new QShortcut(QKeySequence::Cancel, window()), &QShortcut::activated, this,
            [this] { remindLater(); });
}

void MBWUpdateNotificationPanel::setUpTexts()
{
    m_ui->retranslateUi(window());
    setErrorText(m_errorText);
    setUpReleaseTexts();
    // A layout with texts that wrap does not give its window a minimum size by itself.
    window()->setMinimumWidth(qMax(minimumWidth, window()->layout()->minimumSize().width()));
    window()->setMinimumHeight(window()->layout()->minimumHeightForWidth(window()->minimumWidth()));
}

void MBWUpdateNotificationPanel::setUpReleaseTexts()
{
    const MBWSWUpdateInfo none;
    const MBWSWUpdateInfo &info = m_updateInfo ? *m_updateInfo : none;
    QString name = oneLine(info.productName());
    if (name.isEmpty())
        name = oneLine(MBWApplicationName());
    const QString release = oneLine(info.versionString());
    const QString installed = oneLine(info.currentVersionString());

    m_ui->headlineLabel->setText(translated("A new version of %1 is available").arg(name));
    QStringList sentences;
    if (!release.isEmpty())
        sentences += translated("Version %1 can be downloaded.").arg(release);
    if (!installed.isEmpty())
        sentences += translated("You have version %1.").arg(installed);
    m_ui->versionLabel->setText(sentences.join(u' '));
    m_ui->downloadButton->setEnabled(info.directDownloadURL().has_value());
    m_ui->infoButton->setEnabled(infoURL(info).has_value());
}

void MBWUpdateNotificationPanel::showInfo(QObject *)
{
    openURL(m_updateInfo ? infoURL(*m_updateInfo) : std::nullopt);
    skipRelease();
    hide();
}

void MBWUpdateNotificationPanel::downloadUpdate(QObject *)
{
    openURL(m_updateInfo ? m_updateInfo->directDownloadURL() : std::nullopt);
    hide();
}

void MBWUpdateNotificationPanel::remindLater(QObject *) { hide(); }

void MBWUpdateNotificationPanel::skipUpdate(QObject *)
{
    skipRelease();
    hide();
}

void MBWUpdateNotificationPanel::skipRelease() const
{
    NSUserDefaults::standardUserDefaults()->setInteger(m_updateInfo ? m_updateInfo->versionIdentifier() : 0,
                                                       MBWLastSWUpdateVersionKey);
}

void MBWUpdateNotificationPanel::hide() { window()->hide(); }

void MBWUpdateNotificationPanel::windowWillClose() { webView()->stopLoading(window()); }

void MBWUpdateNotificationPanel::webViewDidStartProvisionalNavigation(
    WKWebView *, const std::shared_ptr<WKNavigation> &navigation)
{
    setMainFrameNavigation(navigation);
}

void MBWUpdateNotificationPanel::webViewDidFailProvisionalNavigation(WKWebView *,
                                                                     const std::shared_ptr<WKNavigation> &,
                                                                     const NSError &error)
{
    handleWebViewError(error);
}

void MBWUpdateNotificationPanel::webViewDidFinishNavigation(WKWebView *,
                                                            const std::shared_ptr<WKNavigation> &navigation)
{
    if (navigation != mainFrameNavigation())
        return;
    setMainFrameNavigation(nullptr);
    window();
    m_ui->contentBox->setCurrentWidget(m_ui->webContainerView);
}

void MBWUpdateNotificationPanel::handleWebViewError(const NSError &error)
{
    if (error.code() == NSURLErrorCancelled)
        return;
    showError(error.localizedDescription());
}

void MBWUpdateNotificationPanel::showError(const QString &text)
{
    window();
    setErrorText(text);
    m_ui->contentBox->setCurrentWidget(m_ui->errorView);
}

void MBWUpdateNotificationPanel::webViewWebContentProcessDidTerminate(WKWebView *)
{
    setMainFrameNavigation(nullptr);
    showError(translated("The program that shows the page has ended unexpectedly."));
}

void MBWUpdateNotificationPanel::webViewDecidePolicyForNavigationAction(
    WKWebView *, const WKNavigationAction &action, const DecisionHandler &decisionHandler)
{
    const QUrl url = action.request().url();
    switch (action.navigationType()) {
    case WKNavigationTypeFormSubmitted:
    case WKNavigationTypeOther:
        decisionHandler(WKNavigationActionPolicyAllow);
        return;
    case WKNavigationTypeLinkActivated:
        if (!url.fragment().isEmpty()) {
            decisionHandler(WKNavigationActionPolicyAllow);
            return;
        }
        openURL(url);
        skipRelease();
        decisionHandler(WKNavigationActionPolicyCancel);
        hide();
        return;
    default:
        decisionHandler(WKNavigationActionPolicyCancel);
    }
}

bool MBWUpdateNotificationPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Close && watched == window())
        windowWillClose();
    if (event->type() == QEvent::LanguageChange && watched == window())
        setUpTexts();
    return NSWindowController::eventFilter(watched, event);
}
