#include "CrashReporter/MBWCrashReportController.h"

#include "CrashReporter/MBWCrashLogPreviewItem.h"
#include "CrashReporter/MBWCrashReporter.h"
#include "Platform/AppKit/HidingBeforeQuit.h"
#include "Platform/AppKit/NSApplication.h"
#include "Platform/Foundation/NSDate.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSURL.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/QuickLook/QLPreviewView.h"
#include "Utilities/MBWApplicationName.h"
#include "ui_CrashReport.h"

#include <QApplication>
#include <QKeyEvent>
#include <QShortcut>
#include <QStyle>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr QLatin1StringView lastUsedEmailKey("MBWCrashReportLastUsedEmail");

constexpr qint64 cancelledCode = 0;
constexpr qint64 sentCode = 1;

std::optional<QString> crashReportURL;
bool isRunAsModal = true;

void storeLastReportDate()
{
    NSUserDefaults::standardUserDefaults()->setFloat(
        static_cast<float>(NSDate::date().timeIntervalSinceReferenceDate),
        MBWCrashReporterLastCrashReportDateKey);
}

QUrl endpoint() { return NSURL::URLWithString(crashReportURL.value_or(QString())).value_or(QUrl()); }

} // namespace

MBWCrashReportController *MBWCrashReportController::sharedReporter()
{
    static auto *const controller = new MBWCrashReportController;
    return controller;
}

void MBWCrashReportController::setCrashReportURL(const QString &url) { crashReportURL = url; }

bool MBWCrashReportController::runAsModal() { return isRunAsModal; }

void MBWCrashReportController::setRunAsModal(bool runAsModal) { isRunAsModal = runAsModal; }

bool MBWCrashReportController::checkForCrash() { return checkForCrashAndReport(true); }

bool MBWCrashReportController::checkForCrashAndReport(bool report)
{
    const std::optional<QString> crashLog = MBWCrashReporter().checkForCrashLog();
    return report && crashLog && reportCrash(*crashLog);
}

bool MBWCrashReportController::reportCrash(const QString &report)
{
    if (!NSUserDefaults::standardUserDefaults()->contains(MBWCrashReporterLastCrashReportDateKey)) {
        storeLastReportDate();
        return false;
    }
    NSApplication *const application = NSApplication::sharedApplication();
    if (!application) {
        NSLog(u"The crash report is not shown, because a window needs a QApplication: make one before "
              u"checking");
        return false;
    }
    MBWCrashReportController *const controller = sharedReporter();
    controller->setCrashReportLog(report);
    if (isRunAsModal)
        application->runModalForWindow(controller->window());
    else
        controller->showWindow();
    return true;
}

MBWCrashReportController::MBWCrashReportController()
    : NSWindowController(u"CrashReport"_s)
{ }

MBWCrashReportController::~MBWCrashReportController() = default;

QPlainTextEdit *MBWCrashReportController::descriptionText() const
{
    return m_ui ? m_ui->descriptionText : nullptr;
}

QLineEdit *MBWCrashReportController::emailField() const { return m_ui ? m_ui->emailField : nullptr; }

QGroupBox *MBWCrashReportController::quickLookBox() const { return m_ui ? m_ui->quickLookBox : nullptr; }

QProgressBar *MBWCrashReportController::progress() const { return m_ui ? m_ui->progress : nullptr; }

QPushButton *MBWCrashReportController::sendButton() const { return m_ui ? m_ui->sendButton : nullptr; }

void MBWCrashReportController::setCrashLogPreviewItem(std::shared_ptr<MBWCrashLogPreviewItem> item)
{
    m_crashLogPreviewItem = std::move(item);
    if (m_quickLookPreview)
        m_quickLookPreview->setPreviewItem(m_crashLogPreviewItem);
}

QString MBWCrashReportController::applicationName() const { return MBWApplicationName().value_or(QString()); }

QString MBWCrashReportController::email() const { return m_ui ? m_ui->emailField->text() : QString(); }

QString MBWCrashReportController::description() const
{
    return m_ui ? m_ui->descriptionText->toPlainText() : QString();
}

void MBWCrashReportController::setCrashReportLog(const QString &report)
{
    window();
    setUpTexts(); // The endpoint that they name may have changed since the window was loaded.
    setCrashLogPreviewItem(std::make_shared<MBWCrashLogPreviewItem>(report));
    ++m_presentation;
}

QWidget *MBWCrashReportController::loadWindow()
{
    auto *const window = new QWidget;
    m_ui = std::make_unique<Ui::CrashReport>();
    m_ui->setupUi(window);
    return window;
}

