#include "Tests/SoftwareUpdate/UpdatePanelTest.h"
#include "Tests/Support/RawServer.h"
#include "Tests/Support/WindowLooks.h"

#include <QProgressBar>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

class UpdatePanelLooks : public UpdatePanelTest
{
protected:
    static void darken() { useDarkPalette(); }
    void show(const std::optional<QUrl> &notes)
    {
        info->setUpdateInfoURL(notes);
        panel.showWindowForUpdateInfo(info);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(panel.window()));
    }
    /*! The three states, one after the other, looked at. */
    void lookAtEveryState(const QString &palette)
    {
        const auto look = [&](const QString &state) {
            expectThatNothingIsCutOffOrCovered(panel.window());
            expectThatEveryTextIsReadable(panel.window());
            keepPicture(panel.window(), u"update-"_s + state + u'-' + palette);
        };
        const RawServer stalled([](RawServer::Connection &connection) { connection.stall(); });
        show(stalled.url());
        look(u"loading"_s);
        showUnavailableNotes(std::nullopt);
        look(u"error"_s);
        info->setUpdateInfoURL(pages.url(u"/notes"_s));
        showNotes({u"<b style='font: bold 18px/40px sans-serif'>&nbsp; New in 4.2</b>"_s,
                   u"<span style='font: 14px sans-serif'>&nbsp; Contour lines have labels.</span>"_s,
                   u"<a style='font: 14px sans-serif' href='/all'>&nbsp; All changes</a>"_s});
        EXPECT_TRUE(WebPages::waitFor([&] { return hasTextDrawn(); }));
        look(u"notes"_s);
    }
    bool hasTextDrawn()
    {
        const QImage notes = panel.webView()->grab(QRect(0, 40, 200, 40)).toImage();
        const int background = notes.pixelColor(0, 0).lightness();
        for (int y = 0; y < notes.height(); ++y) {
            for (int x = 0; x < notes.width(); ++x) {
                if (qAbs(notes.pixelColor(x, y).lightness() - background) > 100)
                    return true;
            }
        }
        return false;
    }
    /*! The colour of the release notes' background as it is drawn. */
    QColor colorOfNotes()
    {
        return panel.webView()->grab().toImage().pixelColor(5, panel.webView()->height() - 5);
    }
};

} // namespace

TEST_F(UpdatePanelLooks, NothingIsCutOffInTheLightPaletteAndTheNotesAreBright)
{
    lookAtEveryState(u"light"_s);
    EXPECT_TRUE(WebPages::waitFor([&] { return colorOfNotes().lightness() > 200; }));
}

TEST_F(UpdatePanelLooks, EveryTextIsReadableInADarkPaletteAndNotesThatCanAreDark)
{
    darken();
    lookAtEveryState(u"dark"_s);
    EXPECT_TRUE(WebPages::waitFor([&] { return colorOfNotes().lightness() < 60; }));
    EXPECT_FALSE(qEnvironmentVariableIsSet("QTWEBENGINE_CHROMIUM_FLAGS"));
}

TEST_F(UpdatePanelLooks, NotesWithoutColorsOfTheirOwnAreBlackOnWhiteInADarkPaletteToo)
{
    darken();
    pages.add(u"/notes"_s,
              {200, "<p>plain<script>fetch('/drawn/notes')</script>", {{"Content-Type", "text/html"}}});
    show(pages.url(u"/notes"_s));
    ASSERT_TRUE(pages.isDrawn(u"/notes"_s));
    EXPECT_TRUE(WebPages::waitFor([&] { return colorOfNotes().lightness() > 200; }));
}

TEST_F(UpdatePanelLooks, EveryTextIsTranslatedAndNothingIsCutOffInAWordyLanguage)
{
    WordyTranslator translator("UpdateNotificationPanel");
    QCoreApplication::installTranslator(&translator);
    show(std::nullopt);
    ASSERT_TRUE(WebPages::waitFor([&] { return content() == panel.errorView(); }));
    const QWidget *const window = panel.window();
    EXPECT_TRUE(window->windowTitle().startsWith(u"Übersetzt")) << qPrintable(window->windowTitle());
    for (const QLabel *const label : window->findChildren<QLabel *>())
        EXPECT_TRUE(label->text().isEmpty() || label->text().startsWith(u"Übersetzt")
                    || label->text() == panel.errorText())
            << qPrintable(label->text());
    for (const QPushButton *const button : window->findChildren<QPushButton *>())
        EXPECT_TRUE(button->text().startsWith(u"Übersetzt")) << qPrintable(button->text());
    expectThatNothingIsCutOffOrCovered(window);
    keepPicture(panel.window(), u"update-error-wordy"_s);
}

TEST_F(UpdatePanelLooks, TheErrorIsTranslatedAmongTheMessages)
{
    WordyTranslator translator("Localizable");
    QCoreApplication::installTranslator(&translator);
    showUnavailableNotes(std::nullopt);
    EXPECT_TRUE(text("errorTextLabel").startsWith(u"Übersetzt: The address"))
        << qPrintable(panel.errorText());
}

TEST_F(UpdatePanelLooks, TheTextsFollowATranslatorThatIsInstalledWhileThePanelIsShown)
{
    show(std::nullopt);
    WordyTranslator translator("UpdateNotificationPanel");
    QCoreApplication::installTranslator(&translator);
    QTest::qWait(0);
    EXPECT_TRUE(text("headlineLabel").startsWith(u"Übersetzt: A new version of Cartographer"))
        << qPrintable(text("headlineLabel"));
}

TEST_F(UpdatePanelLooks, TheWindowCanBeMadeSmallerWithoutCuttingItsTexts)
{
    show(std::nullopt);
    ASSERT_TRUE(WebPages::waitFor([&] { return content() == panel.errorView(); }));
    panel.window()->resize(panel.window()->minimumSize());
    QTest::qWait(0);
    expectThatNothingIsCutOffOrCovered(panel.window());
    keepPicture(panel.window(), u"update-error-small"_s);
}

TEST_F(UpdatePanelLooks, WhatIsNoPlainTextHasANameForThoseWhoCannotSeeIt)
{
    show(std::nullopt);
    EXPECT_EQ(panel.webView()->accessibleName(), u"Release notes"_s);
    EXPECT_EQ(panel.loadingProgress()->accessibleName(), u"Loading the release notes"_s);
    for (const QPushButton *const each : panel.window()->findChildren<QPushButton *>())
        EXPECT_EQ(each->accessibleName(), each->text().remove(u'&'));
}
