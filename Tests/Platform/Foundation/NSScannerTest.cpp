#include <Marblewick/NSScanner.h>

#include <gtest/gtest.h>

#include <optional>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

std::optional<quint32> firstValue(const QString &string)
{
    quint32 value = 0;
    return NSScanner(string).scanHexInt(&value) ? std::optional(value) : std::nullopt;
}

} // namespace

TEST(NSScanner, ReadsHexadecimalNumbersInEitherCaseWithAndWithoutPrefix)
{
    EXPECT_EQ(firstValue(u"1aF"_s), 0x1afU);
    EXPECT_EQ(firstValue(u"0x1aF"_s), 0x1afU);
    EXPECT_EQ(firstValue(u"0X09"_s), 9U);
    EXPECT_EQ(firstValue(u" \t\n7;"_s), 7U);
}

TEST(NSScanner, ReadsTheLow32BitsOfALargerNumber)
{
    EXPECT_EQ(firstValue(u"ffffffff"_s), 0xffffffffU);
    EXPECT_EQ(firstValue(u"0x100000000"_s), 0U);
    EXPECT_EQ(firstValue(u"0x7ffff7dd5001"_s), 0xf7dd5001U);
}

TEST(NSScanner, ReadsNothingWhereThereIsNoNumber)
{
    for (const QString &string : {u""_s, u"  "_s, u"g1"_s, u"-1"_s, u"x1"_s, u"\uff11"_s})
        EXPECT_EQ(firstValue(string), std::nullopt) << string.toStdString();
}

TEST(NSScanner, TakesAPrefixWithoutADigitForAZeroAndWhatFollows)
{
    NSScanner scanner(u"0xg"_s);
    quint32 value = 1;
    EXPECT_TRUE(scanner.scanHexInt(&value));
    EXPECT_EQ(value, 0U);
    EXPECT_FALSE(scanner.scanHexInt(&value));
}

TEST(NSScanner, GoesOnWhereItStopped)
{
    NSScanner scanner(u"1 0x2\t3 north"_s);
    quint32 value = 0;
    for (const quint32 expected : {1U, 2U, 3U}) {
        EXPECT_TRUE(scanner.scanHexInt(&value));
        EXPECT_EQ(value, expected);
    }
    EXPECT_FALSE(scanner.scanHexInt(&value));
    EXPECT_FALSE(scanner.scanHexInt(&value));
}