void MBWCrashReportController::windowDidLoad()
{
    m_quickLookPreview = new QLPreviewView;
    auto *const boxLayout = new QVBoxLayout(m_ui->quickLookBox);
    boxLayout->setContentsMargins({});
    boxLayout->addWidget(m_quickLookPreview);
    setCrashLogPreviewItem(m_crashLogPreviewItem);

    const QStyle *const style = window()->style();
    const int iconSize = style->pixelMetric(QStyle::PM_MessageBoxIconSize);
    m_ui->iconLabel->setPixmap(style->standardIcon(QStyle::SP_MessageBoxWarning)
                                   .pixmap(QSize(iconSize, iconSize), window()->devicePixelRatio()));
    QFont headlineFont = m_ui->headlineLabel->font();
    headlineFont.setBold(true);
    headlineFont.setPointSizeF(headlineFont.pointSizeF() * 1.3);
    m_ui->headlineLabel->setFont(headlineFont);
    setUpTexts();

    // The spinner keeps its place while it is hidden, so that nothing moves when it appears.
    QSizePolicy progressPolicy = m_ui->progress->sizePolicy();
    progressPolicy.setRetainSizeWhenHidden(true);
    m_ui->progress->setSizePolicy(progressPolicy);
    m_ui->progress->hide();

    const std::optional<QString> lastUsedEmail = NSUserDefaults::standardUserDefaults()->stringForKey(
        lastUsedEmailKey);
    if (lastUsedEmail)
        m_ui->emailField->setText(*lastUsedEmail);

    connect(m_ui->sendButton, &QPushButton::clicked, this, [this] { send(m_ui->sendButton); });
    connect(m_ui->cancelButton, &QPushButton::clicked, this, [this] { cancel(m_ui->cancelButton); });
    connect(m_ui->emailField, &QLineEdit::returnPressed, m_ui->emailField, &QLineEdit::selectAll);
    connect(new QShortcut(QKeySequence::Cancel, window()), &QShortcut::activated, this, [this] { cancel(); });
    for (QObject *const watched :
         {static_cast<QObject *>(window()), static_cast<QObject *>(m_ui->descriptionText),
          static_cast<QObject *>(m_ui->emailField)})
        watched->installEventFilter(this);
    new HidingBeforeQuit(window());

    QWidget::setTabOrder(m_quickLookPreview, m_ui->descriptionText);
    m_ui->descriptionText->setFocus();
}

void MBWCrashReportController::setUpTexts()
{
    m_ui->retranslateUi(window());
    for (QLabel *const label : {m_ui->headlineLabel, m_ui->introductionLabel, m_ui->privacyLabel})
        label->setText(label->text().arg(applicationName()));
    const QString receiver = endpoint().host();
    if (!receiver.isEmpty())
        m_ui->privacyLabel->setText(
            m_ui->privacyLabel->text() + u' '
            + QCoreApplication::translate("CrashReport", "They receive it at %1.").arg(receiver));

    // A layout with texts that wrap does not give its window a minimum height by itself.
    window()->setMinimumHeight(window()->layout()->minimumHeightForWidth(window()->minimumWidth()));
}

void MBWCrashReportController::send(QObject *)
{
    window();
    storeLastReportDate();
    NSUserDefaults::standardUserDefaults()->setString(email(), lastUsedEmailKey);
    m_ui->progress->setRange(0, 0); // A range of nothing is what makes the bar move.
    m_ui->progress->show();
    sendReport();
}

void MBWCrashReportController::sendReport()
{
    window();
    m_ui->sendButton->setEnabled(false);
    MBWCrashReporter().sendCrashReport(
        m_crashLogPreviewItem ? m_crashLogPreviewItem->crashLog() : QString(), email(), description(),
        endpoint(), [self = QPointer(this), presentation = m_presentation](const std::optional<NSError> &) {
            if (self && self->m_presentation == presentation)
                self->closeAfterSending();
            else if (self)
                self->m_ui->progress->setRange(0, 1); // The next report is shown by now, and stays.
        });
}

void MBWCrashReportController::closeAfterSending()
{
    window();
    m_ui->sendButton->setEnabled(false);
    m_ui->progress->setRange(0, 1);
    window()->hide();
    // Only our own: where the user cancelled, an upload that ends late must not stop another window's
    // session.
    if (NSApplication *const application = NSApplication::sharedApplication(); application && isRunAsModal)
        application->stopModalForWindow(window(), sentCode);
}

void MBWCrashReportController::cancel(QObject *)
{
    storeLastReportDate();
    window();
    m_ui->sendButton->setEnabled(false);
    if (m_crashReporter)
        m_crashReporter->cancel();
    window()->hide();
    if (NSApplication *const application = NSApplication::sharedApplication())
        application->stopModalWithCode(cancelledCode);

    NSUserDefaults *const defaults = NSUserDefaults::standardUserDefaults();
    const qint64 unreported = defaults->integerForKey(MBWCrashReporterNumberOfUnreportedCrashesKey);
    defaults->setInteger(unreported + 1, MBWCrashReporterNumberOfUnreportedCrashesKey);
}

bool MBWCrashReportController::textViewDoCommandBySelector(QPlainTextEdit *, const QByteArray &selector)
{
    if (selector != "insertTab:")
        return false;
    window();
    m_ui->emailField->setFocus(Qt::TabFocusReason);
    return true;
}

bool MBWCrashReportController::controlTextViewDoCommandBySelector(QLineEdit *, QLineEdit *,
                                                                  const QByteArray &selector)
{
    if (selector != "insertTab:")
        return false;
    window();
    m_ui->descriptionText->setFocus(Qt::TabFocusReason);
    return true;
}

namespace {

/*! The name of the editing command that a key stands for; only the one that matters here is told apart. */
QByteArray editingCommand(const QEvent *event)
{
    const auto *const key = static_cast<const QKeyEvent *>(event);
    const bool isTab = key->key() == Qt::Key_Tab
                       && (key->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    return isTab ? "insertTab:" : QByteArray();
}

} // namespace

bool MBWCrashReportController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress && watched == m_ui->descriptionText)
        return textViewDoCommandBySelector(m_ui->descriptionText, editingCommand(event));
    if (event->type() == QEvent::KeyPress && watched == m_ui->emailField)
        return controlTextViewDoCommandBySelector(m_ui->emailField, m_ui->emailField, editingCommand(event));
    if (event->type() == QEvent::Close && watched == window() && window()->isVisible())
        cancel();
    if (event->type() == QEvent::LanguageChange && watched == window())
        setUpTexts();
    return NSWindowController::eventFilter(watched, event);
}
