#include <Marblewick/NSDecimalNumber.h>

#include "Tests/Support/QtPrinters.h"

#include <Marblewick/NSException.h>

#include <gtest/gtest.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

NSDecimalNumber number(const QString &text) { return NSDecimalNumber::decimalNumberWithString(text); }

QString rounded(const QString &text, qint16 scale)
{
    return number(text).decimalNumberByRoundingAccordingToBehavior({.scale = scale}).stringValue();
}

} // namespace

TEST(NSDecimalNumber, KeepsEveryDigitOfItsText)
{
    for (const QString &text : {u"0"_s, u"1"_s, u"-1"_s, u"0.25"_s, u"-0.000001"_s, u"1200"_s, u"10.01"_s,
                                u"123456789012345678901234567890.123456789012345678901234567890123456789"_s})
        EXPECT_EQ(number(text).stringValue(), text);
}

TEST(NSDecimalNumber, DropsZerosThatSayNothing)
{
    EXPECT_EQ(number(u"000.500000"_s).stringValue(), u"0.5"_s);
    EXPECT_EQ(number(u"+007"_s).stringValue(), u"7"_s);
    EXPECT_EQ(number(u"1."_s).stringValue(), u"1"_s);
    EXPECT_EQ(number(u".5"_s).stringValue(), u"0.5"_s);
    EXPECT_EQ(number(u"-0.000"_s).stringValue(), u"0"_s);
}

TEST(NSDecimalNumber, EqualsEveryOtherOfTheSameValueAndNoOtherOne)
{
    EXPECT_EQ(number(u"1.50"_s), number(u"1.5"_s));
    EXPECT_EQ(number(u"-0"_s), number(u"0.0"_s));
    EXPECT_EQ(number(u"100"_s), number(u"0100.00"_s));
    EXPECT_NE(number(u"1.5"_s), number(u"15"_s));
    EXPECT_NE(number(u"1.5"_s), number(u"-1.5"_s));
    EXPECT_NE(number(u"0.1"_s), number(u"0.01"_s));
}

TEST(NSDecimalNumber, ATextThatIsNoDecimalNumberIsNotANumberWhichEqualsItselfOnly)
{
    for (const QString &text : {u""_s, u"."_s, u"-"_s, u"1e5"_s, u"1.2.3"_s, u"0x10"_s, u" 1"_s, u"1,5"_s,
                                u"--1"_s, u"inf"_s, u"nan"_s, u"-inf"_s, u"١"_s}) {
        EXPECT_EQ(number(text).stringValue(), u"NaN"_s) << text.toStdString();
        EXPECT_EQ(number(text), number(u"no number"_s)) << text.toStdString();
        EXPECT_NE(number(text), number(u"0"_s)) << text.toStdString();
    }
}

TEST(NSDecimalNumber, RoundsAHalfAwayFromZero)
{
    EXPECT_EQ(rounded(u"0.5"_s, 0), u"1"_s);
    EXPECT_EQ(rounded(u"-0.5"_s, 0), u"-1"_s);
    EXPECT_EQ(rounded(u"1.5"_s, 0), u"2"_s);
    EXPECT_EQ(rounded(u"2.5"_s, 0), u"3"_s);
    EXPECT_EQ(rounded(u"-2.5"_s, 0), u"-3"_s);
    EXPECT_EQ(rounded(u"0.1225"_s, 3), u"0.123"_s);
}

TEST(NSDecimalNumber, RoundsWhatIsBelowAHalfTowardsZero)
{
    EXPECT_EQ(rounded(u"0.4999999999999999999999999999999999"_s, 0), u"0"_s);
    EXPECT_EQ(rounded(u"-0.4999999999999999999999999999999999"_s, 0), u"0"_s);
    EXPECT_EQ(rounded(u"0.122499"_s, 3), u"0.122"_s);
    EXPECT_EQ(rounded(u"0.0000009"_s, 3), u"0"_s);
}

