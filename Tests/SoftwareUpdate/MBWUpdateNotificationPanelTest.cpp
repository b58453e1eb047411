#include "Tests/SoftwareUpdate/UpdatePanelTest.h"

#include <Marblewick/NSURLError.h>
#include <Marblewick/WKNavigation.h>

#include <QProgressBar>
#include <QScreen>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

NSError cancelled() { return NSError(NSURLErrorDomain, -999, {{NSLocalizedDescriptionKey, u"stopped"_s}}); }
NSError lost() { return NSError(NSURLErrorDomain, -1005, {{NSLocalizedDescriptionKey, u"It was lost."_s}}); }

/*! No engine is needed: the record has no address, so nothing is loaded. */
class UpdatePanelButtons : public UpdatePanelTest
{
protected:
    UpdatePanelButtons()
    {
        info->setUpdateInfoURL(std::nullopt);
        panel.showWindowForUpdateInfo(info);
    }

    WKNavigationActionPolicy decision(WKNavigationType type, const QUrl &url)
    {
        std::optional<WKNavigationActionPolicy> decided;
        panel.webViewDecidePolicyForNavigationAction(
            panel.webView(), WKNavigationAction(type, NSURLRequest(url)),
            [&](WKNavigationActionPolicy policy) { decided = policy; });
        EXPECT_TRUE(decided.has_value());
        return decided.value_or(WKNavigationActionPolicyCancel);
    }

    const QUrl page{u"https://example.com/page"_s};
    const QUrl pageWithFragment{u"https://example.org/other#part"_s};
};

} // namespace

// The window

TEST_F(UpdatePanelButtons, TheSharedPanelIsMadeOnceFromTheWindowResourceUpdateNotificationPanel)
{
    MBWUpdateNotificationPanel *const shared = MBWUpdateNotificationPanel::sharedPanel();
    EXPECT_EQ(shared, MBWUpdateNotificationPanel::sharedPanel());
    EXPECT_EQ(shared->windowNibName(), u"UpdateNotificationPanel"_s);
    EXPECT_EQ(shared->window()->objectName(), u"UpdateNotificationPanel"_s);
    EXPECT_NE(dynamic_cast<WKWebView *>(shared->webView()), nullptr);
    EXPECT_STREQ(shared->webView()->metaObject()->className(), "MBWUpdateWebView");
    EXPECT_EQ(shared->webView()->navigationDelegate(), shared);
    EXPECT_EQ(shared->webView()->UIDelegate(), shared);
}

TEST_F(UpdatePanelButtons, IsShownInTheMiddleOfTheScreenWhereverItWasMoved)
{
    panel.window()->move(0, 0);
    panel.showWindowForUpdateInfo(info);
    const QPoint middle = panel.window()->screen()->availableGeometry().center();
    EXPECT_LE((panel.window()->frameGeometry().center() - middle).manhattanLength(), 2);
}

TEST_F(UpdatePanelButtons, AMinimizedPanelIsShownAgain)
{
    panel.window()->showMinimized();
    panel.showWindowForUpdateInfo(info);
    EXPECT_FALSE(panel.window()->isMinimized());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdatePanelButtons, SaysWhichReleaseThereIsAndWhichIsInstalled)
{
    EXPECT_EQ(text("headlineLabel"), u"A new version of Cartographer is available"_s);
    EXPECT_EQ(text("versionLabel"), u"Version 4.2 can be downloaded. You have version 4.1."_s);
}

TEST_F(UpdatePanelButtons, NamesTheHostWhereTheRecordNamesNoProductAndLeavesOutWhatIsUnknown)
{
    info->setProductName(std::nullopt);
    info->setVersionString(std::nullopt);
    panel.showWindowForUpdateInfo(info);
    EXPECT_EQ(text("headlineLabel"), u"A new version of Cartographer is available"_s);
    EXPECT_EQ(text("versionLabel"), u"You have version 4.1."_s);
}

