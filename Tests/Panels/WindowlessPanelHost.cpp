#include <Marblewick/MBWAboutPanel.h>
#include <Marblewick/MBWFeedbackPanelController.h>
#include <Marblewick/MBWNewsPanelController.h>

#include <QCoreApplication>

#include <cstdio>

/*! A host without windows: prints whether it has a feedback panel, and whether the news prompt was shown. */
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    std::puts(MBWFeedbackPanelController::init() ? "panel" : "no panel");
    MBWNewsPanelController *const news = MBWNewsPanelController::sharedPanel();
    std::puts(news->showSubscribePanelIfFirstRunForProductCode(std::nullopt) ? "shown" : "not shown");
    news->showSubscribePanel();
    MBWAboutPanel::sharedAboutPanel()->showWindow();
    return 0;
}
