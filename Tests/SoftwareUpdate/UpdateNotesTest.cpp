#include "Tests/SoftwareUpdate/UpdatePanelTest.h"
#include "Tests/Support/RawServer.h"

#include <Marblewick/MBWUpdateWebView.h>
#include <Marblewick/NSMenuItem.h>

#include <QClipboard>
#include <QContextMenuEvent>
#include <QDirIterator>
#include <QMenu>
#include <QProgressBar>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! Release notes from a real server in the real engine, with real clicks. */
class UpdateNotes : public UpdatePanelTest
{
protected:
    /*! Whether no file is in the home folder, of the engine's own for a moment apart. */
    bool isNothingLeft() const;
};

LoopbackServer::Answer redirectTo(const QByteArray &place) { return {302, {}, {{"Location", place}}}; }

LoopbackServer::Answer download()
{
    return {200, "PK", {{"Content-Type", "application/zip"}, {"Content-Disposition", "attachment"}}};
}

QStringList filesBelow(const QString &folder)
{
    QStringList paths;
    for (QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         files.hasNext();)
        paths.append(files.next());
    return paths;
}

bool UpdateNotes::isNothingLeft() const
{
    return WebPages::waitFor([this] { return filesBelow(home.path()).isEmpty(); });
}

bool isEngineMapped() { return readFile(u"/proc/self/maps"_s).contains("WebEngine"); }

/*! The visible items of the menu that a right click on a row opens within so many milliseconds. */
QStringList menuItems(QWidget *view, int row, int limit = 20000)
{
    WebPages::click(view, row, Qt::RightButton);
    if (!WebPages::waitFor([] { return qobject_cast<QMenu *>(QApplication::activePopupWidget()); }, limit))
        return {};
    QStringList texts;
    for (const QAction *const item : qobject_cast<QMenu *>(QApplication::activePopupWidget())->actions()) {
        if (item->isVisible() && !item->isSeparator())
            texts.append(item->text());
    }
    return texts;
}

void chooseOnlyMenuItem()
{
    auto *const menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    for (QAction *const item : menu->actions()) {
        if (item->isVisible() && !item->isSeparator())
            item->trigger();
    }
    menu->close();
}

} // namespace

// Loading

TEST_F(UpdateNotes, AreLoadingFromTheStartUntilThePageHasFinishedAndTheEngineComesOnlyThen)
{
    pages.add(u"/notes"_s, {u"What is new"_s});
    EXPECT_FALSE(isEngineMapped());
    panel.showWindowForUpdateInfo(info);
    EXPECT_TRUE(isEngineMapped());
    EXPECT_TRUE(isShown());
    EXPECT_EQ(content(), panel.loadingView());
    EXPECT_EQ(panel.loadingProgress()->minimum(), panel.loadingProgress()->maximum()); // it moves
    ASSERT_TRUE(pages.isDrawn(u"/notes"_s));
    EXPECT_EQ(content(), panel.webContainerView());
    EXPECT_EQ(panel.mainFrameNavigation(), nullptr);
    EXPECT_EQ(panel.loadingProgress()->maximum(), panel.loadingProgress()->minimum());
    EXPECT_EQ(pages.requestCount(u"/notes"_s), 1);
}

TEST_F(UpdateNotes, HiddenByAButtonKeepTheirPageAndShownAgainStartAtLoadingWithTheNewRecord)
{
    pages.add(u"/newer"_s, {u"newer"_s});
    showNotes({u"What is new"_s});
    panel.remindLater();
    EXPECT_EQ(content(), panel.webContainerView());

    info->setUpdateInfoURL(pages.url(u"/newer"_s));
    info->setVersionString(u"4.3"_s);
    panel.showWindowForUpdateInfo(info);
    EXPECT_EQ(content(), panel.loadingView());
    EXPECT_TRUE(text("versionLabel").contains(u"4.3"));
    ASSERT_TRUE(pages.isDrawn(u"/newer"_s));
    EXPECT_EQ(content(), panel.webContainerView());
}

