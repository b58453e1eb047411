#include "Tests/Panels/AboutPanelHost.h"
#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/UnprivilegedChild.h"
#include "Tests/Support/WindowLooks.h"

#include <Marblewick/MBWAboutPanel.h>
#include <Marblewick/NSWorkspace.h>

#include <gtest/gtest.h>

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QStyleFactory>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>

#include <functional>
#include <optional>
#include <sys/stat.h>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

const QColor lightText(230, 230, 230);

QPalette darkPalette()
{
    QPalette palette(QColor(50, 50, 50));
    palette.setColor(QPalette::Base, QColor(30, 30, 30));
    palette.setColor(QPalette::Text, lightText);
    palette.setColor(QPalette::Link, QColor(120, 180, 255));
    return palette;
}

class AboutPanelCredits : public ::testing::Test
{
protected:
    AboutPanelCredits()
    {
        QApplication::setStyle(QStyleFactory::create(u"Fusion"_s)); // whose palette can be changed
        NSWorkspace::sharedWorkspace()->setURLOpener([this](const QUrl &url) {
            opened.append(url);
            return true;
        });
    }

    void writeCredits(const QByteArray &contents, const QString &name = u"Credits.rtf"_s) const
    {
        host.writeResource(name, "{\\rtf1\\ansi " + contents + '}');
    }

    QTextBrowser *show()
    {
        panel.emplace(host.bundle()).showWindow();
        EXPECT_TRUE(waitForPictureWithCredits(*panel));
        return panel->creditsView();
    }

    QString shownText() { return show()->toPlainText(); }

    /*! The text that would be shown, and that loading it reports nothing. */
    QString silentlyLoadedText()
    {
        const CapturedStandardError log;
        panel.emplace(host.bundle()).window();
        EXPECT_EQ(log.text(), QString());
        return panel->creditsView()->toPlainText();
    }

    /*! Where a character is in the view. */
    QPoint placeOf(int position) const
    {
        QTextCursor cursor(panel->creditsView()->document());
        cursor.setPosition(position);
        const QRect left = panel->creditsView()->cursorRect(cursor);
        cursor.setPosition(position + 1);
        return (left | panel->creditsView()->cursorRect(cursor)).center();
    }

    /*! The colour that is seen there. */
    QColor colorOf(int position) const
    {
        const QImage picture = panel->creditsView()->viewport()->grab().toImage();
        return picture.pixelColor(placeOf(position) * picture.devicePixelRatio());
    }

    const AboutPanelHost host;
    QList<QUrl> opened; ///< what the desktop was asked to open
    std::optional<MBWAboutPanel> panel;
};

/*! Four blocks, which fill the place of a character with its colour: black, nearly black, green, none given.
 */
const char *const coloredBlocks =
    R"({\colortbl;\red0\green0\blue0;\red1\green0\blue0;\red0\green160\blue0;}\fs80)"
    R"({\cf1\u9608 ?}{\cf2\u9608 ?}{\cf3\u9608 ?}{\u9608 ?})";

} // namespace

// Which file

TEST_F(AboutPanelCredits, AreTheHostsResourceCredits)
{
    writeCredits("Thanks");
    writeCredits("Store", u"MAS-Credits.rtf"_s);
    EXPECT_EQ(shownText(), u"Thanks"_s);
}

TEST_F(AboutPanelCredits, AreThoseOfTheStoreWhereThereAreNoOthers)
{
    writeCredits("Store", u"MAS-Credits.rtf"_s);
    EXPECT_EQ(shownText(), u"Store"_s);
}

TEST_F(AboutPanelCredits, DoNotDependOnTheVersionThatTheHostIs)
{
    host.setProperties("<key>MWIsDirectVersion</key><false/>");
    writeCredits("Thanks");
    writeCredits("Store", u"MAS-Credits.rtf"_s);
    EXPECT_EQ(shownText(), u"Thanks"_s);
    EXPECT_TRUE(panel->isMacAppStoreVersion());
}

