#pragma once

#include <Marblewick/MBWFeedbackPanelController.h>

#include <QMainWindow>
#include <QMenu>

#include <memory>

/*! The Help menu, and what the application asks its users by itself. */
class HelpMenu : public QMenu, private MBWFeedbackPanelControllerDelegate
{
    Q_OBJECT

public:
    explicit HelpMenu(QMainWindow *window);

    /*! Offers the news, at the first launch only, and asks for a rating. */
    void askUser();

private:
    void showNews();
    void showFeedback();
    void feedbackPanelControllerDidEndWithResponse(MBWFeedbackPanelController *controller,
                                                   MBWFeedbackPanelResponse response) override;

    QMainWindow *const m_window;
    const std::unique_ptr<MBWFeedbackPanelController> m_feedback = MBWFeedbackPanelController::init();
};