TEST_F(UpdatePanelButtons, TextsOfAMegabyteWithMarkupLineBreaksAndPlaceholdersAreShownAsOneShortLine)
{
    const QString hostile = u"<b>%1</b>\n\u202e%2 "_s.repeated(100'000);
    info->setProductName(hostile);
    info->setVersionString(hostile);
    panel.showWindowForUpdateInfo(info);
    panel.setErrorText(hostile);
    for (const char *const label : {"headlineLabel", "versionLabel", "errorTextLabel"}) {
        EXPECT_LT(text(label).size(), 450) << label;
        EXPECT_TRUE(text(label).contains(u"<b>%1</b> %2 <b>"_s)) << label;
        EXPECT_FALSE(text(label).contains(u'\n')) << label;
    }
    EXPECT_EQ(panel.errorText(), hostile);
}

TEST_F(UpdatePanelButtons, TheHeadlineIsLargerAndBoldAlsoWhereTheFontHasItsSizeInPixels)
{
    QFont font = QApplication::font();
    font.setPixelSize(20);
    QApplication::setFont(font);
    MBWUpdateNotificationPanel other;
    const QFont headline = other.window()->findChild<QLabel *>(u"headlineLabel"_s)->font();
    EXPECT_EQ(headline.pixelSize(), 26);
    EXPECT_TRUE(headline.bold());
    EXPECT_GT(panel.window()->findChild<QLabel *>(u"headlineLabel"_s)->font().pointSizeF(),
              panel.window()->font().pointSizeF());
}

TEST_F(UpdatePanelButtons, KeepsTheRecordAndTheErrorText)
{
    EXPECT_EQ(panel.updateInfo(), info);
    const auto other = std::make_shared<MBWSWUpdateInfo>();
    panel.setUpdateInfo(other);
    EXPECT_EQ(panel.updateInfo(), other);
    panel.setErrorText(u"out of order"_s);
    EXPECT_EQ(panel.errorText(), u"out of order"_s);
    EXPECT_EQ(text("errorTextLabel"), u"out of order"_s);
    EXPECT_EQ(panel.property("errorText"), u"out of order"_s);
}

TEST_F(UpdatePanelButtons, ClosingItDoesNotEndTheHost)
{
    QTimer::singleShot(0, qApp, [&] {
        panel.window()->close();
        QTimer::singleShot(50, qApp, [] { QApplication::exit(5); });
    });
    EXPECT_EQ(QApplication::exec(), 5);
}

// The buttons

TEST_F(UpdatePanelButtons, MoreInfoOpensTheProductPageSkipsTheReleaseAndHidesThePanel)
{
    press("infoButton");
    EXPECT_EQ(opened, QList{*info->productPageURL()});
    EXPECT_TRUE(isSkipped());
    EXPECT_FALSE(isShown());
}

TEST_F(UpdatePanelButtons, DownloadOpensTheInstallerAndHidesThePanelAndALaterCheckOffersTheReleaseAgain)
{
    press("downloadButton");
    EXPECT_EQ(opened, QList{*info->directDownloadURL()});
    EXPECT_TRUE(isUntouched());
    EXPECT_FALSE(isShown());
}

TEST_F(UpdatePanelButtons, RemindMeLaterHidesThePanelAndALaterCheckOffersTheReleaseAgain)
{
    press("remindButton");
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_FALSE(isShown());
}

TEST_F(UpdatePanelButtons, SkipThisVersionSkipsTheReleaseAndHidesThePanel)
{
    press("skipButton");
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isSkipped());
    EXPECT_FALSE(isShown());
}

TEST_F(UpdatePanelButtons, TheSkippedVersionIsKeptAsAnIntegerOfWhateverSize)
{
    EXPECT_EQ(MBWLastSWUpdateVersionKey, "MBWLastSWUpdateVersionKey"_L1);
    for (const qint64 version :
         {std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::min(), -1LL}) {
        info->setVersionIdentifier(version);
        panel.skipUpdate();
        EXPECT_EQ(defaults()->integerForKey(MBWLastSWUpdateVersionKey), version);
    }
}

TEST_F(UpdatePanelButtons, EscapeIsRemindMeLater)
{
    panel.window()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.window()));
    QTest::keyClick(panel.window(), Qt::Key_Escape);
    EXPECT_TRUE(isUntouched());
    EXPECT_FALSE(isShown());
}

