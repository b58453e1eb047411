#include <Marblewick/NSWindowController.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

class LabelController : public NSWindowController
{
public:
    LabelController()
        : NSWindowController(u"Label"_s)
    { }

    int loads = 0;
    int setUps = 0;

protected:
    QWidget *loadWindow() override
    {
        ++loads;
        return new QLabel;
    }
    void windowDidLoad() override
    {
        EXPECT_TRUE(isWindowLoaded());
        ++setUps;
    }
};

} // namespace

TEST(NSWindowController, MakesItsWindowOnceWhenItIsFirstAskedFor)
{
    LabelController controller;
    EXPECT_EQ(controller.windowNibName(), u"Label"_s);
    EXPECT_FALSE(controller.isWindowLoaded());
    QWidget *const window = controller.window();
    EXPECT_TRUE(controller.isWindowLoaded());
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(controller.window(), window);
    EXPECT_EQ(controller.loads, 1);
    EXPECT_EQ(controller.setUps, 1);
}

TEST(NSWindowController, ShowsItsWindow)
{
    LabelController controller;
    controller.showWindow();
    EXPECT_TRUE(controller.window()->isVisible());
}

TEST(NSWindowController, RestoresItsWindowWhereTheUserMinimizedIt)
{
    LabelController controller;
    for (const Qt::WindowStates state : {Qt::WindowStates(), Qt::WindowStates(Qt::WindowMaximized)}) {
        controller.window()->setWindowState(state);
        controller.showWindow();
        controller.window()->setWindowState(state | Qt::WindowMinimized);
        controller.showWindow();
        EXPECT_TRUE(controller.window()->isVisible());
        EXPECT_EQ(controller.window()->windowState(), state);
    }
}

TEST(NSWindowController, OwnsItsWindow)
{
    QPointer<QWidget> window;
    {
        LabelController controller;
        window = controller.window();
    }
    EXPECT_TRUE(window.isNull());
}

TEST(NSWindowController, ClosingItsWindowDoesNotEndAHostWithoutOtherWindows)
{
    LabelController controller;
    controller.showWindow();
    QTimer::singleShot(0, qApp, [&] {
        controller.window()->close();
        // Were the host to quit for the closed window, it would do so before this.
        QTimer::singleShot(50, qApp, [] { QApplication::exit(5); });
    });
    EXPECT_EQ(QApplication::exec(), 5);
}