TEST(NSDecimalNumber, CarriesThroughNines)
{
    EXPECT_EQ(rounded(u"0.9995"_s, 3), u"1"_s);
    EXPECT_EQ(rounded(u"99.9996"_s, 3), u"100"_s);
    EXPECT_EQ(rounded(u"1.0996"_s, 3), u"1.1"_s);
}

TEST(NSDecimalNumber, LeavesANumberAloneThatHasNoMoreDigitsThanTheScale)
{
    EXPECT_EQ(rounded(u"0.123"_s, 3), u"0.123"_s);
    EXPECT_EQ(rounded(u"5"_s, 3), u"5"_s);
    EXPECT_EQ(rounded(u"1200"_s, 3), u"1200"_s);
    EXPECT_EQ(rounded(u"0"_s, 3), u"0"_s);
}

TEST(NSDecimalNumber, RoundsToTensAndHundredsWithANegativeScale)
{
    EXPECT_EQ(rounded(u"1250"_s, -2), u"1300"_s);
    EXPECT_EQ(rounded(u"49"_s, -2), u"0"_s);
    EXPECT_EQ(rounded(u"50"_s, -2), u"100"_s);
    EXPECT_EQ(rounded(u"0"_s, -2), u"0"_s);
}

TEST(NSDecimalNumber, NotANumberStaysSoWhenItIsRounded) { EXPECT_EQ(rounded(u"nan"_s, 3), u"NaN"_s); }

TEST(NSDecimalNumber, RoundingANumberOfMoreThan165DigitsBeforeThePointRaisesAnOverflow)
{
    const QString largest = u"9"_s.repeated(165);
    EXPECT_EQ(rounded(largest, 3), largest);
    for (const QString &tooLarge : {u"1"_s + u"0"_s.repeated(165), largest + u".9999"_s}) {
        try {
            rounded(tooLarge, 3);
            ADD_FAILURE() << "nothing was raised";
        } catch (const NSException &exception) {
            EXPECT_EQ(exception.name(), u"NSDecimalNumberOverflowException"_s);
        }
    }
}

TEST(NSDecimalNumber, ANumberThatIsTooLargeBecomesNotANumberWhereNothingIsToBeRaised)
{
    const NSDecimalNumber tooLarge = number(u"1"_s + u"0"_s.repeated(165));
    EXPECT_EQ(tooLarge.decimalNumberByRoundingAccordingToBehavior({.scale = 3, .raiseOnOverflow = false})
                  .stringValue(),
              u"NaN"_s);
}

TEST(NSDecimalNumber, RoundingANumberOfMoreDigitsThanAreKeptRaisesThatItIsNotExactOnlyWhereThatIsAskedFor)
{
    const NSDecimalNumberHandler exact{.scale = 3, .raiseOnExactness = true};
    for (const QString &same : {u"0"_s, u"0.123"_s, u"0.5000"_s, u"1200"_s})
        EXPECT_EQ(number(same).decimalNumberByRoundingAccordingToBehavior(exact), number(same));
    for (const QString &changed : {u"0.1234"_s, u"-0.00000001"_s}) {
        try {
            number(changed).decimalNumberByRoundingAccordingToBehavior(exact);
            ADD_FAILURE() << "nothing was raised";
        } catch (const NSException &exception) {
            EXPECT_EQ(exception.name(), u"NSDecimalNumberExactnessException"_s);
        }
    }
    EXPECT_EQ(rounded(u"0.1234"_s, 3), u"0.123"_s);
}

TEST(NSDecimalNumber, AHandlerRoundsPlainlyAndRaisesEverythingButThatAResultIsNotExact)
{
    const NSDecimalNumberHandler handler;
    EXPECT_EQ(static_cast<int>(handler.roundingMode), 0);
    EXPECT_FALSE(handler.raiseOnExactness);
    EXPECT_TRUE(handler.raiseOnOverflow);
    EXPECT_TRUE(handler.raiseOnUnderflow);
    EXPECT_TRUE(handler.raiseOnDivideByZero);
}
