#include <Marblewick/NSColor+MBWExtensions.h>

#include "Tests/Support/DecimalCommaLocale.h"
#include "Tests/Support/QtPrinters.h"

#include <Marblewick/NSException.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QPalette>
#include <QRandomGenerator>

#include <cmath>
#include <limits>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

QString rounded(double component)
{
    return MBWExtensions::decimalNumberForColorComponentFrameworkVersion(NSColor::clearColor(), component)
        .stringValue();
}

/*! A component between -1000 and 1000 as thousandths, in whole numbers only: the value is the fraction
    mantissa / 2^shift, which is rounded to millionths, half to even, and then to thousandths, half away from
    zero.
*/
qint64 exactThousandths(double component)
{
    int exponent = 0;
    const auto mantissa = static_cast<qint64>(std::ldexp(std::frexp(std::abs(component), &exponent), 53));
    const int shift = 53 - exponent;
    __extension__ using Wide = unsigned __int128;
    const Wide numerator = static_cast<Wide>(mantissa) * 1'000'000;
    qint64 millionths = 0;
    if (shift < 100) {
        const Wide one = static_cast<Wide>(1) << shift;
        const Wide rest = numerator % one * 2;
        millionths = static_cast<qint64>(numerator / one);
        if (rest > one || (rest == one && millionths % 2 == 1))
            ++millionths;
    }
    const qint64 thousandths = (millionths + 500) / 1000;
    return component < 0 ? -thousandths : thousandths;
}

QString exactlyRounded(double component)
{
    const qint64 thousandths = exactThousandths(component);
    QString text = QString::number(std::abs(thousandths)).rightJustified(4, u'0');
    text.insert(text.size() - 3, u'.');
    while (text.endsWith(u'0'))
        text.chop(1);
    if (text.endsWith(u'.'))
        text.chop(1);
    return thousandths < 0 ? u'-' + text : text;
}

NSColor red(double component) { return NSColor::colorWithDeviceRed(component, 0.5, 0.5, 1); }

bool areEqual(const NSColor &one, const NSColor &other)
{
    const bool result = MBWExtensions::isEqualToColorFrameworkVersion(one, other);
    EXPECT_EQ(MBWExtensions::isEqualToColorFrameworkVersion(other, one), result) << "the other way round";
    return result;
}

void setPaletteColors(const QColor &text, const QColor &windowText)
{
    QPalette palette;
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::WindowText, windowText);
    QApplication::setPalette(palette);
}

} // namespace

// Rounding

TEST(ColorComponentRounding, RoundsToThreeDecimalPlaces)
{
    const std::pair<double, QString> table[] = {
        {0, u"0"_s},
        {1, u"1"_s},
        {0.5, u"0.5"_s},
        {0.1234, u"0.123"_s},
        {0.1226, u"0.123"_s},
        {0.1236, u"0.124"_s},
        {0.0004, u"0"_s},
        {0.0005, u"0.001"_s},
        {0.9994, u"0.999"_s},
        {0.9995, u"1"_s},
        {1.0 / 3, u"0.333"_s},
        {2.0 / 3, u"0.667"_s},
        {255.0 / 256, u"0.996"_s},
        {1234.5678, u"1234.568"_s},
    };
    for (const auto &[component, text] : table) {
        EXPECT_EQ(rounded(component), text) << component;
        EXPECT_EQ(rounded(-component), text == u"0"_s ? text : u'-' + text) << component;
    }
}

TEST(ColorComponentRounding, RoundsInTwoStepsSoThatWhatIsJustBelowAHalfCountsAsAHalf)
{
    EXPECT_EQ(rounded(0.4995), u"0.5"_s);
    EXPECT_EQ(rounded(0.49949999), u"0.5"_s);
    EXPECT_EQ(rounded(0.4994996), u"0.5"_s);
    EXPECT_EQ(rounded(0.4994994), u"0.499"_s);
}

TEST(ColorComponentRounding, RoundsAHalfAwayFromZeroWhereverItsBinaryValueLies)
{
    // The double nearest to each of these lies above some halves and below others.
    for (int thousandths = 0; thousandths < 1000; ++thousandths) {
        const double half = (thousandths + 0.5) / 1000;
        ASSERT_EQ(exactThousandths(half), thousandths + 1);
        ASSERT_EQ(rounded(half), exactlyRounded(thousandths / 1000.0 + 0.001)) << half;
        ASSERT_EQ(rounded(-half), u'-' + rounded(half)) << half;
    }
}

TEST(ColorComponentRounding, AgreesWithAnExactReferenceForEveryDoubleAroundEachHalf)
{
    for (int thousandths = 0; thousandths < 1000; ++thousandths) {
        // The first step turns what is within half a millionth of a half into the half.
        for (const double around : {-0.5e-6, 0.0, 0.5e-6}) {
            double component = (thousandths + 0.5) / 1000 + around;
            for (int i = 0; i < 3; ++i)
                component = std::nextafter(component, 0);
            for (int i = 0; i < 7; ++i) {
                ASSERT_EQ(rounded(component), exactlyRounded(component)) << std::hexfloat << component;
                component = std::nextafter(component, 2);
            }
        }
    }
}

TEST(ColorComponentRounding, AgreesWithAnExactReferenceForRandomDoubles)
{
    constexpr quint32 seed = 20010101;
    QRandomGenerator random(seed);
    for (int i = 0; i < 100'000; ++i) {
        const double component = random.generateDouble() * 4 - 2;
        ASSERT_EQ(rounded(component), exactlyRounded(component)) << std::hexfloat << component;
    }
}