TEST_F(UpdatePanelButtons, TheReturnKeyDownloads)
{
    panel.window()->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.window()));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(opened, QList{*info->directDownloadURL()});
    EXPECT_TRUE(button("downloadButton")->isDefault());
}

TEST_F(UpdatePanelButtons, ButtonsThatWouldLeadNowhereAreOff)
{
    EXPECT_TRUE(button("downloadButton")->isEnabled());
    EXPECT_TRUE(button("infoButton")->isEnabled());
    info->setDirectDownloadURL(std::nullopt);
    info->setProductPageURL(std::nullopt);
    panel.showWindowForUpdateInfo(info);
    EXPECT_FALSE(button("downloadButton")->isEnabled());
    EXPECT_FALSE(button("infoButton")->isEnabled());
    EXPECT_TRUE(button("remindButton")->isEnabled());
    EXPECT_TRUE(button("skipButton")->isEnabled());
}

TEST_F(UpdatePanelButtons, AddressesThatLeadIntoTheMachineAreNotOpenedAndTheRestIsDone)
{
    for (const char *const address :
         {"javascript:alert(1)", "data:text/html,x", "file:///etc/passwd", "FILE:/etc/passwd"}) {
        const QUrl url(QString::fromLatin1(address));
        info->setDirectDownloadURL(url);
        info->setProductPageURL(url);
        panel.showWindowForUpdateInfo(info);
        defaults()->removeObjectForKey(MBWLastSWUpdateVersionKey);
        panel.downloadUpdate();
        EXPECT_FALSE(isShown()) << address;
        EXPECT_TRUE(isUntouched()) << address;
        panel.showInfo();
        EXPECT_TRUE(isSkipped()) << address;
        EXPECT_TRUE(opened.isEmpty()) << address;
    }
}

TEST_F(UpdatePanelButtons, AStoreAMailerAndALongAddressAreOpened)
{
    const QUrl longURL(u"https://example.com/"_s + u"x"_s.repeated(1'000'000));
    for (const QUrl &url : {QUrl(u"appstream://com.example.app"_s), QUrl(u"snap://app"_s),
                            QUrl(u"mailto:maker@example.com"_s), longURL}) {
        info->setDirectDownloadURL(url);
        panel.showWindowForUpdateInfo(info);
        panel.downloadUpdate();
        EXPECT_EQ(opened.last(), url);
    }
}

TEST_F(UpdatePanelButtons, WithoutARecordNothingIsOpened)
{
    panel.showWindowForUpdateInfo(nullptr);
    EXPECT_TRUE(isShown());
    panel.downloadUpdate();
    panel.showInfo();
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_EQ(defaults()->integerForKey(MBWLastSWUpdateVersionKey), 0);
}

// The link policy

TEST_F(UpdatePanelButtons, FormsAndWhatIsNoClickAreFollowedWithoutAnyEffect)
{
    for (const auto type : {WKNavigationTypeFormSubmitted, WKNavigationTypeOther})
        EXPECT_EQ(decision(type, page), WKNavigationActionPolicyAllow);
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdatePanelButtons, GoingBackAReloadAndSendingAFormAgainAreNotDone)
{
    for (const auto type :
         {WKNavigationTypeBackForward, WKNavigationTypeReload, WKNavigationTypeFormResubmitted}) {
        EXPECT_EQ(decision(type, page), WKNavigationActionPolicyCancel);
        EXPECT_EQ(decision(type, pageWithFragment), WKNavigationActionPolicyCancel);
    }
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdatePanelButtons, TheNavigationTypesHaveTheirPublishedNumbers)
{
    EXPECT_EQ(WKNavigationTypeLinkActivated, 0);
    EXPECT_EQ(WKNavigationTypeFormSubmitted, 1);
    EXPECT_EQ(WKNavigationTypeBackForward, 2);
    EXPECT_EQ(WKNavigationTypeReload, 3);
    EXPECT_EQ(WKNavigationTypeFormResubmitted, 4);
    EXPECT_EQ(WKNavigationTypeOther, -1);
}