TEST_F(UpdateNotes, BehindRedirectsAreShown)
{
    pages.add(u"/old"_s, redirectTo("/older"));
    pages.add(u"/older"_s, redirectTo("/notes"));
    pages.add(u"/notes"_s, {u"What is new"_s});
    info->setUpdateInfoURL(pages.url(u"/old"_s));
    panel.showWindowForUpdateInfo(info);
    ASSERT_TRUE(pages.isDrawn(u"/notes"_s));
    EXPECT_EQ(content(), panel.webContainerView());
    EXPECT_TRUE(opened.isEmpty());
}

TEST_F(UpdateNotes, WithAnErrorStatusAreAPage)
{
    info->setUpdateInfoURL(pages.url(u"/missing"_s)); // 404
    panel.showWindowForUpdateInfo(info);
    EXPECT_TRUE(WebPages::waitFor([&] { return content() == panel.webContainerView(); }));
}

// Failures

TEST_F(UpdateNotes, WithoutAnAddressOrWithOneThatIsNotOfTheWebShowTheErrorViewWithoutTheEngine)
{
    for (const char *const address :
         {"", "javascript:alert(1)", "data:text/html,x", "file:///etc/passwd", "ftp://example.com/notes",
          "mailto:maker@example.com", "qrc:/notes", "about:blank", "https:", "notes.html"}) {
        showUnavailableNotes(QUrl(QString::fromLatin1(address)));
        EXPECT_EQ(panel.errorText(), u"The address is not one of the web."_s) << address;
    }
    showUnavailableNotes(std::nullopt);
    EXPECT_EQ(text("errorTextLabel"), u"The address is not one of the web."_s);
    EXPECT_FALSE(isEngineMapped());
}

TEST_F(UpdateNotes, ThatCannotBeReachedShowTheErrorViewAndTryAgainLoadsThem)
{
    QUrl nowhere;
    {
        const RawServer closed([](RawServer::Connection &) {});
        nowhere = closed.url(u"/"_s);
    }
    showUnavailableNotes(nowhere);
    EXPECT_EQ(panel.errorText(), u"The server could not be reached."_s);

    pages.add(u"/notes"_s, {u"What is new"_s});
    info->setUpdateInfoURL(pages.url(u"/notes"_s));
    press("tryAgainButton");
    EXPECT_EQ(content(), panel.loadingView());
    ASSERT_TRUE(pages.isDrawn(u"/notes"_s));
    EXPECT_EQ(content(), panel.webContainerView());
}

TEST_F(UpdateNotes, ThatRedirectWithoutEndOrToAFileOrAreADownloadOrNothingShowTheErrorView)
{
    pages.add(u"/endless"_s, redirectTo("/endless"));
    pages.add(u"/to-file"_s, redirectTo("file:///etc/passwd"));
    pages.add(u"/download"_s, download());
    pages.add(u"/nothing"_s, LoopbackServer::Answer{204, {}, {}});
    showUnavailableNotes(pages.url(u"/endless"_s));
    EXPECT_EQ(panel.errorText(), u"The server redirected the request too many times."_s);
    showUnavailableNotes(pages.url(u"/to-file"_s));
    EXPECT_EQ(panel.errorText(), u"The address is not one of the web."_s);
    showUnavailableNotes(pages.url(u"/download"_s));
    EXPECT_EQ(panel.errorText(), u"What the server sent is not a web page."_s);
    showUnavailableNotes(pages.url(u"/nothing"_s));
    EXPECT_EQ(panel.errorText(), u"What the server sent is not a web page."_s);
    EXPECT_TRUE(isNothingLeft()) << qPrintable(filesBelow(home.path()).join(u'\n'));
}

TEST_F(UpdateNotes, ThatRedirectToAMailerAStoreOrDataShowTheErrorViewAtOnce)
{
    for (const QByteArray &place :
         {QByteArray("mailto:maker@example.com"), QByteArray("appstream://com.example.app"),
          QByteArray("data:text/html,x"), QByteArray("javascript:alert(1)")}) {
        const QString path = u"/to-"_s + QString::fromLatin1(place.split(':').first());
        pages.add(path, redirectTo(place));
        showUnavailableNotes(pages.url(path)); // within far less than the time that a load may take
        EXPECT_EQ(panel.errorText(), u"The address is not one of the web."_s) << place.constData();
    }
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
}