TEST_F(AboutPanelCredits, AreEmptyWithoutAResource)
{
    EXPECT_EQ(silentlyLoadedText(), QString());
    EXPECT_TRUE(panel->creditsView()->isHidden());
}

TEST_F(AboutPanelCredits, AreEmptyWhereTheFileMayNotBeReadAndTheOtherIsNotTakenForIt)
{
    writeCredits("Thanks");
    writeCredits("Store", u"MAS-Credits.rtf"_s);
    ASSERT_EQ(::chmod(host.path(u"Credits.rtf"_s).toUtf8().constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(host.folder(), [&] {
        const CapturedStandardError log;
        MBWAboutPanel about(host.bundle());
        about.window();
        return about.creditsView()->toPlainText().isEmpty() && log.text().isEmpty();
    }));
}

TEST_F(AboutPanelCredits, AreEmptyWhereTheFileIsNoRichText)
{
    for (const QByteArray &contents :
         {QByteArray(), QByteArray("Thanks"), QByteArray("\x89PNG\r\n\0\xff", 8)}) {
        host.writeResource(u"Credits.rtf"_s, contents);
        EXPECT_EQ(silentlyLoadedText(), QString()) << contents.toStdString();
    }
}

TEST_F(AboutPanelCredits, AreEmptyForAMegabyteOfOpenBraces)
{
    writeCredits(QByteArray(1'000'000, '{'));
    EXPECT_EQ(shownText(), QString());
}

TEST_F(AboutPanelCredits, ShowTheTextAroundAPictureAndAnObject)
{
    writeCredits(R"(a{\pict\pngblip 8950}b{\object{\*\objdata 01}{\result x}}c\u99999 ?\u-40000 ?)");
    EXPECT_EQ(shownText(), u"abc\ufffd\ufffd"_s);
}

// How they look

TEST_F(AboutPanelCredits, AreInsetByTenPoints)
{
    writeCredits("Thanks");
    show();
    EXPECT_EQ(panel->creditsView()->document()->documentMargin(), 10);
    const QPointF corner = panel->creditsView()
                               ->document()
                               ->documentLayout()
                               ->blockBoundingRect(panel->creditsView()->document()->firstBlock())
                               .topLeft();
    EXPECT_EQ(corner, QPointF(10, 10));
}

TEST_F(AboutPanelCredits, BlackTextHasThePalettesTextColorAndOtherColorsStay)
{
    writeCredits(coloredBlocks);
    QApplication::setPalette(darkPalette());
    show();
    EXPECT_EQ(colorOf(0), lightText);
    EXPECT_EQ(colorOf(1), QColor(1, 0, 0));
    EXPECT_EQ(colorOf(2), QColor(0, 160, 0));
    EXPECT_EQ(colorOf(3), lightText);
}

TEST_F(AboutPanelCredits, BlackTextFollowsThePaletteWhileItIsShown)
{
    QPalette light(Qt::white);
    light.setColor(QPalette::Text, QColor(20, 20, 40));
    QApplication::setPalette(light);
    writeCredits(coloredBlocks);
    show();
    EXPECT_EQ(colorOf(0), QColor(20, 20, 40));
    QApplication::setPalette(darkPalette());
    EXPECT_TRUE(QTest::qWaitFor([&] { return colorOf(0) == lightText; }));
    EXPECT_EQ(colorOf(2), QColor(0, 160, 0));
}

TEST_F(AboutPanelCredits, AreOnTheBackgroundOfTextWhichFollowsThePalette)
{
    writeCredits("Thanks");
    QApplication::setPalette(darkPalette());
    show();
    EXPECT_EQ(panel->creditsView()->viewport()->grab().toImage().pixelColor(3, 3), QColor(30, 30, 30));
    QApplication::setPalette(QPalette(Qt::white));
    EXPECT_TRUE(QTest::qWaitFor([&] {
        return panel->creditsView()->viewport()->grab().toImage().pixelColor(3, 3)
               == QApplication::palette().color(QPalette::Base);
    }));
}

namespace {

/*! Notes, at each picture of a view, whether the text was in it. */
class Pictures : public QObject
{
public:
    explicit Pictures(QTextBrowser *view)
        : m_view(view)
    {
        view->viewport()->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            withText.push_back(m_view->document()->pageSize().width() > 0);
            if (withText.size() == 1)
                QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::HighEventPriority);
        }
        return QObject::eventFilter(watched, event);
    }

    bool event(QEvent *event) override
    {
        if (event->type() == QEvent::User && afterTheFirst)
            afterTheFirst();
        return QObject::event(event);
    }

    std::vector<bool> withText;
    /*! What to do once the first picture is drawn, before anything else that waits for that. */
    std::function<void()> afterTheFirst;

private:
    const QTextBrowser *const m_view;
};

} // namespace

