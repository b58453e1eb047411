#include "Tests/Panels/AboutPanelHost.h"
#include "Tests/Support/InstalledTranslator.h"

#include <Marblewick/MBWAboutPanel.h>
#include <Marblewick/NSWorkspace.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <QTextBrowser>

#include <optional>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

const QByteArray version = entry("CFBundleShortVersionString", "2.1");
const QByteArray build = entry("CFBundleVersion", "345");
const QByteArray storeBuild = entry("MWBuildVersion", "2101");
const QByteArray isDirect = "<key>MWIsDirectVersion</key><true/>";
const QByteArray isNotDirect = "<key>MWIsDirectVersion</key><false/>";

class AboutPanel : public ::testing::Test
{
protected:
    AboutPanel()
    {
        QCoreApplication::setApplicationName(u"Cartographer"_s);
        NSWorkspace::sharedWorkspace()->setURLOpener([this](const QUrl &url) {
            opened.append(url);
            return true;
        });
    }

    /*! Makes the controller of a host with these properties. */
    MBWAboutPanel &make(const QByteArray &properties = version + build)
    {
        host.setProperties(properties);
        return panel.emplace(host.bundle());
    }

    MBWAboutPanel &show(const QByteArray &properties = version + build)
    {
        make(properties).showWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(panel->window()));
        return *panel;
    }

    template <typename Part>
    Part *part(const QString &name)
    {
        return panel->window()->findChild<Part *>(name);
    }

    const AboutPanelHost host;
    QList<QUrl> opened; ///< what the desktop was asked to open
    std::optional<MBWAboutPanel> panel;
};

} // namespace

// The version line

TEST_F(AboutPanel, HasMarketingVersionAndBuildNumberInItsVersionLine)
{
    EXPECT_EQ(make().versionString(), u"2.1 (345)"_s);
    EXPECT_FALSE(panel->isMacAppStoreVersion());
}

TEST_F(AboutPanel, OfAHostWithAStoreBuildNumberOnlyIsThatOfTheStoreAndHasThatNumber)
{
    EXPECT_EQ(make(version + build + storeBuild).versionString(), u"2.1 (2101) Mac App Store Version"_s);
    EXPECT_TRUE(panel->isMacAppStoreVersion());
}

TEST_F(AboutPanel, OfADirectVersionIgnoresTheStoreBuildNumber)
{
    EXPECT_EQ(make(version + build + storeBuild + isDirect).versionString(), u"2.1 (345)"_s);
    EXPECT_FALSE(panel->isMacAppStoreVersion());
}

TEST_F(AboutPanel, OfAVersionThatIsNotDirectIsThatOfTheStoreAndKeepsItsBuildNumber)
{
    EXPECT_EQ(make(version + build + storeBuild + isNotDirect).versionString(),
              u"2.1 (345) Mac App Store Version"_s);
    EXPECT_TRUE(panel->isMacAppStoreVersion());
    EXPECT_EQ(make(version + build + isNotDirect).versionString(), u"2.1 (345) Mac App Store Version"_s);
}

TEST_F(AboutPanel, TranslatesTheStoresVersionLineOnly)
{
    const InstalledTranslator store("Localizable", "%@ (%@) Mac App Store Version",
                                    u"%@ (%@), App-Store-Version"_s);
    const InstalledTranslator direct("Localizable", "%@ (%@)", u"wrong"_s);
    EXPECT_EQ(make(version + build + isNotDirect).versionString(), u"2.1 (345), App-Store-Version"_s);
    const AboutPanelHost other;
    other.setProperties(version + build);
    EXPECT_EQ(MBWAboutPanel(other.bundle()).versionString(), u"2.1 (345)"_s);
}

TEST_F(AboutPanel, TakesTheVersionsFromTheTranslatedProperties)
{
    const InstalledTranslator marketing("InfoPlist", "CFBundleShortVersionString", u"zwei"_s);
    const InstalledTranslator number("InfoPlist", "MWBuildVersion", u"zweitausend"_s);
    EXPECT_EQ(make(version + build + storeBuild).versionString(),
              u"zwei (zweitausend) Mac App Store Version"_s);
}

TEST_F(AboutPanel, IsNotMadeThatOfTheStoreByATranslation)
{
    const InstalledTranslator isDirectProperty("InfoPlist", "MWIsDirectVersion", u"NO"_s);
    EXPECT_EQ(make(version + build + storeBuild + isDirect).versionString(), u"2.1 (345)"_s);
    EXPECT_FALSE(panel->isMacAppStoreVersion());
    const InstalledTranslator number("InfoPlist", "MWBuildVersion", u"zweitausend"_s);
    const AboutPanelHost other;
    other.setProperties(version + build);
    EXPECT_EQ(MBWAboutPanel(other.bundle()).versionString(), u"2.1 (345)"_s);
    EXPECT_FALSE(MBWAboutPanel(other.bundle()).isMacAppStoreVersion());
}

