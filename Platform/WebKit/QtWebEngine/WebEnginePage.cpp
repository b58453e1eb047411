#include "Platform/WebKit/QtWebEngine/WebEnginePage.h"

#include "Platform/Foundation/NSURLError.h"
#include "Platform/WebKit/QtWebEngine/ClickedLink.h"
#include "Platform/WebKit/QtWebEngine/NetworkError.h"
#include "Platform/WebKit/WKError.h"

#include <QDateTime>
#include <QWebEngineFileSystemAccessRequest>
#include <QWebEngineHistory>
#include <QWebEngineLoadingInfo>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineProfile>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

bool isOfTheWeb(const QUrl &url) { return url.scheme() == "http"_L1 || url.scheme() == "https"_L1; }

/*! What a page can hold itself, and a frame inside it may show. */
bool isInline(const QUrl &url)
{
    return url.scheme() == "about"_L1 || url.scheme() == "blob"_L1 || url.scheme() == "data"_L1;
}

void secure(QWebEngineSettings *settings)
{
    for (const auto attribute :
         {QWebEngineSettings::PluginsEnabled, QWebEngineSettings::PdfViewerEnabled,
          QWebEngineSettings::LocalContentCanAccessFileUrls, QWebEngineSettings::JavascriptCanOpenWindows,
          QWebEngineSettings::JavascriptCanAccessClipboard, QWebEngineSettings::FullScreenSupportEnabled,
          QWebEngineSettings::ScreenCaptureEnabled, QWebEngineSettings::FocusOnNavigationEnabled,
          QWebEngineSettings::ErrorPageEnabled})
        settings->setAttribute(attribute, false);
    // With any other policy the engine neither asks for links to other schemes nor tells of them.
    settings->setUnknownUrlSchemePolicy(QWebEngineSettings::AllowAllUnknownUrlSchemes);
}

} // namespace

WebEnginePage::WebEnginePage(QWebEngineProfile *profile, WebContentClient *client, QObject *parent)
    : QWebEnginePage(profile, parent)
    , m_client(client)
{
    secure(settings());
    scripts().insert(clickedLinkScript(m_mark));
    connect(this, &QWebEnginePage::loadingChanged, this, &WebEnginePage::end);
    connect(this, &QWebEnginePage::loadProgress, this, [this] {
        if (m_client)
            m_client->didProgress();
    });
    connect(this, &QWebEnginePage::renderProcessTerminated, this, &WebEnginePage::die);
    connect(this, &QWebEnginePage::newWindowRequested, this, &WebEnginePage::askForNewWindow);
    connect(this, &QWebEnginePage::featurePermissionRequested, this,
            [this](const QUrl &origin, Feature feature) {
                setFeaturePermission(origin, feature, PermissionDeniedByUser);
            });
    connect(this, &QWebEnginePage::fileSystemAccessRequested, this,
            [](QWebEngineFileSystemAccessRequest request) { request.reject(); });
}

QDateTime WebEnginePage::lastArrival() const { return history()->currentItem().lastVisited(); }

bool WebEnginePage::hasCommitted() const { return m_url.isValid() && lastArrival() != m_arrivalBefore; }

void WebEnginePage::stop()
{
    m_url.clear();
    triggerAction(Stop);
}

bool WebEnginePage::acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame)
{
    if (!m_client || !m_client->decide(url, publishedType(url, type)))
        return false;
    // What the engine does not load itself, it would hand to the desktop.
    if (!isOfTheWeb(url) && (isMainFrame || !isInline(url))) {
        // It takes the place of what was under way, or was redirected here, and ends without a page.
        if (isMainFrame && m_client && m_url.isValid() && !hasCommitted())
            fail(NSURLErrorUnsupportedURL);
        return false;
    }
    if (isMainFrame)
        begin(url, type);
    return true;
}

WKNavigationType WebEnginePage::publishedType(const QUrl &url, NavigationType type)
{
    switch (type) {
    case NavigationTypeLinkClicked:
        // The engine calls it a click, too, when a script goes to another page.
        return takeClick(url) ? WKNavigationTypeLinkActivated : WKNavigationTypeOther;
    case NavigationTypeFormSubmitted:
        return WKNavigationTypeFormSubmitted;
    case NavigationTypeBackForward:
        return WKNavigationTypeBackForward;
    case NavigationTypeReload:
        return WKNavigationTypeReload;
    default:
        return WKNavigationTypeOther;
    }
}

bool WebEnginePage::takeClick(const QUrl &url)
{
    if (!url.isValid() || url != m_clicked)
        return false;
    m_clicked.clear();
    return true;
}

void WebEnginePage::begin(const QUrl &url, NavigationType type)
{
    if (!m_client) // It let go while it decided.
        return;
    const bool isUnderWay = m_url.isValid();
    if (isUnderWay && type == NavigationTypeRedirect && !hasCommitted()) {
        m_url = url;
        return;
    }
    if (isUnderWay)
        fail(NSURLErrorCancelled);
    m_url = url;
    m_arrivalBefore = lastArrival();
    if (m_client)
        m_client->didStart();
}

void WebEnginePage::end(const QWebEngineLoadingInfo &info)
{
    // Events of what was superseded or refused may still come. A success names the page, which a script may
    // have moved on by a fragment since.
    const bool isSuccess = info.status() == QWebEngineLoadingInfo::LoadSucceededStatus;
    if (!m_client || !m_url.isValid() || info.status() == QWebEngineLoadingInfo::LoadStartedStatus
        || !(isSuccess ? hasCommitted() : info.url() == m_url))
        return;
    // An answer with an error status is a page.
    if (isSuccess || info.errorDomain() == QWebEngineLoadingInfo::HttpStatusCodeDomain) {
        m_url.clear();
        m_client->didFinish();
        return;
    }
    // What is aborted though nobody stopped it has become a download, or there was nothing to show.
    const qint64 code = urlErrorCode(info.errorCode());
    const bool isNoPage = code == NSURLErrorCancelled && !hasCommitted();
    fail(isNoPage ? qint64(WebKitErrorFrameLoadInterruptedByPolicyChange) : code);
}

/*! The client asks for hasCommitted(), so the navigation is over only afterwards. */
void WebEnginePage::fail(qint64 code)
{
    const QUrl failed = m_url;
    m_client->didFail(code, failed);
    if (m_url == failed)
        m_url.clear();
}

void WebEnginePage::die()
{
    stop();
    if (m_client)
        m_client->didDie();
}

/*! A link to a window of its own is followed here, as far as the client wants it. */
void WebEnginePage::askForNewWindow(const QWebEngineNewWindowRequest &request)
{
    const QUrl url = request.requestedUrl();
    const bool isLink = takeClick(url);
    const WKNavigationType type = isLink ? WKNavigationTypeLinkActivated : WKNavigationTypeOther;
    if (m_client && m_client->decide(url, type) && isLink && m_client && isOfTheWeb(url))
        load(url);
}

void WebEnginePage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &message, int,
                                             const QString &)
{
    const std::optional<ClickedLink> link = clickedLink(message, m_mark);
    if (!link || !m_client)
        return;
    if (link->isUnasked)
        m_client->decide(link->url, WKNavigationTypeLinkActivated);
    else
        m_clicked = link->url;
}

} // namespace Marblewick
