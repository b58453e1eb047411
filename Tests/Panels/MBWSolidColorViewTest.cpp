#include <Marblewick/MBWSolidColorView.h>

#include "Tests/Support/QtPrinters.h"
#include "ui_SolidColorView.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QScreen>
#include <QTest>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

const QColor beneath(10, 20, 30);
const QPoint inside(20, 20);

/*! A window of one colour in which a view lies. */
class SolidColorView : public ::testing::Test
{
protected:
    SolidColorView()
    {
        window.resize(60, 40);
        QPalette palette;
        palette.setColor(QPalette::Window, beneath);
        window.setPalette(palette);
    }

    /*! What the window looks like once it is drawn anew. */
    QColor redrawn(const QPoint &point = inside) { return window.grab().toImage().pixelColor(point); }
    /*! What is on the screen. */
    QColor onScreen() const
    {
        return window.screen()->grabWindow(window.winId()).toImage().pixelColor(inside);
    }

    QWidget window;
};

} // namespace

TEST_F(SolidColorView, OneThatIsMadeInCodeIsWhite)
{
    const MBWSolidColorView view(QRect(5, 5, 50, 30), &window);
    double white = 0;
    view.backgroundColor()->getRed(&white, nullptr, nullptr, nullptr);
    EXPECT_EQ(white, 1);
    EXPECT_EQ(view.geometry(), QRect(5, 5, 50, 30));
    EXPECT_EQ(redrawn(), QColor(Qt::white));
}

TEST_F(SolidColorView, FillsItsWholeBoundsAndNothingElse)
{
    const MBWSolidColorView view(QRect(5, 5, 50, 30), &window);
    EXPECT_EQ(redrawn(QPoint(5, 5)), QColor(Qt::white));
    EXPECT_EQ(redrawn(QPoint(54, 34)), QColor(Qt::white));
    EXPECT_EQ(redrawn(QPoint(4, 5)), beneath);
    EXPECT_EQ(redrawn(QPoint(55, 34)), beneath);
}

TEST_F(SolidColorView, OneThatIsLoadedFromALayoutHasNoColourAndDrawsNothingUntilItGetsOne)
{
    Ui::SolidColorView ui;
    ui.setupUi(&window);
    window.resize(60, 40);
    EXPECT_FALSE(ui.view->backgroundColor());
    EXPECT_EQ(redrawn(), beneath);
    ui.view->setBackgroundColor(NSColor::whiteColor());
    EXPECT_EQ(redrawn(), QColor(Qt::white));
}

TEST_F(SolidColorView, ANewColourIsShownOnlyOnceTheViewIsRedrawn)
{
    MBWSolidColorView view(window.rect(), &window);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    ASSERT_TRUE(QTest::qWaitFor([&] { return onScreen() == Qt::white; }));
    view.setBackgroundColor(NSColor::colorWithDeviceRed(1, 0, 0));
    QApplication::processEvents();
    EXPECT_EQ(onScreen(), QColor(Qt::white));
    view.update();
    EXPECT_TRUE(QTest::qWaitFor([&] { return onScreen() == Qt::red; }));
}

TEST_F(SolidColorView, WithoutAColourItStopsTheFillAtTheNextRedraw)
{
    MBWSolidColorView view(window.rect(), &window);
    EXPECT_EQ(redrawn(), QColor(Qt::white));
    view.setBackgroundColor(std::nullopt);
    EXPECT_FALSE(view.backgroundColor());
    EXPECT_EQ(redrawn(), beneath);
}

TEST_F(SolidColorView, StoresACopyOfItsColour)
{
    MBWSolidColorView view(window.rect(), &window);
    NSColor color = NSColor::colorWithDeviceRed(0, 0, 1);
    view.setBackgroundColor(color);
    color = NSColor::blackColor();
    EXPECT_EQ(redrawn(), QColor(Qt::blue));
}

TEST_F(SolidColorView, ATranslucentColourReplacesWhatLiesBeneathInsteadOfBlending)
{
    window.setAttribute(Qt::WA_TranslucentBackground);
    QWidget opaque(&window);
    opaque.setGeometry(window.rect());
    opaque.setAutoFillBackground(true);
    MBWSolidColorView view(window.rect(), &opaque);
    view.setBackgroundColor(NSColor::colorWithDeviceRed(1, 0, 0, 0.2));
    EXPECT_EQ(redrawn().alpha(), 51);
    EXPECT_EQ(redrawn().red(), 255);
    EXPECT_EQ(redrawn().green(), 0);
    view.setBackgroundColor(NSColor::clearColor());
    EXPECT_EQ(redrawn().alpha(), 0);
}

TEST_F(SolidColorView, ACatalogueColourFollowsThePalette)
{
    MBWSolidColorView view(window.rect(), &window);
    view.setBackgroundColor(NSColor::textBackgroundColor());
    for (const QColor &base : {QColor(250, 240, 230), QColor(35, 34, 33)}) {
        QPalette palette;
        palette.setColor(QPalette::Base, base);
        QApplication::setPalette(palette);
        EXPECT_EQ(redrawn(), base);
    }
}

TEST_F(SolidColorView, APatternIsRepeatedOverTheView)
{
    QImage image(2, 1, QImage::Format_RGB32);
    image.setPixelColor(0, 0, Qt::red);
    image.setPixelColor(1, 0, Qt::blue);
    MBWSolidColorView view(window.rect(), &window);
    view.setBackgroundColor(NSColor::colorWithPatternImage(image));
    EXPECT_EQ(redrawn(QPoint(0, 0)), QColor(Qt::red));
    EXPECT_EQ(redrawn(QPoint(21, 20)), QColor(Qt::blue));
    EXPECT_EQ(redrawn(QPoint(58, 39)), QColor(Qt::red));
}