TEST_F(AboutPanel, IsNotMadeTheDirectVersionByATranslation)
{
    const InstalledTranslator isDirectProperty("InfoPlist", "MWIsDirectVersion", u"YES"_s);
    EXPECT_TRUE(make(version + build + isNotDirect).isMacAppStoreVersion());
    const AboutPanelHost other;
    other.setProperties(version + build + storeBuild);
    EXPECT_EQ(MBWAboutPanel(other.bundle()).versionString(), u"2.1 (2101) Mac App Store Version"_s);
}

TEST_F(AboutPanel, PrintsNullForAMissingVersion)
{
    EXPECT_EQ(make(build).versionString(), u"(null) (345)"_s);
}

TEST_F(AboutPanel, PrintsNullForAMissingBuildNumber)
{
    EXPECT_EQ(make(version).versionString(), u"2.1 ((null))"_s);
}

TEST_F(AboutPanel, PrintsNullForBothWhereBothAreMissing)
{
    EXPECT_EQ(make(entry("CFBundleName", "Kite")).versionString(), u"(null) ((null))"_s);
}

TEST_F(AboutPanel, DoesNotTakeAVersionForAFormat)
{
    EXPECT_EQ(make(entry("CFBundleShortVersionString", "%@%1") + build).versionString(), u"%@%1 (345)"_s);
}

TEST_F(AboutPanel, PrintsNumbersThatArePropertiesAndNullForPropertiesOfAnotherType)
{
    EXPECT_EQ(make("<key>CFBundleShortVersionString</key><real>2.5</real>"
                   "<key>CFBundleVersion</key><integer>345</integer>")
                  .versionString(),
              u"2.5 (345)"_s);
    const AboutPanelHost other;
    other.setProperties("<key>CFBundleShortVersionString</key><array><string>2.1</string></array>"
                        "<key>CFBundleVersion</key><dict/>");
    EXPECT_EQ(MBWAboutPanel(other.bundle()).versionString(), u"(null) ((null))"_s);
}

TEST_F(AboutPanel, TakesATextOrANumberForTheAnswerWhetherItIsTheDirectVersion)
{
    const auto isStore = [](const QByteArray &value) {
        const AboutPanelHost other;
        other.setProperties(version + build + "<key>MWIsDirectVersion</key>" + value);
        return MBWAboutPanel(other.bundle()).isMacAppStoreVersion();
    };
    for (const char *yes : {"<string>YES</string>", "<string> true</string>", "<string>01</string>",
                            "<integer>1</integer>", "<integer>-3</integer>"})
        EXPECT_FALSE(isStore(yes)) << yes;
    for (const char *no : {"<string>NO</string>", "<string/>", "<string>0</string>", "<integer>0</integer>",
                           "<string>perhaps</string>"})
        EXPECT_TRUE(isStore(no)) << no;
}

TEST_F(AboutPanel, TakesAnAnswerOfAnotherTypeForMissing)
{
    EXPECT_FALSE(make(version + build + "<key>MWIsDirectVersion</key><array/>").isMacAppStoreVersion());
    const AboutPanelHost other;
    other.setProperties(version + build + storeBuild + "<key>MWIsDirectVersion</key><dict/>");
    EXPECT_EQ(MBWAboutPanel(other.bundle()).versionString(), u"2.1 (2101) Mac App Store Version"_s);
}

TEST_F(AboutPanel, PrintsNullForAStoreBuildNumberOfAnotherType)
{
    EXPECT_EQ(make(version + build + "<key>MWBuildVersion</key><array/>").versionString(),
              u"2.1 ((null)) Mac App Store Version"_s);
}

// Properties

TEST_F(AboutPanel, MergesTranslatedPropertiesOverTheOthers)
{
    const InstalledTranslator german("InfoPlist", "NSHumanReadableCopyright",
                                     u"© 2026 Ada. Alle Rechte vorbehalten."_s);
    make(version + entry("NSHumanReadableCopyright", "© 2026 Ada. All rights reserved.")
         + entry("Wind", "West"));
    const QVariantMap expected{{u"CFBundleShortVersionString"_s, u"2.1"_s},
                               {u"NSHumanReadableCopyright"_s, u"© 2026 Ada. Alle Rechte vorbehalten."_s},
                               {u"Wind"_s, u"West"_s}};
    EXPECT_EQ(panel->infoDictionary(), expected);
    EXPECT_EQ(host.bundle()->infoDictionary().value(u"NSHumanReadableCopyright"_s),
              u"© 2026 Ada. All rights reserved."_s);
}

