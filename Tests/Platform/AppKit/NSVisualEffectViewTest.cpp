#include <Marblewick/NSVisualEffectView.h>

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <QPainter>

using namespace Marblewick;

namespace {

const QColor windowColor(200, 210, 220);
const QColor outlineColor(100, 110, 120);

class VisualEffectView : public ::testing::Test
{
protected:
    VisualEffectView()
    {
        view.setAttribute(Qt::WA_TranslucentBackground);
        view.resize(40, 20);
        QPalette palette;
        palette.setColor(QPalette::Window, windowColor);
        palette.setColor(QPalette::Mid, outlineColor);
        view.setPalette(palette);
    }

    QColor drawn(int x, int y) { return view.grab().toImage().pixelColor(x, y); }

    NSVisualEffectView view;
};

} // namespace

TEST_F(VisualEffectView, IsTheWholeViewWithAnOutlineWhereThereIsNoMask)
{
    EXPECT_EQ(drawn(20, 10), windowColor);
    EXPECT_EQ(drawn(0, 0), outlineColor);
    EXPECT_EQ(drawn(39, 19), outlineColor);
}

TEST_F(VisualEffectView, IsDrawnWhereTheMaskIsOpaque)
{
    QImage mask(40, 20, QImage::Format_ARGB32_Premultiplied);
    mask.fill(Qt::transparent);
    QPainter(&mask).fillRect(0, 0, 20, 20, Qt::black);
    view.setMaskImage(mask);
    EXPECT_EQ(view.maskImage(), mask);
    EXPECT_EQ(drawn(10, 10), windowColor);
    EXPECT_EQ(drawn(30, 10).alpha(), 0);
}

TEST_F(VisualEffectView, StretchesTheMaskOverTheView)
{
    QImage mask(2, 1, QImage::Format_ARGB32_Premultiplied);
    mask.fill(Qt::transparent);
    mask.setPixelColor(0, 0, Qt::black);
    view.setMaskImage(mask);
    EXPECT_EQ(drawn(5, 10), windowColor);
    EXPECT_EQ(drawn(35, 10).alpha(), 0);
}
