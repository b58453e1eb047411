#pragma once

#include <Marblewick/Atomic.h>
#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSWindowController.h>
#include <Marblewick/WKNavigationDelegate.h>
#include <Marblewick/WKUIDelegate.h>

#include <memory>

class QProgressBar;
class QStackedWidget;

class MBWSWUpdateInfo;

namespace Ui {
class UpdateNotificationPanel;
}

/*! Key, in the standard user defaults, of the release that the user does not want to hear of again: an
    integer, the record's versionIdentifier.
*/
MARBLEWICK_PANELS_EXPORT extern const QLatin1StringView MBWLastSWUpdateVersionKey;

/*! Tells the user that a newer release exists, and shows its release notes.

    The panel loads the notes (loadingView), shows them (webContainerView) or says why it cannot (errorView).
    Its buttons hide it, with its page; closing the window stops the loading. It appears in front of the
   host's windows without taking the keyboard from what the user is typing, as far as the window system lets
   it: on Wayland the compositor alone decides whether a new window gets the keyboard.

    Main thread only, but for the atomic property mainFrameNavigation.
*/
class MARBLEWICK_PANELS_EXPORT MBWUpdateNotificationPanel :
    public Marblewick::NSWindowController,
    public Marblewick::WKNavigationDelegate,
    public Marblewick::WKUIDelegate
{
    Q_OBJECT
    Q_PROPERTY(QString errorText READ errorText WRITE setErrorText)

public:
    /*! A panel for the whole process, made at the first call and never destroyed. */
    static MBWUpdateNotificationPanel *sharedPanel();

    MBWUpdateNotificationPanel();
    ~MBWUpdateNotificationPanel() override;

    /*! Shows the panel for a release, in the middle of the screen, and loads the release notes; what it
       showed before is gone. Without a QApplication it shows nothing, and says so in the process log.
    */
    void showWindowForUpdateInfo(const std::shared_ptr<MBWSWUpdateInfo> &updateInfo);

    /*! The release being shown; null at first. */
    std::shared_ptr<MBWSWUpdateInfo> updateInfo() const { return m_updateInfo; }
    void setUpdateInfo(const std::shared_ptr<MBWSWUpdateInfo> &updateInfo);

    /*! Why the release notes could not be loaded the last time that they could not; empty at first. */
    QString errorText() const { return m_errorText; }
    void setErrorText(const QString &errorText);

    /*! The visit of the release notes that is under way; null where none is. */
    std::shared_ptr<Marblewick::WKNavigation> mainFrameNavigation() const
    {
        return m_mainFrameNavigation.load();
    }
    void setMainFrameNavigation(const std::shared_ptr<Marblewick::WKNavigation> &navigation)
    {
        m_mainFrameNavigation.store(navigation);
    }

    /*! The parts of the window; null before the window was loaded. Owned by the window. The content box shows
        one of the three views.
    */
    QStackedWidget *contentBox() const;
    QProgressBar *loadingProgress() const;
    QWidget *loadingView() const;
    QWidget *webContainerView() const;
    Marblewick::WKWebView *webView() const;
    QWidget *errorView() const;

    /*! The More Info button: opens the release's page in the store for a host that has the information
        property MWBuildVersion, where there is one, and the product's page otherwise; does not offer the
        release again. No sender is used, here and below.
    */
    void showInfo(QObject *sender = nullptr);
    /*! The Download button: opens the installer's address. A later check offers the release again. */
    void downloadUpdate(QObject *sender = nullptr);
    /*! The Remind Me Later button and Escape: a later check offers the release again. */
    void remindLater(QObject *sender = nullptr);
    /*! The Skip This Version button: does not offer the release again. */
    void skipUpdate(QObject *sender = nullptr);

    /*! The window is being closed by its own control: stops the loading. */
    void windowWillClose();

    void webViewDidStartProvisionalNavigation(
        Marblewick::WKWebView *webView, const std::shared_ptr<Marblewick::WKNavigation> &navigation) override;
    void webViewDidFailProvisionalNavigation(Marblewick::WKWebView *webView,
                                             const std::shared_ptr<Marblewick::WKNavigation> &navigation,
                                             const Marblewick::NSError &error) override;
    void webViewDidFinishNavigation(Marblewick::WKWebView *webView,
                                    const std::shared_ptr<Marblewick::WKNavigation> &navigation) override;
    /*! Shows the error view: without its process the notes are gone. */
    void webViewWebContentProcessDidTerminate(Marblewick::WKWebView *webView) override;
    /*! Forms and what is no click are followed in the panel, and so are links with a fragment (`#…`), to
        whichever page. Any other link opens in the user's browser, hides the panel, and counts as skipping
       the release. Reloading and going back are not done.
    */
    void webViewDecidePolicyForNavigationAction(Marblewick::WKWebView *webView,
                                                const Marblewick::WKNavigationAction &action,
                                                const DecisionHandler &decisionHandler) override;

    /*! Shows the error, unless it is that of a load that was cancelled (-999). */
    void handleWebViewError(const Marblewick::NSError &error);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    QWidget *loadWindow() override;
    void windowDidLoad() override;

private:
    void setUpTexts();
    void setUpReleaseTexts();
    void center();
    void loadReleaseNotes();
    void showError(const QString &text);
    void skipRelease() const;
    void hide();

    std::unique_ptr<Ui::UpdateNotificationPanel> m_ui;
    std::shared_ptr<MBWSWUpdateInfo> m_updateInfo;
    QString m_errorText;
    Marblewick::Atomic<std::shared_ptr<Marblewick::WKNavigation>> m_mainFrameNavigation;
};