TEST_F(UpdatePanelButtons, AClickedLinkWithAFragmentIsFollowedOnWhicheverPage)
{
    for (const QUrl &url : {pageWithFragment, QUrl(u"file:///etc/passwd#x"_s), QUrl(u"mailto:a@b#x"_s)})
        EXPECT_EQ(decision(WKNavigationTypeLinkActivated, url), WKNavigationActionPolicyAllow);
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdatePanelButtons, AClickedLinkWithoutAFragmentOrWithAnEmptyOneOpensHidesAndSkips)
{
    for (const QUrl &url :
         {page, QUrl(u"https://example.com/page#"_s), QUrl(u"mailto:maker@example.com"_s)}) {
        panel.showWindowForUpdateInfo(info);
        defaults()->removeObjectForKey(MBWLastSWUpdateVersionKey);
        EXPECT_EQ(decision(WKNavigationTypeLinkActivated, url), WKNavigationActionPolicyCancel);
        EXPECT_EQ(opened.last(), url);
        EXPECT_TRUE(isSkipped());
        EXPECT_FALSE(isShown());
    }
}

TEST_F(UpdatePanelButtons, AClickedLinkIntoTheMachineIsNotOpenedButHidesAndSkipsLikeAnyOther)
{
    for (const char *const address : {"javascript:alert(1)", "data:text/html,x", "file:///etc/passwd"}) {
        panel.showWindowForUpdateInfo(info);
        defaults()->removeObjectForKey(MBWLastSWUpdateVersionKey);
        EXPECT_EQ(decision(WKNavigationTypeLinkActivated, QUrl(QString::fromLatin1(address))),
                  WKNavigationActionPolicyCancel);
        EXPECT_TRUE(opened.isEmpty()) << address;
        EXPECT_TRUE(isSkipped()) << address;
        EXPECT_FALSE(isShown()) << address;
    }
}

// What the web view tells

TEST_F(UpdatePanelButtons, TheNavigationThatStartedIsRememberedAndItsEndShowsTheNotes)
{
    const auto navigation = std::make_shared<WKNavigation>();
    panel.webViewDidStartProvisionalNavigation(panel.webView(), navigation);
    EXPECT_EQ(panel.mainFrameNavigation(), navigation);
    panel.webViewDidFinishNavigation(panel.webView(), navigation);
    EXPECT_EQ(panel.mainFrameNavigation(), nullptr);
    EXPECT_EQ(content(), panel.webContainerView());
}

TEST_F(UpdatePanelButtons, TheEndOfAnotherNavigationDoesNotChangeTheView)
{
    const auto navigation = std::make_shared<WKNavigation>();
    panel.webViewDidStartProvisionalNavigation(panel.webView(), navigation);
    panel.webViewDidFinishNavigation(panel.webView(), std::make_shared<WKNavigation>());
    EXPECT_EQ(content(), panel.loadingView());
    EXPECT_EQ(panel.mainFrameNavigation(), navigation);
}

TEST_F(UpdatePanelButtons, AProvisionalFailureShowsItsDescription)
{
    panel.webViewDidFailProvisionalNavigation(panel.webView(), nullptr, lost());
    EXPECT_EQ(content(), panel.errorView());
    EXPECT_EQ(panel.errorText(), u"It was lost."_s);
}

TEST_F(UpdatePanelButtons, ACancelledLoadLeavesTheViewAndTheErrorTextOfWhateverDomain)
{
    panel.setErrorText(u"before"_s);
    panel.handleWebViewError(cancelled());
    panel.handleWebViewError(NSError(u"another domain"_s, -999));
    EXPECT_EQ(content(), panel.loadingView());
    EXPECT_EQ(panel.errorText(), u"before"_s);
}

TEST_F(UpdatePanelButtons, AFailureAfterThePageBeganToArriveLeavesTheView)
{
    panel.webViewDidFailNavigation(panel.webView(), nullptr, lost());
    EXPECT_EQ(content(), panel.loadingView());
    EXPECT_EQ(panel.errorText(), QString());
}

TEST_F(UpdatePanelButtons, AnErrorBeforeTheWindowWasLoadedIsKept)
{
    MBWUpdateNotificationPanel unloaded;
    EXPECT_EQ(unloaded.contentBox(), nullptr);
    EXPECT_EQ(unloaded.webView(), nullptr);
    unloaded.handleWebViewError(lost());
    EXPECT_EQ(unloaded.contentBox()->currentWidget(), unloaded.errorView());
}
