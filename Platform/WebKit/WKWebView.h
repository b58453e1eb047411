#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSURLRequest.h>

#include <QWidget>

#include <memory>

class QContextMenuEvent;
class QMenu;

namespace Marblewick {

class WKNavigation;
class WKNavigationDelegate;
class WKUIDelegate;

/*! Shows a page of the web.

    The engine comes in a plugin, which the first loadRequest() of the process loads: a host that shows no
   page pays nothing. Nothing of a page stays on disk, and it reaches no file of the machine: only `http` and
    `https` are loaded. A page downloads nothing, opens no window and no dialog, and is granted nothing that
    needs permission. A link that would open a window is treated as an ordinary one.

    A page sees the palette as it was when the plugin was loaded: `prefers-color-scheme` is dark for a dark
   one. Main thread only.
*/
class MARBLEWICK_PANELS_EXPORT WKWebView : public QWidget
{
    Q_OBJECT

public:
    explicit WKWebView(QWidget *parent = nullptr);
    ~WKWebView() override;

    /*! Who follows and decides what is shown; null at first. Not owned: it is to be unset before it goes. */
    WKNavigationDelegate *navigationDelegate() const;
    void setNavigationDelegate(WKNavigationDelegate *delegate);

    /*! Null at first. Not owned. */
    WKUIDelegate *UIDelegate() const { return m_UIDelegate; }
    void setUIDelegate(WKUIDelegate *delegate) { m_UIDelegate = delegate; }

    /*! Visits a page in place of the one that is shown, and stops what is under way before. Of the request
       the URL and the time-out count: when nothing has arrived for so long, a page that has not begun fails,
       and one that has is finished with what came.

        It fails with NSURLErrorUnsupportedURL where the URL is not of the web, with
        WebKitErrorCannotLoadPlugIn without the plugin or where its engine cannot run, and with
       WebKitErrorFrameLoadInterruptedByPolicyChange where what comes is no page.
    */
    std::shared_ptr<WKNavigation> loadRequest(const NSURLRequest &request);

    /*! Stops what is under way, which fails with NSURLErrorCancelled. The sender is not used. */
    void stopLoading(QObject *sender = nullptr);

protected:
    /*! A menu is about to be shown, of which a subclass may hide items; without visible ones it is not shown.
        The items that are known elsewhere, too, have tags (see NSMenuItem.h): 1 open a link in a new window,
        2 download it, 3 copy it, 5 download an image, 6 copy it, 8 copy, 9 back, 10 forward, 11 stop,
        12 reload, 13 cut, 14 paste.
    */
    virtual void willOpenMenu(QMenu *menu, QContextMenuEvent *event);

private:
    class Loader;

    const std::unique_ptr<Loader> m_loader;
    WKUIDelegate *m_UIDelegate = nullptr;
};

} // namespace Marblewick