TEST(ColorComponentRounding, AgreesWithAnExactReferenceForEvery8BitAnd16BitComponent)
{
    for (const int maximum : {255, 65535}) {
        for (int value = 0; value <= maximum; ++value) {
            const double component = static_cast<double>(value) / maximum;
            ASSERT_EQ(rounded(component), exactlyRounded(component)) << value << " of " << maximum;
        }
    }
}

TEST(ColorComponentRounding, RoundsTheSmallestNumbersToZeroWithoutASign)
{
    EXPECT_EQ(rounded(std::numeric_limits<double>::denorm_min()), u"0"_s);
    EXPECT_EQ(rounded(-std::numeric_limits<double>::denorm_min()), u"0"_s);
    EXPECT_EQ(rounded(-0.0), u"0"_s);
}

TEST(ColorComponentRounding, DoesNotFollowTheLocalesDecimalPoint)
{
    const DecimalCommaLocale locale;
    ASSERT_TRUE(locale.isUsed());
    EXPECT_EQ(rounded(0.1236), u"0.124"_s);
}

TEST(ColorComponentRounding, AnInfiniteComponentOrNoneAtAllIsNotANumber)
{
    EXPECT_EQ(rounded(std::numeric_limits<double>::infinity()), u"NaN"_s);
    EXPECT_EQ(rounded(-std::numeric_limits<double>::infinity()), u"NaN"_s);
    EXPECT_EQ(rounded(std::numeric_limits<double>::quiet_NaN()), u"NaN"_s);
}

TEST(ColorComponentRounding, AComponentThatADecimalNumberCannotHoldRaisesAnOverflow)
{
    EXPECT_EQ(rounded(1e22), u"1"_s + u"0"_s.repeated(22));
    EXPECT_THROW(rounded(1e200), NSException);
    EXPECT_THROW(rounded(-std::numeric_limits<double>::max()), NSException);
}

// Equality

TEST(ColorEquality, ColoursAreEqualWhereEveryComponentAgreesToThreeDecimalPlaces)
{
    EXPECT_TRUE(areEqual(red(0.1234), red(0.1226)));
    EXPECT_FALSE(areEqual(red(0.1234), red(0.1236)));
    EXPECT_TRUE(areEqual(red(0.49949999), red(0.5)));
}

TEST(ColorEquality, EachOfTheFourComponentsCounts)
{
    const NSColor color = NSColor::colorWithDeviceRed(0.1, 0.2, 0.3, 0.4);
    EXPECT_TRUE(areEqual(color, NSColor::colorWithDeviceRed(0.1004, 0.2004, 0.3004, 0.4004)));
    EXPECT_FALSE(areEqual(color, NSColor::colorWithDeviceRed(0.101, 0.2, 0.3, 0.4)));
    EXPECT_FALSE(areEqual(color, NSColor::colorWithDeviceRed(0.1, 0.201, 0.3, 0.4)));
    EXPECT_FALSE(areEqual(color, NSColor::colorWithDeviceRed(0.1, 0.2, 0.301, 0.4)));
    EXPECT_FALSE(areEqual(color, NSColor::colorWithDeviceRed(0.1, 0.2, 0.3, 0.401)));
}

TEST(ColorEquality, BlackIsNotClear) { EXPECT_FALSE(areEqual(NSColor::blackColor(), NSColor::clearColor())); }

TEST(ColorEquality, CatalogueColoursOfTheSameNameAreEqual)
{
    EXPECT_TRUE(areEqual(NSColor::textColor(), *NSColor::colorNamed(u"textColor"_s)));
}

TEST(ColorEquality, CatalogueColoursOfDifferentNamesAreComparedByWhatThePaletteGivesThem)
{
    const NSColor label = *NSColor::colorNamed(u"labelColor"_s);
    setPaletteColors(Qt::darkGreen, Qt::darkGreen);
    EXPECT_TRUE(areEqual(NSColor::textColor(), label));
    setPaletteColors(Qt::darkGreen, Qt::darkRed);
    EXPECT_FALSE(areEqual(NSColor::textColor(), label));
}

TEST(ColorEquality, ACatalogueColourEqualsAFixedColourOfTheSameComponents)
{
    setPaletteColors(Qt::black, Qt::black);
    EXPECT_TRUE(areEqual(NSColor::textColor(), NSColor::blackColor()));
    setPaletteColors(Qt::white, Qt::white);
    EXPECT_FALSE(areEqual(NSColor::textColor(), NSColor::blackColor()));
    EXPECT_TRUE(areEqual(NSColor::textColor(), NSColor::whiteColor()));
}

TEST(ColorEquality, APatternEqualsNoColourItselfIncluded)
{
    QImage black(1, 1, QImage::Format_ARGB32);
    black.fill(Qt::black);
    const NSColor pattern = NSColor::colorWithPatternImage(black);
    EXPECT_FALSE(areEqual(pattern, NSColor::blackColor()));
    EXPECT_FALSE(areEqual(pattern, NSColor::textColor()));
    EXPECT_FALSE(areEqual(pattern, pattern));
}

TEST(ColorEquality, AComponentThatADecimalNumberCannotHoldRaisesAnOverflow)
{
    EXPECT_THROW(areEqual(red(1e200), red(0)), NSException);
}