TEST_F(AboutPanelCredits, AreInTheViewAtOnceAndDrawnRightAfterTheWindowsFirstPictureWhichNeedNotWaitForFonts)
{
    writeCredits(R"(\fs80\u9608 ?)");
    panel.emplace(host.bundle()).window();
    EXPECT_EQ(panel->creditsView()->toPlainText(), u"\u2588"_s);
    const Pictures pictures(panel->creditsView());
    panel->showWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !pictures.withText.empty() && pictures.withText.back(); }));
    EXPECT_FALSE(pictures.withText.front());
    EXPECT_EQ(colorOf(0), QApplication::palette().color(QPalette::Text));
}

TEST_F(AboutPanelCredits, AreNotDrawnWhereThePanelIsDestroyedRightAfterItsFirstPicture)
{
    writeCredits("Thanks");
    panel.emplace(host.bundle()).window();
    Pictures pictures(panel->creditsView());
    pictures.afterTheFirst = [&] { panel.reset(); };
    panel->showWindow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !panel; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(pictures.withText, std::vector{false});
}

TEST_F(AboutPanelCredits, AreDrawnWhereThePanelIsHiddenRightAfterItsFirstPictureAndShownAgain)
{
    writeCredits(R"(\fs80\u9608 ?)");
    panel.emplace(host.bundle()).window();
    Pictures pictures(panel->creditsView());
    pictures.afterTheFirst = [&] { panel->window()->hide(); };
    panel->showWindow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel->window()->isHidden(); }));
    EXPECT_EQ(pictures.withText, std::vector{false});
    panel->showWindow();
    ASSERT_TRUE(QTest::qWaitFor([&] { return pictures.withText.back(); }));
    EXPECT_EQ(colorOf(0), QApplication::palette().color(QPalette::Text));
}

TEST_F(AboutPanelCredits, CanBeCopiedBeforeTheyAreDrawn)
{
    writeCredits("Thanks");
    panel.emplace(host.bundle()).window();
    QTest::keySequence(panel->creditsView(), QKeySequence::SelectAll);
    QTest::keySequence(panel->creditsView(), QKeySequence::Copy);
    EXPECT_LE(panel->creditsView()->document()->pageSize().width(), 0);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"Thanks"_s);
}

TEST_F(AboutPanelCredits, FitTheViewWhereTheWindowIsResizedBeforeTheirFirstPicture)
{
    writeCredits("Thanks to " + QByteArray("everybody ").repeated(100));
    panel.emplace(host.bundle()).showWindow();
    panel->window()->resize(700, 500);
    ASSERT_TRUE(waitForPictureWithCredits(*panel));
    const QTextBrowser *const view = panel->creditsView();
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return view->document()->pageSize().width() == view->viewport()->width(); }));
    EXPECT_GT(view->viewport()->width(), 600);
}

TEST_F(AboutPanelCredits, HaveLinksInThePalettesColorAndKeepTheirPlaceWhenItChanges)
{
    writeCredits("\\fs80{\\field{\\*\\fldinst{HYPERLINK \"https://example.com/\"}}{\\fldrslt\\u9608 ?}}"
                 + QByteArray("\\par line").repeated(100));
    show();
    QScrollBar *const scrollBar = panel->creditsView()->verticalScrollBar();
    ASSERT_GT(scrollBar->maximum(), 300);
    scrollBar->setValue(3);
    QApplication::setPalette(darkPalette());
    EXPECT_TRUE(QTest::qWaitFor([&] { return colorOf(0) == QColor(120, 180, 255); }));
    EXPECT_EQ(scrollBar->value(), 3);
}

