#include "Tests/SoftwareUpdate/UpdatePanelTest.h"

#include <QLineEdit>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

using UpdatePanelFront = UpdatePanelTest;

QColor colorOnScreen(const QPoint &place)
{
    const QPixmap pixel = QGuiApplication::primaryScreen()->grabWindow(0, place.x(), place.y(), 1, 1);
    return pixel.toImage().pixelColor(0, 0);
}

} // namespace

TEST_F(UpdatePanelFront, ComesToTheFrontAndLeavesTheKeyboardWhereItWas)
{
    if (QGuiApplication::platformName() != u"xcb")
        GTEST_SKIP()
            << "This window system gives the keyboard to each new window, and draws no stack of them.";
    QLineEdit field;
    field.setGeometry(field.screen()->availableGeometry());
    field.show();
    field.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&field));
    field.setFocus();

    showNotes(
        {u"<input autofocus><script>document.querySelector('input').focus(); window.focus()</script>"_s});
    QTest::qWait(300); // for a window manager to change its mind
    EXPECT_TRUE(field.isActiveWindow());
    EXPECT_EQ(QApplication::focusWidget(), &field);
    QTest::keyClicks(QApplication::focusWidget(), u"typed"_s);
    EXPECT_EQ(field.text(), u"typed"_s);
    EXPECT_EQ(colorOnScreen(panel.window()->geometry().topLeft() + QPoint(5, 5)),
              panel.window()->palette().color(QPalette::Window));
}
