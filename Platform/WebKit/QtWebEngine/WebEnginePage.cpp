#include "Platform/WebKit/QtWebEngine/WebEnginePage.h"

#include "Platform/Foundation/NSURLError.h"
#include "Platform/WebKit/QtWebEngine/NetworkError.h"
#include "Platform/WebKit/WKError.h"

#include <QDateTime>
#include <QWebEngineFileSystemAccessRequest>
#include <QWebEngineHistory>
#include <QWebEngineLoadingInfo>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineProfile>
#include <QWebEngineSettings>

#include <chrono>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! For how long what a page does counts as the user's doing, as the HTML standard advises. */
constexpr std::chrono::seconds userActivation{5};

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
    connect(this, &QWebEnginePage::loadingChanged, this, &WebEnginePage::end);
    connect(this, &QWebEnginePage::loadProgress, this, [this] {
        if (m_client)
            m_client->didProgress();
    });
    connect(this, &QWebEnginePage::urlChanged, this, &WebEnginePage::jumpWithinPage);
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
    if (!m_client || !m_client->decide(url, publishedType(type)))
        return false;
    // What the engine does not load itself, it would hand to the desktop.
    if (!isOfTheWeb(url) && (isMainFrame || !isInline(url)))
        return false;
    if (isMainFrame)
        begin(url, type);
    return true;
}

WKNavigationType WebEnginePage::publishedType(NavigationType type) const
{
    switch (type) {
    case NavigationTypeLinkClicked:
        // The engine calls it a click, too, when a script goes to another page.
        return isByUser() ? WKNavigationTypeLinkActivated : WKNavigationTypeOther;
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

bool WebEnginePage::isByUser() const
{
    return m_sinceUserInput.isValid()
           && m_sinceUserInput.elapsed() < std::chrono::milliseconds(userActivation).count();
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
    const bool isLink = request.isUserInitiated();
    const WKNavigationType type = isLink ? WKNavigationTypeLinkActivated : WKNavigationTypeOther;
    if (m_client && m_client->decide(url, type) && isLink && m_client && isOfTheWeb(url))
        load(url);
}

/*! The engine goes to another place of the same page without asking, so it is asked when it is there. */
void WebEnginePage::jumpWithinPage(const QUrl &url)
{
    if (m_client && url.hasFragment() && isByUser())
        m_client->decide(url, WKNavigationTypeLinkActivated);
}

} // namespace Marblewick
