#include "Tests/Support/RawServer.h"
#include "Tests/Support/SelfSignedCertificate.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/WebPages.h"

#include <Marblewick/NSMenuItem.h>
#include <Marblewick/NSURLError.h>
#include <Marblewick/WKError.h>
#include <Marblewick/WKNavigation.h>
#include <Marblewick/WKNavigationDelegate.h>
#include <Marblewick/WKWebView.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QContextMenuEvent>
#include <QMenu>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! A view that notes the tags of the menus it is about to open, and opens none. */
class TagsView : public WKWebView
{
public:
    QList<int> tags;
    bool hasOpened = false;

protected:
    void willOpenMenu(QMenu *menu, QContextMenuEvent *event) override
    {
        WKWebView::willOpenMenu(menu, event);
        for (QAction *const item : menu->actions()) {
            tags.append(NSMenuItem::tag(item));
            item->setVisible(false);
        }
        hasOpened = true;
    }
};

/*! Notes what a view tells: "started", "finished", "failed before" or "failed after" with the code. */
class WebViewTest : public ::testing::Test, public WKNavigationDelegate
{
protected:
    WebViewTest()
    {
        view->setNavigationDelegate(this);
        view->resize(400, 300);
        view->show();
    }
    ~WebViewTest() override { delete view; }

    void webViewDidStartProvisionalNavigation(WKWebView *,
                                              const std::shared_ptr<WKNavigation> &navigation) override
    {
        note(u"started"_s, navigation);
    }
    void webViewDidFinishNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &navigation) override
    {
        note(u"finished"_s, navigation);
    }
    void webViewDidFailProvisionalNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &navigation,
                                             const NSError &error) override
    {
        note(u"failed before %1"_s.arg(error.code()), navigation);
        EXPECT_FALSE(error.localizedDescription().isEmpty());
        domain = error.domain();
    }
    void webViewDidFailNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &navigation,
                                  const NSError &error) override
    {
        note(u"failed after %1"_s.arg(error.code()), navigation);
    }

    void webViewWebContentProcessDidTerminate(WKWebView *) override { ++deaths; }

    void note(const QString &event, const std::shared_ptr<WKNavigation> &navigation)
    {
        EXPECT_NE(navigation, nullptr);
        navigations.append(navigation);
        events.append(event);
        if (event.startsWith(deletingEvent)) {
            delete view;
            view = nullptr;
        }
    }

    std::shared_ptr<WKNavigation> load(const QUrl &url, double timeout = 60)
    {
        return view->loadRequest(NSURLRequest(url, NSURLRequestUseProtocolCachePolicy, timeout));
    }
    bool hasEnded() const { return !events.isEmpty() && !events.last().startsWith(u"started"); }
    QStringList eventsOf(const QUrl &url, double timeout = 60)
    {
        events.clear();
        load(url, timeout);
        EXPECT_TRUE(WebPages::waitFor([&] { return hasEnded(); }));
        return events;
    }

    const TemporaryHome home;
    WebPages pages;
    TagsView *view = new TagsView;
    QStringList events;
    QList<std::shared_ptr<WKNavigation>> navigations;
    QString domain;
    int deaths = 0; ///< of the process behind the page
    QString deletingEvent = u"none"_s; ///< at which the delegate deletes the view
};

RawServer::Script stallingAfter(const QByteArray &answer)
{
    return [answer](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send(answer);
        connection.stall();
    };
}

const QByteArray beginningOfAPage =
    "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 100000\r\n\r\n"
    + QByteArray("<p>words</p>").repeated(200);

} // namespace

// Navigations

TEST_F(WebViewTest, APageStartsAndFinishesWithTheTokenThatLoadingReturned)
{
    pages.add(u"/a"_s, {u"a"_s});
    const auto token = load(pages.url(u"/a"_s));
    ASSERT_TRUE(WebPages::waitFor([&] { return hasEnded(); }));
    EXPECT_EQ(events, (QStringList{u"started"_s, u"finished"_s}));
    EXPECT_EQ(navigations, (QList{token, token}));

    const auto again = load(pages.url(u"/a"_s));
    EXPECT_NE(again, token);
    ASSERT_TRUE(WebPages::waitFor([&] { return events.size() == 4; }));
    EXPECT_EQ(navigations.last(), again);
}

