#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QString>

#include <optional>

/*! Asks the user, once, whether to subscribe to the maker's news, and opens the page for that.

    A host calls it at its first launch, and from a menu command if it likes:

        MBWNewsPanelController::sharedPanel()->showSubscribePanelIfFirstRun();

    The page is a constant of the build: CMake's cache variable MARBLEWICK_NEWS_SUBSCRIPTION_PAGE. Its texts
   are in the strings table "Localizable". Where the host has no QApplication to show a window, nothing is
   shown or stored; the process log says so. Main thread only.
*/
class MARBLEWICK_PANELS_EXPORT MBWNewsPanelController
{
public:
    /*! The one instance, made at the first call and never destroyed. */
    static MBWNewsPanelController *sharedPanel();

    /*! The same without a product code. */
    void showSubscribePanelIfFirstRun() { showSubscribePanelIfFirstRunForProductCode(std::nullopt); }
    void showSubscribePanel() { showSubscribePanelForProductCode(std::nullopt); }

    /*! Shows the question where this user has not answered it yet, and returns true once it is closed;
       otherwise shows nothing and returns false.
    */
    bool showSubscribePanelIfFirstRunForProductCode(const std::optional<QString> &productCode);

    /*! Shows the question and returns once it is closed. Subscribe opens the page, to which a product code
       that is neither nil nor empty is added as it is: "?product=X1". Nothing is opened where that makes no
       URL.

        Either answer is noted in the user defaults, as MBWSubscribeToNewsPanelRun; quitting the application
       is none.
    */
    void showSubscribePanelForProductCode(const std::optional<QString> &productCode);

private:
    MBWNewsPanelController() = default;
};