TEST_F(AboutPanelCredits, HaveLinksInTheColorOfTextWhereThePalettesIsHardToTellFromTheBackground)
{
    writeCredits(R"(\fs80{\field{\*\fldinst{HYPERLINK "https://example.com/"}}{\fldrslt\u9608 ?}})");
    QPalette palette = darkPalette();
    palette.setColor(QPalette::Link, Qt::blue);
    QApplication::setPalette(palette);
    show();
    EXPECT_EQ(colorOf(0), lightText);
}

TEST_F(AboutPanelCredits, HaveLinksInThePalettesColorFromADifferenceOf80LevelsOfGrayOn)
{
    writeCredits(R"(\fs80{\field{\*\fldinst{HYPERLINK "https://example.com/"}}{\fldrslt\u9608 ?}})");
    QPalette palette = darkPalette(); // whose background has the level 30
    const auto isSeenIn = [&](const QColor &seen, const QColor &link) {
        palette.setColor(QPalette::Link, link);
        QApplication::setPalette(palette);
        return QTest::qWaitFor([&] { return colorOf(0) == seen; });
    };
    show();
    EXPECT_TRUE(isSeenIn(lightText, QColor(109, 109, 109)));
    const QColor darkest(110, 110, 110);
    EXPECT_TRUE(isSeenIn(darkest, darkest));
    EXPECT_GE(contrast(darkest, palette.color(QPalette::Base)), 3);

    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    EXPECT_TRUE(isSeenIn(Qt::black, QColor(176, 176, 176)));
    const QColor palest(175, 175, 175);
    EXPECT_TRUE(isSeenIn(palest, palest));
}

// What they do

TEST_F(AboutPanelCredits, OpenALinkThatIsClicked)
{
    writeCredits(R"(\fs80{\field{\*\fldinst{HYPERLINK "https://example.com/%C3%A4"}}{\fldrslt site}})");
    show();
    QTest::mouseClick(panel->creditsView()->viewport(), Qt::LeftButton, {}, placeOf(1));
    EXPECT_EQ(opened, QList<QUrl>{QUrl(u"https://example.com/%C3%A4"_s)});
    EXPECT_EQ(panel->creditsView()->toPlainText(), u"site"_s);
}

TEST_F(AboutPanelCredits, OpenALinkByTheKeyboard)
{
    writeCredits(R"(see {\field{\*\fldinst{HYPERLINK "https://example.com/"}}{\fldrslt site}})");
    show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel->window()));
    panel->creditsView()->setFocus();
    QTest::keyClick(panel->creditsView(), Qt::Key_Tab);
    QTest::keyClick(panel->creditsView(), Qt::Key_Return);
    EXPECT_EQ(opened, QList<QUrl>{QUrl(u"https://example.com/"_s)});
}

TEST_F(AboutPanelCredits, DoNotOpenALinkThatTheWorkspaceRefuses)
{
    writeCredits(R"(\fs80{\field{\*\fldinst{HYPERLINK "file:///etc/passwd"}}{\fldrslt site}})");
    show();
    QTest::mouseClick(panel->creditsView()->viewport(), Qt::LeftButton, {}, placeOf(1));
    EXPECT_EQ(opened, QList<QUrl>());
    EXPECT_EQ(panel->creditsView()->toPlainText(), u"site"_s);
}

TEST_F(AboutPanelCredits, CanBeCopiedButNotChanged)
{
    writeCredits("Thanks");
    show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel->window()));
    panel->creditsView()->setFocus();
    QTest::keyClicks(panel->creditsView(), u"x"_s);
    QTest::keySequence(panel->creditsView(), QKeySequence::SelectAll);
    QTest::keySequence(panel->creditsView(), QKeySequence::Copy);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), u"Thanks"_s);
    EXPECT_EQ(panel->creditsView()->toPlainText(), u"Thanks"_s);
}