TEST_F(WebViewTest, TheSamePageWithAnotherFragmentOrTheSameOneIsLoadedOnceMore)
{
    pages.add(u"/a"_s, {u"a"_s});
    for (const QString &fragment : {u"/a#4.2"_s, u"/a#4.3"_s, u"/a#4.3"_s, u"/a"_s, u"/a#4.2"_s}) {
        EXPECT_EQ(eventsOf(pages.url(fragment)), (QStringList{u"started"_s, u"finished"_s}));
        EXPECT_EQ(navigations.last(), navigations.at(navigations.size() - 2));
    }
    EXPECT_EQ(pages.requestCount(u"/a"_s), 5);
}

TEST_F(WebViewTest, APageWithAFragmentIsLoadedAgainAfterALinkWithinIt)
{
    pages.add(u"/a"_s, {u"<a href='#b'>b</a><script>onhashchange = () => fetch('/jumped')</script>"_s});
    EXPECT_EQ(eventsOf(pages.url(u"/a#a"_s)).last(), u"finished"_s);
    ASSERT_TRUE(pages.isDrawn(u"/a"_s));
    WebPages::click(view, 0);
    ASSERT_TRUE(pages.isRequested(u"/jumped"_s));
    EXPECT_EQ(eventsOf(pages.url(u"/a#a"_s)), (QStringList{u"started"_s, u"finished"_s}));
}

TEST_F(WebViewTest, ALoadThatIsSupersededFailsAsCancelledBeforeTheNextStarts)
{
    const RawServer stalled(stallingAfter({}));
    pages.add(u"/a"_s, {u"a"_s});
    const auto first = load(stalled.url());
    ASSERT_TRUE(WebPages::waitFor([&] { return stalled.requests().size() == 1; }));
    const auto second = load(pages.url(u"/a"_s));
    ASSERT_TRUE(WebPages::waitFor([&] { return events.contains(u"finished"_s); }));
    EXPECT_EQ(events, (QStringList{u"started"_s, u"failed before -999"_s, u"started"_s, u"finished"_s}));
    EXPECT_EQ(navigations, (QList{first, first, second, second}));
}

TEST_F(WebViewTest, AScriptThatGoesOnWhileThePageLoadsEndsItAndStartsAnother)
{
    pages.add(u"/b"_s, {u"b"_s});
    pages.add(u"/a"_s, {u"a<script>location = '/b'</script>"_s});
    load(pages.url(u"/a"_s));
    ASSERT_TRUE(WebPages::waitFor([&] { return events.contains(u"finished"_s); }));
    EXPECT_EQ(events, (QStringList{u"started"_s, u"failed after -999"_s, u"started"_s, u"finished"_s}));
    EXPECT_NE(navigations.first(), navigations.last());
}

TEST_F(WebViewTest, StoppingFailsWhatIsUnderWayAsCancelledOnce)
{
    const RawServer stalled(stallingAfter({}));
    load(stalled.url());
    ASSERT_TRUE(WebPages::waitFor([&] { return stalled.requests().size() == 1; }));
    view->stopLoading();
    view->stopLoading();
    EXPECT_EQ(events, (QStringList{u"started"_s, u"failed before -999"_s}));
    QTest::qWait(200); // for what must not come
    EXPECT_EQ(events.size(), 2);
}

TEST_F(WebViewTest, ARefusedAddressThatIsStoppedAtOnceIsCancelled)
{
    load(QUrl(u"file:///etc/passwd"_s));
    EXPECT_TRUE(events.isEmpty());
    view->stopLoading();
    QTest::qWait(0);
    EXPECT_EQ(events, QStringList{u"failed before -999"_s});
}

