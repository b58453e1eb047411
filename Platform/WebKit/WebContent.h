#pragma once

#include "Platform/WebKit/WKNavigationAction.h"

class QContextMenuEvent;
class QMenu;
class QString;
class QUrl;
class QWidget;

namespace Marblewick {

/*! What an engine tells the view that shows its content. Main thread. Any call may delete the view, which
   then lets go of the content: see WebContent::release().
*/
class WebContentClient
{
public:
    /*! Whether a page may be visited. */
    virtual bool decide(const QUrl &url, WKNavigationType type) = 0;
    /*! The main frame goes to another page; what it was doing before has ended. */
    virtual void didStart() = 0;
    /*! Something has arrived. */
    virtual void didProgress() = 0;
    virtual void didFinish() = 0;
    /*! The page did not come, or not to its end. The code is of NSURLErrorDomain, or
        WebKitErrorFrameLoadInterruptedByPolicyChange.
    */
    virtual void didFail(qint64 code, const QUrl &url) = 0;
    /*! The process behind the page has ended, and with it what was under way and what is shown. */
    virtual void didDie() = 0;
    /*! A menu is about to be shown. Its items have their tags; see WKWebView::willOpenMenu(). */
    virtual void openMenu(QMenu *menu, QContextMenuEvent *event) = 0;

protected:
    ~WebContentClient() = default;
};

/*! A page in an engine, which a plugin implements. It loads `http` and `https` only, leaves nothing on disk,
    and downloads nothing. Main thread.
*/
class WebContent
{
public:
    /*! The widget that shows it. */
    virtual QWidget *widget() = 0;
    virtual void loadURL(const QUrl &url) = 0;
    /*! Ends what is under way, of which nothing more is told. */
    virtual void stopLoading() = 0;
    /*! Whether something of the page that is under way has arrived. */
    virtual bool hasCommitted() const = 0;
    /*! Lets go of the client, and destroys this as soon as the engine is done with it. */
    virtual void release() = 0;

protected:
    ~WebContent() = default;
};

/*! The one function of the plugin "marblewick-webview": a content, which its client releases; null, with the
    reason, where the engine cannot run.
*/
using MarblewickCreateWebContent = WebContent *(*)(WebContentClient *client, QString *reason);

inline constexpr char marblewickCreateWebContentName[] = "marblewickCreateWebContent";

} // namespace Marblewick
