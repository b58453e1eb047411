#pragma once

#include <Marblewick/NSURLRequest.h>

namespace Marblewick {

/*! What leads to another page. */
enum WKNavigationType : qint64 {
    WKNavigationTypeLinkActivated = 0, ///< the user followed a link
    WKNavigationTypeFormSubmitted = 1,
    WKNavigationTypeBackForward = 2,
    WKNavigationTypeReload = 3,
    WKNavigationTypeFormResubmitted = 4, ///< never met here: sending a form again is a reload or going back
    WKNavigationTypeOther = -1, ///< the application's own load, a redirect, a script
};

enum WKNavigationActionPolicy : qint64 {
    WKNavigationActionPolicyCancel = 0,
    WKNavigationActionPolicyAllow = 1,
};

/*! A page that is about to be visited, and why. */
class WKNavigationAction
{
public:
    WKNavigationAction(WKNavigationType navigationType, const NSURLRequest &request)
        : m_navigationType(navigationType)
        , m_request(request)
    { }

    WKNavigationType navigationType() const { return m_navigationType; }
    /*! Of the request only the URL is known. */
    NSURLRequest request() const { return m_request; }

private:
    WKNavigationType m_navigationType;
    NSURLRequest m_request;
};

} // namespace Marblewick