TEST_F(UpdateNotes, OnePageForAllReleasesShowsEachReleasesPartOfIt)
{
    pages.add(u"/changelog"_s, {u"<p id=4.2>4.2</p>"_s, u"<p id=4.3>4.3</p>"_s});
    qsizetype times = 0;
    for (const QString &part : {u"/changelog#4.2"_s, u"/changelog#4.3"_s, u"/changelog#4.3"_s}) {
        info->setUpdateInfoURL(pages.url(part));
        panel.showWindowForUpdateInfo(info);
        EXPECT_EQ(content(), panel.loadingView());
        ASSERT_TRUE(pages.isDrawn(u"/changelog"_s, ++times));
        EXPECT_TRUE(WebPages::waitFor([&] { return content() == panel.webContainerView(); }));
        EXPECT_EQ(panel.mainFrameNavigation(), nullptr);
    }
}

TEST_F(UpdateNotes, WhoseProgramEndsShowTheErrorViewAndTryAgainLoadsThem)
{
    showNotes({u"What is new"_s});
    ASSERT_TRUE(WebPages::endRenderers());
    ASSERT_TRUE(WebPages::waitFor([&] { return content() == panel.errorView(); }));
    EXPECT_EQ(panel.errorText(), u"The program that shows the page has ended unexpectedly."_s);
    press("tryAgainButton");
    ASSERT_TRUE(pages.isDrawn(u"/notes"_s, 2));
    EXPECT_EQ(content(), panel.webContainerView());
}

TEST_F(UpdateNotes, ThatBreakOffAfterTheyBeganLeaveTheLoadingView)
{
    std::atomic_bool hasBroken = false;
    const RawServer server([&](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 100000\r\n\r\n"
                        + QByteArray("<p>words</p>").repeated(1000));
        hasBroken = true;
    });
    pages.add(u"/notes"_s, {u"What is new"_s});
    info->setUpdateInfoURL(server.url());
    panel.showWindowForUpdateInfo(info);
    ASSERT_TRUE(WebPages::waitFor([&] { return bool(hasBroken); }));
    QTest::qWait(500); // for what must not happen
    EXPECT_EQ(content(), panel.loadingView());
    EXPECT_EQ(panel.errorText(), QString());
}

TEST_F(UpdateNotes, WhoseWindowIsClosedWhileTheyLoadAreStoppedWithoutAnError)
{
    std::atomic_bool isAsked = false;
    std::atomic_bool isLetGo = false;
    const RawServer server([&](RawServer::Connection &connection) {
        connection.readRequest();
        isAsked = true;
        connection.stall();
        isLetGo = true;
    });
    info->setUpdateInfoURL(server.url());
    panel.showWindowForUpdateInfo(info);
    ASSERT_TRUE(WebPages::waitFor([&] { return bool(isAsked); }));
    panel.window()->close();
    EXPECT_TRUE(WebPages::waitFor([&] { return bool(isLetGo); }));
    EXPECT_EQ(content(), panel.loadingView());
    EXPECT_EQ(panel.errorText(), QString());
}

TEST_F(UpdateNotes, SupersededWhileTheyLoadDoNotShowAnError)
{
    std::atomic_bool isAsked = false;
    const RawServer server([&](RawServer::Connection &connection) {
        connection.readRequest();
        isAsked = true;
        connection.stall();
    });
    info->setUpdateInfoURL(server.url());
    panel.showWindowForUpdateInfo(info);
    ASSERT_TRUE(WebPages::waitFor([&] { return bool(isAsked); }));
    info->setUpdateInfoURL(pages.url(u"/notes"_s));
    showNotes({u"What is new"_s});
    EXPECT_EQ(panel.errorText(), QString());
}

// Links

TEST_F(UpdateNotes, ALinkWithoutAFragmentOpensInTheBrowserHidesThePanelAndSkipsTheRelease)
{
    showNotes({u"<a href='/outside'>outside</a>"_s});
    click(0);
    ASSERT_TRUE(WebPages::waitFor([&] { return !isShown(); }));
    EXPECT_EQ(opened, QList{pages.url(u"/outside"_s)});
    EXPECT_TRUE(isSkipped());
    EXPECT_EQ(pages.requestCount(u"/outside"_s), 0);
    EXPECT_EQ(content(), panel.webContainerView());
}