TEST_F(AboutPanel, ReadsThePropertiesWhenItIsMadeAndNotAgain)
{
    make();
    const InstalledTranslator later("InfoPlist", "CFBundleShortVersionString", u"zwei"_s);
    panel->showWindow();
    EXPECT_EQ(panel->versionString(), u"2.1 (345)"_s);
    EXPECT_EQ(part<QLabel>(u"versionLabel"_s)->text(), u"2.1 (345)"_s);
}

TEST_F(AboutPanel, OfTheProcessIsAlwaysTheSame)
{
    EXPECT_EQ(MBWAboutPanel::sharedAboutPanel(), MBWAboutPanel::sharedAboutPanel());
    EXPECT_EQ(MBWAboutPanel::sharedAboutPanel()->windowNibName(), u"AboutPanel"_s);
    EXPECT_EQ(MBWAboutPanel::sharedAboutPanel()->infoDictionary(), NSBundle::mainBundle()->infoDictionary());
}

TEST_F(AboutPanel, ShowsNameVersionAndCopyright)
{
    show(version + build + entry("CFBundleName", "Kartograf")
         + entry("NSHumanReadableCopyright", "© 2026 Ada"));
    EXPECT_EQ(part<QLabel>(u"nameLabel"_s)->text(), u"Kartograf"_s);
    EXPECT_EQ(part<QLabel>(u"versionLabel"_s)->text(), u"2.1 (345)"_s);
    EXPECT_EQ(part<QLabel>(u"copyrightLabel"_s)->text(), u"© 2026 Ada"_s);
    EXPECT_EQ(panel->window()->windowTitle(), u"About Kartograf"_s);
}

TEST_F(AboutPanel, ShowsTheApplicationsOwnNameAndNoCopyrightWhereThePropertiesAreMissingOrOfAnotherType)
{
    show(version + build + "<key>CFBundleName</key><array/><key>NSHumanReadableCopyright</key><dict/>");
    EXPECT_EQ(part<QLabel>(u"nameLabel"_s)->text(), u"Cartographer"_s);
    EXPECT_TRUE(part<QLabel>(u"copyrightLabel"_s)->isHidden());
}

TEST_F(AboutPanel, ShowsWhatIsSetWhileItIsShown)
{
    show();
    panel->setVersionString(u"3.0 (400)"_s);
    panel->setInfoDictionary(
        {{u"CFBundleName"_s, u"Atlas"_s}, {u"MWWebSiteURL"_s, u"https://example.com/"_s}});
    EXPECT_EQ(part<QLabel>(u"versionLabel"_s)->text(), u"3.0 (400)"_s);
    EXPECT_EQ(part<QLabel>(u"nameLabel"_s)->text(), u"Atlas"_s);
    EXPECT_TRUE(part<QPushButton>(u"webSiteButton"_s)->isVisible());
    panel->setMacAppStoreVersion(true);
    EXPECT_TRUE(panel->isMacAppStoreVersion());
}

TEST_F(AboutPanel, ShowsTheApplicationsIconAsFineAsTheScreenAndNoneWhereThereIsNone)
{
    QPixmap red(256, 256);
    red.fill(Qt::red);
    QGuiApplication::setWindowIcon(red);
    show();
    const QPixmap shown = part<QLabel>(u"iconLabel"_s)->pixmap();
    EXPECT_EQ(shown.size(), QSize(64, 64) * panel->window()->devicePixelRatio());
    EXPECT_EQ(shown.deviceIndependentSize(), QSizeF(64, 64));
    EXPECT_EQ(shown.toImage().pixelColor(32, 32), QColor(Qt::red));
    QGuiApplication::setWindowIcon({});
    MBWAboutPanel other(host.bundle());
    EXPECT_TRUE(other.window()->findChild<QLabel *>(u"iconLabel"_s)->isHidden());
}

// The web site

TEST_F(AboutPanel, OpensTheWebSiteThatThePropertyNames)
{
    show(version + build + entry("MWWebSiteURL", "https://example.com/maps?a=b&amp;c=d"));
    const QUrl url(u"https://example.com/maps?a=b&c=d"_s);
    EXPECT_EQ(panel->webSiteURL(), url);
    QTest::mouseClick(part<QPushButton>(u"webSiteButton"_s), Qt::LeftButton);
    EXPECT_EQ(opened, QList<QUrl>{url});
    panel->openWebSiteURL();
    EXPECT_EQ(opened.size(), 2);
}

TEST_F(AboutPanel, HasNoWebSiteWhereThePropertyIsMissingOfAnotherTypeOrNoURL)
{
    for (const QByteArray &property :
         {QByteArray(), entry("MWWebSiteURL", ""), entry("MWWebSiteURL", "not a url"),
          entry("MWWebSiteURL", "https://exämple.com/"), QByteArray("<key>MWWebSiteURL</key><array/>"),
          QByteArray("<key>MWWebSiteURL</key><integer>7</integer>")}) {
        const AboutPanelHost other;
        other.setProperties(version + property);
        MBWAboutPanel about(other.bundle());
        EXPECT_EQ(about.webSiteURL(), std::nullopt) << property.toStdString();
        about.openWebSiteURL();
        EXPECT_TRUE(about.window()->findChild<QPushButton *>(u"webSiteButton"_s)->isHidden());
    }
    EXPECT_EQ(opened, QList<QUrl>());
}

