#include "Tests/Panels/AboutPanelHost.h"
#include "Tests/Support/WindowLooks.h"

#include <Marblewick/MBWAboutPanel.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const char *const credits =
    R"({\rtf1\ansi\ansicpg1252{\fonttbl\f0\fswiss Helvetica-Bold;\f1\fswiss Helvetica;})"
    R"({\colortbl;\red0\green0\blue0;\red30\green120\blue190;}\pard\qc\sa120\f0\b\fs28\cf2 Cartographer\par)"
    R"(\pard\sa80\f1\b0\fs24\cf1 Drawn by \b Ad\'e8le Lef\u232?vre\b0  and \i the surveyors of the coast\i0 .\par)"
    R"(\pard\tx280\li280\fi-280{\listtext\u8226 ?\tab}Soundings and shoals: Imre \u336?ri\par)"
    R"({\listtext\u8226 ?\tab}Lettering: \u8220 ?\u20013 ?\u25991 ?\u8221 ? and \ul Hebrew\ulnone  \u1513 ?\u1500 ?\par)"
    R"(\pard\sb120 More at {\field{\*\fldinst{HYPERLINK "https://example.com/"}}{\fldrslt our web site}}.})";

class AboutPanelLooks : public ::testing::Test
{
protected:
    AboutPanelLooks()
    {
        QPixmap icon(64, 64);
        icon.fill(Qt::transparent);
        QPainter painter(&icon);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(QColor(30, 120, 190));
        painter.drawEllipse(4, 4, 56, 56);
        painter.end();
        QGuiApplication::setWindowIcon(icon);
        host.writeResource(u"Credits.rtf"_s, credits);
    }

    void show(const QByteArray &name = "Cartographer",
              const QByteArray &copyright = "© 2026 The Cartographer makers")
    {
        host.setProperties(entry("CFBundleName", name) + entry("CFBundleShortVersionString", "2.1")
                           + entry("CFBundleVersion", "345") + entry("NSHumanReadableCopyright", copyright)
                           + entry("MWWebSiteURL", "https://example.com/"));
        panel.emplace(host.bundle()).showWindow();
        ASSERT_TRUE(waitForPictureWithCredits(*panel));
    }

    const AboutPanelHost host;
    std::optional<MBWAboutPanel> panel;
};

} // namespace

TEST_F(AboutPanelLooks, NothingIsCutOffInTheLightPalette)
{
    show();
    expectThatEveryTextIsReadable(panel->window());
    expectThatNothingIsCutOffOrCovered(panel->window());
    expectThatTextsLieWhereLinesBegin(panel->window());
    keepPicture(panel->window(), u"about-light"_s);
}

TEST_F(AboutPanelLooks, EveryTextIsReadableInADarkPalette)
{
    useDarkPalette();
    show();
    expectThatEveryTextIsReadable(panel->window());
    keepPicture(panel->window(), u"about-dark"_s);
}

TEST_F(AboutPanelLooks, EveryTextIsTranslatedAndNothingIsCutOffInAWordyLanguage)
{
    WordyTranslator translator("AboutPanel");
    QCoreApplication::installTranslator(&translator);
    show();
    EXPECT_TRUE(panel->window()->windowTitle().startsWith(u"Übersetzt"));
    EXPECT_TRUE(panel->creditsView()->accessibleName().startsWith(u"Übersetzt"));
    for (const QPushButton *const button : panel->window()->findChildren<QPushButton *>()) {
        EXPECT_TRUE(button->text().startsWith(u"Übersetzt")) << qPrintable(button->text());
        EXPECT_TRUE(button->accessibleName().startsWith(u"Übersetzt"));
    }
    expectThatNothingIsCutOffOrCovered(panel->window());
    keepPicture(panel->window(), u"about-wordy"_s);
}

TEST_F(AboutPanelLooks, NothingIsCutOffInAWordyLanguageAtTheSmallestSize)
{
    WordyTranslator translator("AboutPanel");
    QCoreApplication::installTranslator(&translator);
    show();
    QWidget *const window = panel->window();
    window->resize(1, 1);
    ASSERT_TRUE(QTest::qWaitFor([window] { return window->size() == window->minimumSize(); }))
        << window->width() << " x " << window->height();
    expectThatNothingIsCutOffOrCovered(panel->window());
    keepPicture(window, u"about-wordy-smallest"_s);
}

TEST_F(AboutPanelLooks, TheTextsFollowATranslatorThatIsInstalledWhileThePanelIsShown)
{
    show();
    EXPECT_EQ(panel->window()->windowTitle(), u"About Cartographer"_s);
    WordyTranslator translator("AboutPanel");
    QCoreApplication::installTranslator(&translator);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return panel->window()->windowTitle().startsWith(u"Übersetzt: About Cartographer"); }));
    EXPECT_EQ(panel->window()->findChild<QLabel *>(u"versionLabel"_s)->text(), u"2.1 (345)"_s);
}

TEST_F(AboutPanelLooks, LongTextsAreWrapped)
{
    show("Cartographer for the Coasts, Rivers and Mountains of the Northern Hemisphere, Professional Edition",
         QByteArray("© 2026 The makers of Cartographer and everybody who helped them. All rights reserved. ")
             .repeated(4));
    expectThatNothingIsCutOffOrCovered(panel->window());
    keepPicture(panel->window(), u"about-long"_s);
    panel->window()->resize(panel->window()->minimumSize());
    QTest::qWait(0);
    expectThatNothingIsCutOffOrCovered(panel->window());
}

TEST_F(AboutPanelLooks, IsMirroredWhereTheLanguageRunsFromRightToLeft)
{
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    show();
    expectThatNothingIsCutOffOrCovered(panel->window());
    const auto left = [&](const QString &name) {
        return panel->window()->findChild<QWidget *>(name)->geometry().left();
    };
    EXPECT_GT(left(u"iconLabel"_s), left(u"nameLabel"_s));
    EXPECT_GT(left(u"copyButton"_s), left(u"webSiteButton"_s));
    expectThatTextsLieWhereLinesBegin(panel->window());
    keepPicture(panel->window(), u"about-right-to-left"_s);
}

TEST_F(AboutPanelLooks, IsMirroredWhileItIsShownWithItsTexts)
{
    show();
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    QTest::qWait(0);
    expectThatTextsLieWhereLinesBegin(panel->window());
}

TEST_F(AboutPanelLooks, IsAsHighAsItsTextsWithoutCredits)
{
    host.writeResource(u"Credits.rtf"_s, "");
    show();
    EXPECT_EQ(panel->window()->height(), panel->window()->minimumHeight());
    EXPECT_LT(panel->window()->height(), 220);
    keepPicture(panel->window(), u"about-without-credits"_s);
}