TEST_F(UpdateNotes, ALinkForAWindowOfItsOwnToAMailerAndToTheTopOfThePageAreTreatedLikeAnyOther)
{
    showNotes({u"<a href='/outside' target=_blank>outside</a>"_s,
               u"<a href='mailto:maker@example.com'>mail</a>"_s, u"<a href='#'>top</a>"_s});
    click(0);
    ASSERT_TRUE(WebPages::waitFor([&] { return !isShown(); }));
    panel.window()->show();
    click(1);
    ASSERT_TRUE(WebPages::waitFor([&] { return !isShown(); }));
    panel.window()->show();
    click(2);
    ASSERT_TRUE(WebPages::waitFor([&] { return !isShown(); }));
    EXPECT_EQ(opened, (QList{pages.url(u"/outside"_s), QUrl(u"mailto:maker@example.com"_s),
                             QUrl(pages.url(u"/notes"_s).toString() + u'#')}));
    EXPECT_TRUE(isSkipped());
}

TEST_F(UpdateNotes, LinksWithAFragmentStayInThePanelAlsoToAnotherPageAndForAWindowOfTheirOwn)
{
    pages.add(u"/second"_s, {u"<a href='/third#part' target=_blank>third</a>"_s});
    pages.add(u"/third"_s, {u"third"_s});
    showNotes({u"<a href='#part'>here</a>"_s, u"<a href='/second#part'>second</a>"_s,
               u"<p id=part>part</p><script>onhashchange = () => fetch('/jumped')</script>"_s});
    click(0);
    ASSERT_TRUE(pages.isRequested(u"/jumped"_s));
    click(1);
    ASSERT_TRUE(pages.isDrawn(u"/second"_s));
    click(0);
    ASSERT_TRUE(pages.isDrawn(u"/third"_s));
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
    EXPECT_EQ(content(), panel.webContainerView());
}

TEST_F(UpdateNotes, AFormIsSentInThePanelAndItsPageIsNotGoneBackFrom)
{
    pages.add(u"/sent"_s, {u"<button onclick='history.back(); fetch(\"/clicked\")'>back</button>"_s});
    showNotes({u"<form action='/sent' method=post><button>Send</button></form>"_s});
    click(0);
    ASSERT_TRUE(pages.isDrawn(u"/sent"_s));
    click(0);
    ASSERT_TRUE(pages.isRequested(u"/clicked"_s));
    QTest::qWait(300); // for what must not happen
    EXPECT_EQ(pages.requestCount(u"/notes"_s), 1);
    EXPECT_EQ(pages.requestCount(u"/drawn/notes"_s), 1);
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdateNotes, AScriptThatGoesElsewhereStaysInThePanelAndOpensNothing)
{
    pages.add(u"/second"_s, {u"second"_s});
    pages.add(
        u"/notes"_s,
        {u"notes"_s, u"<script>onload = () => setTimeout(() => { location = '/second' }, 100)</script>"_s});
    panel.showWindowForUpdateInfo(info);
    ASSERT_TRUE(pages.isDrawn(u"/second"_s));
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdateNotes, AScriptOpensNoWindowsNoDialogsNoCameraNoFilesAndNoOtherProgram)
{
    pages.add(u"/download"_s, download());
    showNotes(
        {u"<script>"
         "for (let i = 0; i < 20; ++i) open('/popup' + i);"
         "alert('a'); confirm('c'); prompt('p');"
         "navigator.mediaDevices.getUserMedia({ video: true }).then(() => fetch('/granted'), () => { });"
         "Notification.requestPermission().then(answer => fetch('/notifications-' + answer));"
         "fetch('file:///etc/passwd').then(() => fetch('/granted'), () => { });"
         "for (const url of ['mailto:a@b', 'file:///etc/passwd', '/download'])"
         "  document.body.append(Object.assign(document.createElement('iframe'), { src: url }));"
         "</script>"_s});
    ASSERT_TRUE(pages.isRequested(u"/download"_s));
    EXPECT_TRUE(pages.isRequested(u"/notifications-denied"_s));
    QTest::qWait(300); // for what must not happen
    EXPECT_EQ(QApplication::topLevelWidgets().count(), 1);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    EXPECT_EQ(pages.requestCount(u"/granted"_s), 0);
    EXPECT_EQ(pages.requestCount(u"/popup0"_s), 0);
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isShown());
    EXPECT_TRUE(isNothingLeft()) << qPrintable(filesBelow(home.path()).join(u'\n'));
}