TEST_F(AboutPanel, DoesNotOpenAnAddressThatTheWorkspaceRefusesAndHasNoButtonForIt)
{
    for (const char *address : {"file:///etc/passwd", "javascript:alert(1)", "example.com"}) {
        const AboutPanelHost other;
        other.setProperties(entry("MWWebSiteURL", address));
        MBWAboutPanel about(other.bundle());
        EXPECT_NE(about.webSiteURL(), std::nullopt) << address;
        about.openWebSiteURL();
        EXPECT_TRUE(about.window()->findChild<QPushButton *>(u"webSiteButton"_s)->isHidden()) << address;
    }
    EXPECT_EQ(opened, QList<QUrl>());
}

// The window

TEST_F(AboutPanel, IsClosedByEscapeWithWhateverFocus)
{
    host.writeResource(u"Credits.rtf"_s, "{\\rtf1 Thanks}");
    show(version + build + entry("MWWebSiteURL", "https://example.com/"));
    for (QWidget *const widget : {static_cast<QWidget *>(panel->creditsView()),
                                  static_cast<QWidget *>(part<QPushButton>(u"copyButton"_s)),
                                  static_cast<QWidget *>(part<QPushButton>(u"webSiteButton"_s))}) {
        panel->showWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(panel->window()));
        widget->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape, Qt::ShiftModifier);
        EXPECT_TRUE(panel->window()->isVisible());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        EXPECT_FALSE(panel->window()->isVisible()) << qPrintable(widget->objectName());
    }
}

TEST_F(AboutPanel, KeepsItsWindowAndCreditsWhenItIsClosedAndShownAgain)
{
    host.writeResource(u"Credits.rtf"_s, "{\\rtf1 Thanks}");
    show();
    const QWidget *const window = panel->window();
    panel->window()->close();
    EXPECT_FALSE(window->isVisible());
    host.writeResource(u"Credits.rtf"_s, "{\\rtf1 Other}");
    panel->showWindow();
    EXPECT_EQ(panel->window(), window);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(panel->creditsView()->toPlainText(), u"Thanks"_s);
}

TEST_F(AboutPanel, IsInTheMiddleOfTheScreen)
{
    show();
    const QPoint distance = panel->window()->geometry().center()
                            - panel->window()->screen()->availableGeometry().center();
    EXPECT_LE(distance.manhattanLength(), 2);
}

TEST_F(AboutPanel, HasNoViewBeforeItsWindowIsLoaded)
{
    make();
    EXPECT_EQ(panel->creditsView(), nullptr);
    EXPECT_FALSE(panel->isWindowLoaded());
    panel->window();
    EXPECT_NE(panel->creditsView(), nullptr);
}

TEST_F(AboutPanel, IsUsedByTheKeyboardAlone)
{
    host.writeResource(u"Credits.rtf"_s, "{\\rtf1 Thanks}");
    show(version + build + entry("MWWebSiteURL", "https://example.com/"));
    panel->creditsView()->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), part<QPushButton>(u"copyButton"_s));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), part<QPushButton>(u"webSiteButton"_s));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    EXPECT_EQ(opened, QList<QUrl>{QUrl(u"https://example.com/"_s)});
}

TEST_F(AboutPanel, NamesItsPartsForAScreenReader)
{
    make();
    panel->window();
    EXPECT_EQ(panel->creditsView()->accessibleName(), u"Credits"_s);
    EXPECT_EQ(part<QPushButton>(u"copyButton"_s)->accessibleName(), u"Copy Version"_s);
    EXPECT_EQ(part<QPushButton>(u"webSiteButton"_s)->accessibleName(), u"Web Site"_s);
}

TEST_F(AboutPanel, CopiesNameVersionAndSystem)
{
    show(version + build + entry("CFBundleName", "Kartograf"));
    QTest::mouseClick(part<QPushButton>(u"copyButton"_s), Qt::LeftButton);
    const QStringList lines = QGuiApplication::clipboard()->text().split(u'\n');
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0], u"Kartograf 2.1 (345)"_s);
    EXPECT_EQ(lines[1],
              u"Qt "_s + QString::fromLatin1(qVersion()) + u", "_s + QGuiApplication::platformName());
    EXPECT_TRUE(lines[2].startsWith(QSysInfo::prettyProductName() + u", linux "_s)) << qPrintable(lines[2]);
    EXPECT_TRUE(lines[2].endsWith(QSysInfo::currentCpuArchitecture())) << qPrintable(lines[2]);
}
