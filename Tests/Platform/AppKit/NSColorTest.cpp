#include <Marblewick/NSColor.h>

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPalette>

#include <array>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

using Components = std::array<double, 4>;

Components components(const NSColor &color)
{
    Components values{-1, -1, -1, -1};
    color.getRed(&values[0], &values[1], &values[2], &values[3]);
    return values;
}

QColor shown(const QString &name) { return NSColor::colorNamed(name)->brush().color(); }

NSColor pattern()
{
    QImage image(2, 2, QImage::Format_ARGB32);
    image.fill(Qt::red);
    return NSColor::colorWithPatternImage(image);
}

} // namespace

TEST(NSColor, KeepsItsComponentsAsTheDoublesTheyAre)
{
    EXPECT_EQ(components(NSColor::colorWithDeviceRed(0.0015, 1.0 / 3, 2, -1)),
              (Components{0.0015, 1.0 / 3, 2, -1}));
    EXPECT_EQ(components(NSColor::colorWithDeviceRed(0.1, 0.2, 0.3)), (Components{0.1, 0.2, 0.3, 1}));
}

TEST(NSColor, WhiteBlackAndClearAreMadeOfComponents)
{
    EXPECT_EQ(components(NSColor::whiteColor()), (Components{1, 1, 1, 1}));
    EXPECT_EQ(components(NSColor::blackColor()), (Components{0, 0, 0, 1}));
    EXPECT_EQ(components(NSColor::clearColor()), (Components{0, 0, 0, 0}));
    EXPECT_EQ(NSColor::whiteColor().type(), NSColorType::ComponentBased);
}

TEST(NSColor, TypesAreNumberedComponentsPatternCatalogue)
{
    EXPECT_EQ(static_cast<int>(NSColor::blackColor().type()), 0);
    EXPECT_EQ(static_cast<int>(pattern().type()), 1);
    EXPECT_EQ(static_cast<int>(NSColor::textColor().type()), 2);
}

TEST(NSColor, OnlyACatalogueColourHasAName)
{
    EXPECT_EQ(NSColor::textColor().catalogNameComponent(), u"textColor"_s);
    EXPECT_EQ(NSColor::textBackgroundColor().catalogNameComponent(), u"textBackgroundColor"_s);
    EXPECT_EQ(NSColor::blackColor().catalogNameComponent(), QString());
    EXPECT_EQ(pattern().catalogNameComponent(), QString());
}

TEST(NSColor, TheCatalogueHasNoOtherNames)
{
    EXPECT_FALSE(NSColor::colorNamed(u"mauve"_s));
    EXPECT_FALSE(NSColor::colorNamed(u"TextColor"_s));
    EXPECT_FALSE(NSColor::colorNamed(QString()));
}

TEST(NSColor, EachNameOfTheCatalogueStandsForARoleOfThePalette)
{
    QPalette palette;
    const std::array<std::pair<QString, QPalette::ColorRole>, 10> roles{{
        {u"textColor"_s, QPalette::Text},
        {u"textBackgroundColor"_s, QPalette::Base},
        {u"selectedTextColor"_s, QPalette::HighlightedText},
        {u"selectedTextBackgroundColor"_s, QPalette::Highlight},
        {u"placeholderTextColor"_s, QPalette::PlaceholderText},
        {u"linkColor"_s, QPalette::Link},
        {u"labelColor"_s, QPalette::WindowText},
        {u"windowBackgroundColor"_s, QPalette::Window},
        {u"controlTextColor"_s, QPalette::ButtonText},
        {u"controlColor"_s, QPalette::Button},
    }};
    for (int i = 0; i < static_cast<int>(roles.size()); ++i)
        palette.setColor(roles[static_cast<size_t>(i)].second, QColor(10 + i, 20 + i, 30 + i));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(99, 98, 97));
    QApplication::setPalette(palette);
    for (int i = 0; i < static_cast<int>(roles.size()); ++i)
        EXPECT_EQ(shown(roles[static_cast<size_t>(i)].first), QColor(10 + i, 20 + i, 30 + i))
            << roles[static_cast<size_t>(i)].first.toStdString();
    EXPECT_EQ(shown(u"disabledControlTextColor"_s), QColor(99, 98, 97));
}

TEST(NSColor, ACatalogueColourFollowsThePaletteThatRunsNow)
{
    const NSColor color = NSColor::textColor();
    for (const QColor &text : {QColor(Qt::black), QColor(Qt::white)}) {
        QPalette palette;
        palette.setColor(QPalette::Text, text);
        QApplication::setPalette(palette);
        EXPECT_EQ(components(*color.colorUsingType(NSColorType::ComponentBased)),
                  (Components{text.redF(), text.greenF(), text.blueF(), 1}));
        EXPECT_EQ(color.brush().color(), text);
    }
}

TEST(NSColor, AColourIsItsOwnTypeAlreadyAndOnlyACatalogueColourBecomesAnother)
{
    using enum NSColorType;
    EXPECT_EQ(components(*NSColor::whiteColor().colorUsingType(ComponentBased)), (Components{1, 1, 1, 1}));
    EXPECT_EQ(NSColor::textColor().colorUsingType(Catalog)->catalogNameComponent(), u"textColor"_s);
    EXPECT_EQ(pattern().colorUsingType(Pattern)->type(), Pattern);
    EXPECT_EQ(NSColor::textColor().colorUsingType(ComponentBased)->type(), ComponentBased);
    EXPECT_FALSE(NSColor::textColor().colorUsingType(Pattern));
    EXPECT_FALSE(NSColor::whiteColor().colorUsingType(Catalog));
    EXPECT_FALSE(NSColor::whiteColor().colorUsingType(Pattern));
    EXPECT_FALSE(pattern().colorUsingType(ComponentBased));
    EXPECT_FALSE(pattern().colorUsingType(Catalog));
}

TEST(NSColor, OnlyAComponentBasedColourTellsItsComponents)
{
    EXPECT_EQ(components(NSColor::textColor()), (Components{-1, -1, -1, -1}));
    EXPECT_EQ(components(pattern()), (Components{-1, -1, -1, -1}));
}

TEST(NSColor, TellsOnlyTheComponentsThatAreAskedFor)
{
    double green = -1;
    NSColor::colorWithDeviceRed(0.1, 0.2, 0.3, 0.4).getRed(nullptr, &green, nullptr, nullptr);
    EXPECT_EQ(green, 0.2);
    NSColor::whiteColor().getRed(nullptr, nullptr, nullptr, nullptr);
}

TEST(NSColor, IsShownWithinWhatAScreenCanShow)
{
    EXPECT_EQ(NSColor::colorWithDeviceRed(2, -1, 0.5, 7).brush().color(), QColor::fromRgbF(1, 0, 0.5F, 1));
    EXPECT_EQ(NSColor::clearColor().brush().color(), QColor(0, 0, 0, 0));
}

TEST(NSColor, APatternIsShownAsItsImage)
{
    EXPECT_EQ(pattern().brush().style(), Qt::TexturePattern);
    EXPECT_EQ(pattern().brush().textureImage().pixelColor(0, 0), QColor(Qt::red));
}
