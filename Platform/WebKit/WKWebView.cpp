#include "Platform/WebKit/WKWebView.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSURLError.h"
#include "Platform/Foundation/Plugin.h"
#include "Platform/WebKit/SharedOpenGLContext.h"
#include "Platform/WebKit/WKError.h"
#include "Platform/WebKit/WKNavigation.h"
#include "Platform/WebKit/WKNavigationDelegate.h"
#include "Platform/WebKit/WebContent.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QPointer>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

bool isOfTheWeb(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
           && (url.scheme() == "http"_L1 || url.scheme() == "https"_L1);
}

NSError webKitError(qint64 code, const QString &sentence)
{
    return NSError(WebKitErrorDomain, code,
                   {{NSLocalizedDescriptionKey, NSBundle::mainBundle()->localizedStringForKey(sentence)}});
}

NSError errorWithCode(qint64 code, const QUrl &url)
{
    if (code == WebKitErrorFrameLoadInterruptedByPolicyChange)
        return webKitError(code, u"What the server sent is not a web page."_s);
    return errorWithURLErrorCode(code, url);
}

WebContent *createContent(WebContentClient *client)
{
    shareOpenGLContexts();
    QString reason;
    const auto create = reinterpret_cast<MarblewickCreateWebContent>(
        resolveInPlugin("marblewick-webview", marblewickCreateWebContentName, &reason));
    WebContent *const content = create ? create(client, &reason) : nullptr;
    if (!content)
        NSLog(u"%@", {reason});
    return content;
}

bool showsNothing(const QMenu *menu)
{
    return std::ranges::none_of(
        menu->actions(), [](const QAction *item) { return item->isVisible() && !item->isSeparator(); });
}

} // namespace

/*! Turns what the engine tells into navigations, of which it keeps the one that is under way. */
class WKWebView::Loader final : public WebContentClient
{
public:
    explicit Loader(WKWebView *view);
    ~Loader();

    std::shared_ptr<WKNavigation> load(const NSURLRequest &request);
    void stop();

    bool decide(const QUrl &url, WKNavigationType type) override;
    void didStart() override;
    void didProgress() override;
    void didFinish() override;
    void didFail(qint64 code, const QUrl &url) override;
    void didDie() override;
    void openMenu(QMenu *menu, QContextMenuEvent *event) override;

    WKNavigationDelegate *delegate = nullptr;

private:
    bool hasContent() const { return !m_widget.isNull(); }
    bool makeContent();
    void refuse(const std::shared_ptr<WKNavigation> &navigation, const NSError &error);
    void fail(const NSError &error, bool hasBegun);
    void didStall();
    /*! Ends the navigation that is under way. */
    std::shared_ptr<WKNavigation> taken();

    WKWebView *const m_view;
    WebContent *m_content =
        nullptr; ///< there as long as its widget is: the engine ends before the application
    QPointer<QWidget> m_widget;
    std::shared_ptr<WKNavigation> m_requested; ///< asked for, and not started yet
    std::shared_ptr<WKNavigation> m_navigation; ///< under way
    QUrl m_url; ///< of what was asked for last
    QTimer m_idle;
};

WKWebView::Loader::Loader(WKWebView *view)
    : m_view(view)
{
    m_idle.setSingleShot(true);
    QObject::connect(&m_idle, &QTimer::timeout, view, [this] { didStall(); });
}

WKWebView::Loader::~Loader()
{
    if (hasContent())
        m_content->release();
}

bool WKWebView::Loader::makeContent()
{
    if (hasContent())
        return true;
    m_content = createContent(this);
    if (!m_content)
        return false;
    m_widget = m_content->widget();
    m_widget->setAccessibleName(m_view->accessibleName());
    m_view->layout()->addWidget(m_widget);
    m_view->setFocusProxy(m_widget);
    return true;
}

std::shared_ptr<WKNavigation> WKWebView::Loader::load(const NSURLRequest &request)
{
    const auto navigation = std::make_shared<WKNavigation>();
    const QPointer<WKWebView> view(m_view);
    stop();
    if (!view)
        return navigation;
    m_url = request.url();
    if (!isOfTheWeb(m_url)) {
        refuse(navigation, errorWithURLErrorCode(NSURLErrorUnsupportedURL, m_url));
    } else if (!makeContent()) {
        refuse(navigation,
               webKitError(WebKitErrorCannotLoadPlugIn,
                           u"The part of the application that shows web pages is missing or cannot run."_s));
    } else {
        m_idle.setInterval(std::chrono::milliseconds(qRound64(request.timeoutInterval() * 1000)));
        m_requested = navigation;
        m_idle.start();
        m_content->loadURL(m_url);
    }
    return navigation;
}