TEST_F(WebViewTest, APageThatBreaksOffFailsAfterItBegan)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send(beginningOfAPage);
    });
    EXPECT_EQ(eventsOf(server.url()), (QStringList{u"started"_s, u"failed after -1005"_s}));
}

TEST_F(WebViewTest, AnErrorStatusIsAPageWithAndWithoutABody)
{
    pages.add(u"/500"_s, {500, "out of order", {{"Content-Type", "text/plain"}}});
    pages.add(u"/404"_s, {404, {}, {}});
    EXPECT_EQ(eventsOf(pages.url(u"/500"_s)).last(), u"finished"_s);
    EXPECT_EQ(eventsOf(pages.url(u"/404"_s)).last(), u"finished"_s);
}

// Failures

TEST_F(WebViewTest, FailuresHaveTheNumbersOfURLLoading)
{
    QUrl closed;
    {
        const RawServer server([](RawServer::Connection &) {});
        closed = server.url();
    }
    const RawServer silent([](RawServer::Connection &connection) { connection.readRequest(); });
    const RawServer chatty([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send("220 mail.example.com ESMTP\r\n");
    });
    const SelfSignedCertificate certificate;
    const LoopbackServer untrusted(certificate, [](const auto &) { return LoopbackServer::Answer(); });
    pages.add(u"/endless"_s, {302, {}, {{"Location", "/endless"}}});

    const auto failure = [](qint64 code) { return u"failed before %1"_s.arg(code); };
    EXPECT_EQ(eventsOf(closed).last(), failure(-1004));
    EXPECT_EQ(eventsOf(QUrl(u"http://no.such.host.invalid/"_s)).last(), failure(-1003));
    EXPECT_EQ(eventsOf(pages.url(u"/endless"_s)).last(), failure(-1007));
    EXPECT_EQ(eventsOf(silent.url()).last(), failure(-1005));
    EXPECT_EQ(eventsOf(chatty.url()).last(), failure(-1011));
    EXPECT_EQ(eventsOf(untrusted.url()).last(), failure(-1202));
    EXPECT_EQ(eventsOf(QUrl(u"ftp://example.com/"_s)), QStringList{failure(-1002)});
    EXPECT_EQ(domain, NSURLErrorDomain);
}

TEST_F(WebViewTest, WhatIsNoPageFailsAsInterrupted)
{
    pages.add(u"/zip"_s, {200, "PK", {{"Content-Type", "application/zip"}}});
    EXPECT_EQ(eventsOf(pages.url(u"/zip"_s)), (QStringList{u"started"_s, u"failed before 102"_s}));
    EXPECT_EQ(domain, WebKitErrorDomain);
}

TEST_F(WebViewTest, TimesOutWhereNothingComes)
{
    const RawServer stalled(stallingAfter({}));
    EXPECT_EQ(eventsOf(stalled.url(), 0.3), (QStringList{u"started"_s, u"failed before -1001"_s}));
}

TEST_F(WebViewTest, APageThatBeganAndStallsIsFinishedWithWhatCame)
{
    const RawServer stalled(stallingAfter(beginningOfAPage));
    EXPECT_EQ(eventsOf(stalled.url(), 1), (QStringList{u"started"_s, u"finished"_s}));
}

TEST_F(WebViewTest, AProcessThatDiesWhileAPageLoadsOrIsShownIsToldOnceAndThePageCanBeLoadedAgain)
{
    const RawServer stalled(stallingAfter(beginningOfAPage + "<img src='picture'>"));
    pages.add(u"/a"_s, {u"a"_s});
    load(stalled.url());
    ASSERT_TRUE(WebPages::waitFor([&] { return stalled.requests().size() == 2; })); // the picture's, too
    ASSERT_TRUE(WebPages::endRenderers());
    ASSERT_TRUE(WebPages::waitFor([&] { return deaths == 1; }));
    EXPECT_EQ(events, QStringList{u"started"_s});

    EXPECT_EQ(eventsOf(pages.url(u"/a"_s)), (QStringList{u"started"_s, u"finished"_s}));
    ASSERT_TRUE(WebPages::endRenderers());
    ASSERT_TRUE(WebPages::waitFor([&] { return deaths == 2; }));
    EXPECT_EQ(events.size(), 2);
    EXPECT_EQ(eventsOf(pages.url(u"/a"_s)), (QStringList{u"started"_s, u"finished"_s}));
}

