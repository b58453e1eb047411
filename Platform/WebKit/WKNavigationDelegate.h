#pragma once

#include <Marblewick/NSError.h>
#include <Marblewick/WKNavigationAction.h>

#include <functional>
#include <memory>

namespace Marblewick {

class WKNavigation;
class WKWebView;

/*! Follows and decides what a web view shows. The view does not own it. Main thread; it may be called inside
    the view's loadRequest() and stopLoading(), and may delete the view.

    A navigation starts, and then finishes or fails once, provisionally as long as nothing of its page has
    arrived. An answer with an error status (404) is a page like any other.
*/
class WKNavigationDelegate
{
public:
    using DecisionHandler = std::function<void(WKNavigationActionPolicy)>;

    virtual ~WKNavigationDelegate() = default;

    /*! Whether a page may be visited, in the view's own frame or in one inside it. The handler is called
       before this returns; otherwise the page is not visited. By default it is.
    */
    virtual void webViewDecidePolicyForNavigationAction(WKWebView *, const WKNavigationAction &,
                                                        const DecisionHandler &decisionHandler)
    {
        decisionHandler(WKNavigationActionPolicyAllow);
    }

    virtual void webViewDidStartProvisionalNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &) { }

    /*! No page came. The error is NSURLErrorCancelled of NSURLErrorDomain where the navigation was stopped,
       or another one began before.
    */
    virtual void webViewDidFailProvisionalNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &,
                                                     const NSError &)
    { }

    /*! The page began to arrive and did not come to its end. */
    virtual void webViewDidFailNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &, const NSError &)
    { }

    virtual void webViewDidFinishNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &) { }

    /*! The process behind the page has ended: nothing is shown until something is loaded, and nothing more is
        told of what was under way.
    */
    virtual void webViewWebContentProcessDidTerminate(WKWebView *) { }
};

} // namespace Marblewick