TEST_F(UpdateNotes, ALinkThatRunsAScriptStaysInThePanel)
{
    showNotes({u"<a href='javascript:fetch(\"/ran\")'>run</a>"_s});
    click(0);
    ASSERT_TRUE(pages.isRequested(u"/ran"_s));
    QTest::qWait(200); // for what must not happen
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
    EXPECT_EQ(content(), panel.webContainerView());
}

TEST_F(UpdateNotes, ALinkIntoTheMachineIsNotOpenedButHidesThePanelAndSkipsTheReleaseLikeAnyOther)
{
    showNotes({u"<a href='file:///etc/passwd'>file</a>"_s, u"<a href='data:text/html,x'>data</a>"_s});
    for (const int row : {0, 1}) {
        defaults()->removeObjectForKey(MBWLastSWUpdateVersionKey);
        panel.window()->show();
        click(row);
        ASSERT_TRUE(WebPages::waitFor([&] { return !isShown(); })) << row;
        EXPECT_TRUE(isSkipped()) << row;
    }
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_EQ(content(), panel.webContainerView());
    EXPECT_EQ(pages.requestCount(u"/drawn/notes"_s), 1);
}

TEST_F(UpdateNotes, AFrameThatGoesElsewhereMeanwhileDoesNotTakeTheClickOfALink)
{
    pages.add(u"/inner"_s,
              {u"<script>setInterval(() => { location = '/inner?' + Math.random() }, 20)</script>"_s});
    showNotes({u"<a href='/outside'>outside</a>"_s, u"<iframe src='/inner'></iframe>"_s});
    ASSERT_TRUE(pages.isRequested(u"/inner"_s));
    click(0);
    ASSERT_TRUE(WebPages::waitFor([&] { return !isShown(); }));
    EXPECT_EQ(opened, QList{pages.url(u"/outside"_s)});
}

