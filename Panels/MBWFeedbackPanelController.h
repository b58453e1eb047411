#pragma once

#include <Marblewick/Atomic.h>
#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSVisualEffectView.h>
#include <Marblewick/NSWindowController.h>

#include <QLabel>
#include <QPropertyAnimation>

#include <memory>
#include <optional>

class QPushButton;

class MBWFeedbackPanel;
class MBWFeedbackPanelController;

namespace Ui {
class FeedbackPanel;
}

/*! What the user answered. */
enum MBWFeedbackPanelResponse : qint64 {
    MBWFeedbackPanelResponseRateApp = 0,
    MBWFeedbackPanelResponseRateLater = 1,
    MBWFeedbackPanelResponseDeclineRateApp = 2,
    MBWFeedbackPanelResponseGetSupport = 3,
};

/*! Receives the answer; what it leads to (a store page, another question next month) is the host's business.
 */
class MARBLEWICK_PANELS_EXPORT MBWFeedbackPanelControllerDelegate
{
public:
    virtual ~MBWFeedbackPanelControllerDelegate();

    /*! Called once for each showing, when the panel is off the screen. May destroy the controller, or show
       the panel again.
    */
    virtual void feedbackPanelControllerDidEndWithResponse(MBWFeedbackPanelController *controller,
                                                           MBWFeedbackPanelResponse response) = 0;
};

/*! Asks the user to rate the application, in a small panel that floats above its windows.

    A host keeps the controller, and is its delegate:

        m_feedback = MBWFeedbackPanelController::init();
        m_feedback->setDelegate(this);
        m_feedback->showWindowForApplicationName(u"Cartographer"_s);

    Escape and the window manager's own ways to close a window answer "later". Quitting the application is no
    answer. Main thread only, but for what says otherwise.
*/
class MARBLEWICK_PANELS_EXPORT MBWFeedbackPanelController : public Marblewick::NSWindowController
{
    Q_OBJECT

public:
    /*! A controller with its window loaded; null where there is no QApplication, without which there are no
       windows.
    */
    static std::unique_ptr<MBWFeedbackPanelController> init();
    ~MBWFeedbackPanelController() override;

    /*! The parts of the window, owned by it: the heading, the line that names the application, and the
       background. Null where a part was destroyed; what would be done to it is then not done.
    */
    QLabel *ratingText() const { return m_ratingText; }
    QLabel *infoText() const { return m_infoText; }
    Marblewick::NSVisualEffectView *visualEffectView() const { return m_visualEffectView; }

    /*! The application's name in the text; nil at first. Any thread. */
    std::optional<QString> applicatioName() const { return m_applicatioName.load(); }
    void setApplicatioName(const std::optional<QString> &name) { m_applicatioName.store(name); }

    /*! Who receives the answer, or null. Not owned: it has to outlive the controller or be taken back.
        Any thread.
     */
    MBWFeedbackPanelControllerDelegate *delegate() const { return m_delegate.load(); }
    void setDelegate(MBWFeedbackPanelControllerDelegate *delegate) { m_delegate.store(delegate); }

    /*! Asks about an application. Where the panel is on the screen already, it is closed instead, with the
       answer "later", and the name is not used.
    */
    void showWindowForApplicationName(const QString &applicationName);

    /*! Shows the panel, which fades in within a quarter of a second. The first time it is put in the middle
       of the host's active window; where none is active, of its modal one, else of the first that is shown.
       The sender is not used.
    */
    void showWindow(QObject *sender = nullptr) override;

    /*! Hides the panel, tells the delegate, and makes the panel transparent for the next showing. */
    void closeWindowWithResponse(MBWFeedbackPanelResponse response);

    /*! The four buttons. The sender is not used. */
    void rateApp(QObject *sender = nullptr);
    void rateLater(QObject *sender = nullptr);
    void declineRateApp(QObject *sender = nullptr);
    void getSupport(QObject *sender = nullptr);

    /*! Puts the application's name, "(null)" for nil, into the text, which is that of the strings table
       "Localizable".
    */
    void updateInfoText();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    QWidget *loadWindow() override;
    void windowDidLoad() override;

private:
    using Action = void (MBWFeedbackPanelController::*)(QObject *);

    MBWFeedbackPanelController();

    void connectButton(QPushButton *button, Action action);
    void alignTexts();
    void roundCorners();
    void fitToTexts();
    void placeOverActiveWindow();

    std::unique_ptr<Ui::FeedbackPanel> m_ui;
    MBWFeedbackPanel *m_panel = nullptr;
    QPointer<QLabel> m_ratingText;
    QPointer<QLabel> m_infoText;
    QPointer<Marblewick::NSVisualEffectView> m_visualEffectView;
    Marblewick::Atomic<std::optional<QString>> m_applicatioName;
    Marblewick::Atomic<MBWFeedbackPanelControllerDelegate *> m_delegate{nullptr};
    QPropertyAnimation m_fade;
    bool m_wasPlaced = false;
};
