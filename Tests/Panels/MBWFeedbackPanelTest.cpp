#include <Marblewick/MBWFeedbackPanel.h>

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

int alphaOf(MBWFeedbackPanel &panel, const QPoint &point)
{
    return panel.grab().toImage().pixelColor(point).alpha();
}

} // namespace

TEST(FeedbackPanelWindow, IsBorderlessClearFloatingAndMovableWhateverStyleIsAskedFor)
{
    for (const Qt::WindowFlags style :
         {Qt::WindowFlags(), Qt::WindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
          Qt::WindowFlags(Qt::Widget), Qt::WindowFlags(Qt::WindowStaysOnBottomHint)}) {
        MBWFeedbackPanel panel(QRect(40, 50, 200, 100), style);
        EXPECT_TRUE(panel.isWindow());
        EXPECT_TRUE(panel.windowFlags().testFlag(Qt::FramelessWindowHint));
        EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        EXPECT_FALSE(panel.windowFlags().testFlag(Qt::WindowTitleHint));
        EXPECT_FALSE(panel.windowFlags().testFlag(Qt::WindowStaysOnBottomHint));
        EXPECT_TRUE(panel.testAttribute(Qt::WA_TranslucentBackground));
        EXPECT_EQ(alphaOf(panel, QPoint(100, 50)), 0) << "something is drawn behind the contents";
        EXPECT_EQ(panel.geometry(), QRect(40, 50, 200, 100));
    }
}

TEST(FeedbackPanelWindow, DrawsItsContentsAsOpaqueAsItsAlphaValueSays)
{
    MBWFeedbackPanel panel(QRect(0, 0, 100, 50));
    QWidget contents(&panel);
    contents.setGeometry(panel.rect());
    contents.setAutoFillBackground(true);
    EXPECT_EQ(panel.alphaValue(), 1);
    EXPECT_EQ(alphaOf(panel, QPoint(50, 25)), 255);
    panel.setAlphaValue(0.6);
    EXPECT_EQ(panel.alphaValue(), 0.6);
    EXPECT_NEAR(alphaOf(panel, QPoint(50, 25)), 153, 1);
    panel.setAlphaValue(0);
    EXPECT_EQ(alphaOf(panel, QPoint(50, 25)), 0);
    panel.setAlphaValue(1);
    EXPECT_EQ(alphaOf(panel, QPoint(50, 25)), 255);
}

TEST(FeedbackPanelWindow, KeepsItsAlphaValueBetweenZeroAndOne)
{
    MBWFeedbackPanel panel;
    panel.setAlphaValue(7);
    EXPECT_EQ(panel.alphaValue(), 1);
    panel.setAlphaValue(-1);
    EXPECT_EQ(panel.alphaValue(), 0);
}

TEST(FeedbackPanelWindow, IsMovedByDraggingItsBackgroundAlsoWhereALabelLiesOnIt)
{
    MBWFeedbackPanel panel(QRect(40, 50, 200, 100));
    QLabel label(u"text"_s, &panel);
    label.setGeometry(0, 50, 200, 50);
    panel.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
    QPoint expected = panel.pos();
    for (QWidget *const pressed : {static_cast<QWidget *>(&panel), static_cast<QWidget *>(&label)}) {
        QTest::mousePress(pressed, Qt::LeftButton, {}, QPoint(10, 10));
        // The window follows the mouse, so the mouse is where it was pressed again after each step.
        QTest::mouseMove(pressed, QPoint(17, 5));
        QTest::mouseMove(pressed, QPoint(13, 12));
        QTest::mouseRelease(pressed, Qt::LeftButton, {}, QPoint(10, 10));
        expected += QPoint(7, -5) + QPoint(3, 2);
        EXPECT_EQ(panel.pos(), expected);
        QTest::mouseMove(pressed, QPoint(60, 60));
        EXPECT_EQ(panel.pos(), expected) << "it follows the mouse after it was let go";
    }
}

TEST(FeedbackPanelWindow, IsMovedByTheLeftButtonOnly)
{
    MBWFeedbackPanel panel(QRect(40, 50, 200, 100));
    panel.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
    const QPoint place = panel.pos();
    QTest::mousePress(&panel, Qt::RightButton, {}, QPoint(10, 10));
    QTest::mouseMove(&panel, QPoint(30, 30));
    EXPECT_EQ(panel.pos(), place);
}