void WKWebView::Loader::refuse(const std::shared_ptr<WKNavigation> &navigation, const NSError &error)
{
    m_navigation = navigation;
    const auto report = [this, navigation, error] {
        if (m_navigation == navigation)
            fail(error, false);
    };
    QMetaObject::invokeMethod(m_view, report, Qt::QueuedConnection);
}

void WKWebView::Loader::stop()
{
    m_requested.reset();
    m_idle.stop();
    const bool hasBegun = hasContent() && m_content->hasCommitted();
    if (hasContent())
        m_content->stopLoading();
    if (m_navigation)
        fail(errorWithURLErrorCode(NSURLErrorCancelled, m_url), hasBegun);
}

std::shared_ptr<WKNavigation> WKWebView::Loader::taken()
{
    m_idle.stop();
    return std::exchange(m_navigation, nullptr);
}

bool WKWebView::Loader::decide(const QUrl &url, WKNavigationType type)
{
    if (!delegate)
        return true;
    const auto policy = std::make_shared<WKNavigationActionPolicy>(WKNavigationActionPolicyCancel);
    delegate->webViewDecidePolicyForNavigationAction(
        m_view, WKNavigationAction(type, NSURLRequest(url)),
        [policy](WKNavigationActionPolicy decision) { *policy = decision; });
    return *policy == WKNavigationActionPolicyAllow;
}

void WKWebView::Loader::didStart()
{
    m_navigation = m_requested ? std::exchange(m_requested, nullptr) : std::make_shared<WKNavigation>();
    m_idle.start();
    if (delegate)
        delegate->webViewDidStartProvisionalNavigation(m_view, std::shared_ptr(m_navigation));
}

void WKWebView::Loader::didProgress()
{
    if (m_idle.isActive())
        m_idle.start();
}

void WKWebView::Loader::didFinish()
{
    const auto navigation = taken();
    if (navigation && delegate)
        delegate->webViewDidFinishNavigation(m_view, navigation);
}

void WKWebView::Loader::didFail(qint64 code, const QUrl &url)
{
    fail(errorWithCode(code, url), m_content->hasCommitted());
}

void WKWebView::Loader::didDie()
{
    m_requested.reset();
    taken();
    if (delegate)
        delegate->webViewWebContentProcessDidTerminate(m_view);
}

void WKWebView::Loader::fail(const NSError &error, bool hasBegun)
{
    const auto navigation = taken();
    if (!navigation || !delegate)
        return;
    if (hasBegun)
        delegate->webViewDidFailNavigation(m_view, navigation, error);
    else
        delegate->webViewDidFailProvisionalNavigation(m_view, navigation, error);
}

void WKWebView::Loader::didStall()
{
    const bool hasBegun = m_content->hasCommitted();
    m_content->stopLoading();
    if (m_requested)
        m_navigation = std::exchange(m_requested, nullptr);
    if (hasBegun)
        didFinish();
    else
        fail(errorWithURLErrorCode(NSURLErrorTimedOut, m_url), false);
}

void WKWebView::Loader::openMenu(QMenu *menu, QContextMenuEvent *event)
{
    menu->setAttribute(Qt::WA_DeleteOnClose);
    m_view->willOpenMenu(menu, event);
    if (showsNothing(menu))
        menu->deleteLater();
    else
        menu->popup(event->globalPos());
}

WKWebView::WKWebView(QWidget *parent)
    : QWidget(parent)
    , m_loader(std::make_unique<Loader>(this))
{
    auto *const filling = new QVBoxLayout(this);
    filling->setContentsMargins({});
}

WKWebView::~WKWebView() = default;

WKNavigationDelegate *WKWebView::navigationDelegate() const { return m_loader->delegate; }

void WKWebView::setNavigationDelegate(WKNavigationDelegate *delegate) { m_loader->delegate = delegate; }

std::shared_ptr<WKNavigation> WKWebView::loadRequest(const NSURLRequest &request)
{
    return m_loader->load(request);
}

void WKWebView::stopLoading(QObject *) { m_loader->stop(); }

void WKWebView::willOpenMenu(QMenu *, QContextMenuEvent *) { }

} // namespace Marblewick