TEST_F(UpdateNotes, ALinkIntoTheMachineThatThePageHandlesItselfIsNone)
{
    showNotes({u"<a href='file:///etc/passwd' onclick='fetch(\"/handled\"); return false'>file</a>"_s});
    click(0);
    ASSERT_TRUE(pages.isRequested(u"/handled"_s));
    QTest::qWait(200); // for what must not happen
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdateNotes, WhatAScriptDoesAfterAClickIsNoLink)
{
    pages.add(u"/second"_s, {u"second"_s});
    showNotes(
        {u"<button onclick='location.hash = \"x\"; location.hash = \"\"; fetch(\"/emptied\")'>a</button>"_s,
         u"<button onclick='history.replaceState(null, \"\", \"#\"); fetch(\"/replaced\")'>b</button>"_s,
         u"<button onclick='window.open(\"/popup\"); fetch(\"/tried\")'>c</button>"_s,
         u"<button onclick='location = \"/second\"'>d</button>"_s});
    click(0);
    ASSERT_TRUE(pages.isRequested(u"/emptied"_s));
    click(1);
    ASSERT_TRUE(pages.isRequested(u"/replaced"_s));
    click(2);
    ASSERT_TRUE(pages.isRequested(u"/tried"_s));
    click(3);
    ASSERT_TRUE(pages.isDrawn(u"/second"_s));
    EXPECT_EQ(pages.requestCount(u"/popup"_s), 0);
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdateNotes, APageThatGoesElsewhereRightAfterAClickDoesNotFollowALink)
{
    pages.add(u"/second"_s, {u"<meta http-equiv=refresh content='0; url=/third'>"_s});
    pages.add(u"/third"_s, {u"third"_s});
    showNotes({u"<button onclick='location = \"/second\"'>a</button>"_s});
    click(0);
    ASSERT_TRUE(pages.isDrawn(u"/third"_s));
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

TEST_F(UpdateNotes, APageCannotFeignThatALinkWasClicked)
{
    pages.add(u"/second"_s, {u"second"_s});
    showNotes(
        {u"<a id=link href='/second'>second</a>"_s,
         u"<script>console.log('!https://example.com/'); setTimeout(() => link.click(), 100)</script>"_s});
    ASSERT_TRUE(pages.isDrawn(u"/second"_s));
    EXPECT_TRUE(opened.isEmpty());
    EXPECT_TRUE(isUntouched());
    EXPECT_TRUE(isShown());
}

// What is left behind

TEST_F(UpdateNotes, LeaveNothingOnDisk)
{
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home.path() + u"/cache"_s));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(home.path() + u"/runtime"_s));
    ASSERT_TRUE(QDir(home.path()).mkdir(u"runtime"_s));
    ASSERT_TRUE(QFile::setPermissions(home.path() + u"/runtime"_s,
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    pages.add(u"/notes"_s,
              {200,
               "<script>document.cookie = 'a=b; max-age=99999'; localStorage.a = 'b';"
               "indexedDB.open('d').onsuccess = () => caches.open('c').finally(() => fetch('/stored'))"
               "</script>",
               {{"Content-Type", "text/html"}, {"Cache-Control", "max-age=99999"}}});
    panel.showWindowForUpdateInfo(info);
    ASSERT_TRUE(pages.isRequested(u"/stored"_s));
    EXPECT_TRUE(isNothingLeft()) << qPrintable(filesBelow(home.path()).join(u'\n'));
}

// The menu

TEST_F(UpdateNotes, ARightClickOffersToCopyTheTextOrTheLinkAndNothingElse)
{
    showNotes({u"<p style='margin:0'>Wording</p>"_s, u"<a href='/outside'>outside</a>"_s});
    EXPECT_EQ(menuItems(panel.webView(), 0), QStringList{u"Copy"_s});
    chooseOnlyMenuItem();
    EXPECT_TRUE(WebPages::waitFor([] { return QApplication::clipboard()->text() == u"Wording"; }))
        << qPrintable(QApplication::clipboard()->text());
    EXPECT_EQ(menuItems(panel.webView(), 1), QStringList{u"Copy link address"_s});
    chooseOnlyMenuItem();
    EXPECT_TRUE(WebPages::waitFor([&] {
        return QApplication::clipboard()->text() == pages.url(u"/outside"_s).toString();
    })) << qPrintable(QApplication::clipboard()->text());
}

TEST_F(UpdateNotes, OfAMenuTheItemsTagged33And3And8SeparatorsAndSubmenusStayAndNothingIsRemoved)
{
    class View : public MBWUpdateWebView
    {
    public:
        using MBWUpdateWebView::willOpenMenu;
    };
    QMenu menu;
    for (const int tag : {33, 3, 8, 0, 1, 2, 5, 9, 12, 32, 34})
        NSMenuItem::setTag(menu.addAction(QString::number(tag)), tag);
    const QAction *const separator = menu.addSeparator();
    menu.addAction(u"without a tag"_s);
    const QMenu *const submenu = menu.addMenu(u"submenu"_s);
    const QList<QAction *> before = menu.actions();

    View view;
    QContextMenuEvent event(QContextMenuEvent::Mouse, {}, {});
    view.willOpenMenu(&menu, &event);
    EXPECT_EQ(menu.actions(), before);
    QStringList visible;
    for (const QAction *const item : before) {
        if (item->isVisible() && item != separator)
            visible.append(item->text());
    }
    EXPECT_EQ(visible, (QStringList{u"33"_s, u"3"_s, u"8"_s, u"submenu"_s}));
    EXPECT_TRUE(separator->isVisible());
    EXPECT_TRUE(submenu->menuAction()->isVisible());
}

TEST_F(UpdateNotes, ARightClickWhereThereIsNothingToCopyOpensNoMenu)
{
    showNotes({u"<p style='margin:0'>Wording</p>"_s});
    EXPECT_EQ(menuItems(panel.webView(), 3, 500), QStringList());
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}