TEST_F(WebViewTest, AURLOfAMegabyteIsLoadedOrFails)
{
    const QStringList all = eventsOf(pages.url(u'/' + u"x"_s.repeated(1'000'000)));
    EXPECT_FALSE(all.last().startsWith(u"started"));
}

// The delegate

namespace {

class DecidingDelegate : public WKNavigationDelegate
{
public:
    void webViewDecidePolicyForNavigationAction(WKWebView *view, const WKNavigationAction &action,
                                                const DecisionHandler &decisionHandler) override
    {
        asked.append(action.request().url());
        types.append(action.navigationType());
        if (deletes)
            delete view;
        else if (answers)
            decisionHandler(WKNavigationActionPolicyAllow);
    }

    void webViewDidFailProvisionalNavigation(WKWebView *, const std::shared_ptr<WKNavigation> &,
                                             const NSError &error) override
    {
        failures.append(error.code());
    }

    QList<qint64> failures;
    QList<QUrl> asked;
    QList<WKNavigationType> types;
    bool answers = false;
    bool deletes = false;
};

} // namespace

TEST_F(WebViewTest, WhatTheDelegateDoesNotDecideIsNotVisited)
{
    DecidingDelegate delegate;
    view->setNavigationDelegate(&delegate);
    pages.add(u"/a"_s, {u"a"_s});
    load(pages.url(u"/a"_s));
    ASSERT_TRUE(WebPages::waitFor([&] { return !delegate.asked.isEmpty(); }));
    QTest::qWait(300); // for what must not happen
    EXPECT_EQ(delegate.asked, QList{pages.url(u"/a"_s)});
    EXPECT_EQ(delegate.types, QList{WKNavigationTypeOther});
    EXPECT_EQ(pages.requestCount(u"/a"_s), 0);
}

TEST_F(WebViewTest, ALoadThatNeverStartsTimesOut)
{
    DecidingDelegate delegate;
    view->setNavigationDelegate(&delegate);
    load(pages.url(u"/a"_s), 0.3);
    ASSERT_TRUE(WebPages::waitFor([&] { return !delegate.failures.isEmpty(); }));
    EXPECT_EQ(delegate.failures, QList<qint64>{NSURLErrorTimedOut});
}

TEST_F(WebViewTest, TheDelegateIsAskedForFramesInsideThePageToo)
{
    DecidingDelegate delegate;
    delegate.answers = true;
    view->setNavigationDelegate(&delegate);
    pages.add(u"/inner"_s, {u"<a href='/outside'>outside</a>"_s});
    pages.add(u"/outside"_s, {u"outside"_s});
    pages.add(u"/a"_s, {u"<iframe src='/inner' style='border:0'></iframe>"_s});
    load(pages.url(u"/a"_s));
    ASSERT_TRUE(pages.isDrawn(u"/a"_s) && pages.isDrawn(u"/inner"_s));
    // A frame takes clicks only some time after it was drawn.
    ASSERT_TRUE(WebPages::waitFor([&] {
        WebPages::click(view, 0);
        return delegate.asked.size() == 3;
    }));
    EXPECT_EQ(delegate.asked.last(), pages.url(u"/outside"_s));
    EXPECT_EQ(delegate.types,
              (QList{WKNavigationTypeOther, WKNavigationTypeOther, WKNavigationTypeLinkActivated}));
}

