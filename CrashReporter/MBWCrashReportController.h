#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSWindowController.h>

#include <memory>
#include <optional>

class QGroupBox;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;

class MBWCrashLogPreviewItem;
class MBWCrashReporter;

namespace Marblewick {
class QLPreviewView;
}

namespace Ui {
class CrashReport;
}

/*! Shows the user the report of a crash, and sends it to the host's maker if the user agrees.

    A host sets the address that receives reports and checks, once at each launch, after it has made and named
   its QApplication:

        MBWCrashReportController::setCrashReportURL(u"https://example.com/crash"_s);
        MBWCrashReportController::checkForCrash();

    The first check ever for a user only stores the date, so that crashes from before the host used the
    framework are not reported. From then on a crash log that is newer than the stored date is shown; Send and
    Cancel store the new date. Main thread only.
*/
class MARBLEWICK_PANELS_EXPORT MBWCrashReportController : public Marblewick::NSWindowController
{
    Q_OBJECT
    Q_PROPERTY(QString applicationName READ applicationName)
    Q_PROPERTY(QString email READ email)
    Q_PROPERTY(QString description READ description)

public:
    /*! The controller that the checks use, made at the first call and never destroyed. */
    static MBWCrashReportController *sharedReporter();

    /*! Sets the address, http or https, to which all later reports are posted. Without one, or with a text
       that is no URL, sending fails (which the user is not shown, but the process log is).
    */
    static void setCrashReportURL(const QString &url);

    /*! Whether reportCrash() blocks until the panel is closed (true, the default) or returns at once. */
    static bool runAsModal();
    static void setRunAsModal(bool runAsModal);

    /*! checkForCrashAndReport(true). */
    static bool checkForCrash();

    /*! Looks for new crash logs and, where `report` is true and there are any, passes them to reportCrash().
        Returns whether a panel was shown; false does not mean that there was no crash.
    */
    static bool checkForCrashAndReport(bool report);

    /*! Shows the panel for a report and returns true. Where no date of a last report has been stored yet,
       stores the current one instead and returns false. So it does, without storing anything, where there is
       no QApplication to show a window; the process log says so.
    */
    static bool reportCrash(const QString &report);

    MBWCrashReportController();
    ~MBWCrashReportController() override;

    /*! The parts of the window; null before the window was loaded. Owned by the window. */
    QPlainTextEdit *descriptionText() const;
    QLineEdit *emailField() const;
    QGroupBox *quickLookBox() const;
    QProgressBar *progress() const;
    QPushButton *sendButton() const;
    Marblewick::QLPreviewView *quickLookPreview() const { return m_quickLookPreview; }

    /*! The reporter that cancel() cancels. The panel itself never sets one. */
    std::shared_ptr<MBWCrashReporter> crashReporter() const { return m_crashReporter; }
    void setCrashReporter(std::shared_ptr<MBWCrashReporter> reporter)
    {
        m_crashReporter = std::move(reporter);
    }

    /*! The report being shown; the preview follows it. */
    std::shared_ptr<MBWCrashLogPreviewItem> crashLogPreviewItem() const { return m_crashLogPreviewItem; }
    void setCrashLogPreviewItem(std::shared_ptr<MBWCrashLogPreviewItem> item);

    /*! The application name (see MBWApplicationName()), empty without one. */
    QString applicationName() const;
    /*! The text of the e-mail field; empty, never nil. */
    QString email() const;
    /*! The text of the description. */
    QString description() const;

    /*! Loads the window if need be and shows the report in its preview. */
    void setCrashReportLog(const QString &report);

    /*! The Send button: stores the date and the e-mail address, shows the spinner, sends. The sender is not
     * used. */
    void send(QObject *sender = nullptr);
    /*! The Cancel button, Escape and the window's own close control: stores the date, closes the panel with
       code 0 and counts the unreported crash. An upload that is under way goes on. The sender is not used.

        QCoreApplication::quit() is no cancel: it hides the panel, whose report is shown again at the next
       launch.
    */
    void cancel(QObject *sender = nullptr);

    /*! Posts the report that is shown; closeAfterSending() follows whether or not that succeeds. */
    void sendReport();
    /*! Closes the panel, and ends its modal session with code 1 where it is run as modal. */
    void closeAfterSending();

    /*! Whether the controller handled an editing command itself: the Tab key ("insertTab:") moves between the
       description and the e-mail field; every other command is left to the field.
    */
    bool textViewDoCommandBySelector(QPlainTextEdit *textView, const QByteArray &selector);
    bool controlTextViewDoCommandBySelector(QLineEdit *control, QLineEdit *textView,
                                            const QByteArray &selector);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    QWidget *loadWindow() override;
    void windowDidLoad() override;

private:
    void setUpTexts();

    std::unique_ptr<Ui::CrashReport> m_ui;
    Marblewick::QLPreviewView *m_quickLookPreview = nullptr;
    std::shared_ptr<MBWCrashReporter> m_crashReporter;
    std::shared_ptr<MBWCrashLogPreviewItem> m_crashLogPreviewItem;
    /*! Counts the reports shown, so that the end of an earlier one's upload does not close the present one.
     */
    int m_presentation = 0;
};