TEST_F(WebViewTest, WithoutADelegateAPageIsShown)
{
    view->setNavigationDelegate(nullptr);
    EXPECT_EQ(view->navigationDelegate(), nullptr);
    pages.add(u"/a"_s, {u"a"_s});
    load(pages.url(u"/a"_s));
    EXPECT_TRUE(pages.isDrawn(u"/a"_s));
}

TEST_F(WebViewTest, TheDelegateMayDeleteTheViewWhenANavigationStartsFinishesOrFails)
{
    pages.add(u"/a"_s, {u"a"_s});
    pages.add(u"/zip"_s, {200, "PK", {{"Content-Type", "application/zip"}}});
    for (const QString &event : {u"started"_s, u"finished"_s, u"failed"_s}) {
        deletingEvent = event;
        load(pages.url(event == u"failed"_s ? u"/zip"_s : u"/a"_s));
        ASSERT_TRUE(WebPages::waitFor([&] { return !view; }));
        QTest::qWait(50); // for the engine to notice
        view = new TagsView;
        view->setNavigationDelegate(this);
        view->show();
    }
}

TEST_F(WebViewTest, TheDelegateMayDeleteTheViewWhenItDecidesOrIsStopped)
{
    DecidingDelegate delegate;
    delegate.deletes = true;
    view->setNavigationDelegate(&delegate);
    load(pages.url(u"/a"_s));
    ASSERT_TRUE(WebPages::waitFor([&] { return delegate.asked.size() == 1; }));
    QTest::qWait(50); // for the engine to notice

    const RawServer stalled(stallingAfter({}));
    view = new TagsView;
    view->setNavigationDelegate(this);
    load(stalled.url());
    ASSERT_TRUE(WebPages::waitFor([&] { return stalled.requests().size() == 1; }));
    deletingEvent = u"failed"_s;
    load(stalled.url());
    EXPECT_EQ(view, nullptr);
    QTest::qWait(50);
}

// Keyboard and menu

TEST_F(WebViewTest, ALinkIsFollowedByTheKeyboardAsByAClick)
{
    DecidingDelegate delegate;
    delegate.answers = true;
    view->setNavigationDelegate(&delegate);
    pages.add(u"/b"_s, {u"b"_s});
    pages.add(u"/a"_s,
              {u"<a href='/b'>b</a><script>addEventListener('focusin', () => fetch('/focused'))</script>"_s});
    load(pages.url(u"/a"_s));
    ASSERT_TRUE(pages.isDrawn(u"/a"_s));
    view->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view));
    WebPages::receiver(view)->setFocus();
    QTest::keyClick(WebPages::receiver(view), Qt::Key_Tab);
    ASSERT_TRUE(pages.isRequested(u"/focused"_s));
    QTest::keyClick(WebPages::receiver(view), Qt::Key_Return);
    ASSERT_TRUE(pages.isDrawn(u"/b"_s));
    EXPECT_EQ(delegate.types.last(), WKNavigationTypeLinkActivated);
}

TEST_F(WebViewTest, TheItemsOfTheMenuHaveTheirTags)
{
    pages.add(u"/a"_s, {u"<a href='/b'>b</a>"_s, u"<p style='margin:0'>Wording</p>"_s});
    load(pages.url(u"/a"_s));
    ASSERT_TRUE(pages.isDrawn(u"/a"_s));
    WebPages::click(view, 0, Qt::RightButton);
    ASSERT_TRUE(WebPages::waitFor([&] { return view->hasOpened; }));
    for (const int tag : {1, 2, 3, 9, 10, 12})
        EXPECT_TRUE(view->tags.contains(tag)) << tag;
    EXPECT_FALSE(view->tags.contains(8));
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);

    view->hasOpened = false;
    view->tags.clear();
    WebPages::click(view, 1, Qt::RightButton);
    ASSERT_TRUE(WebPages::waitFor([&] { return view->hasOpened; }));
    EXPECT_TRUE(view->tags.contains(8));
    EXPECT_FALSE(view->tags.contains(3));
}
