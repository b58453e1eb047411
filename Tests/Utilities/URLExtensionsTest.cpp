#include <Marblewick/URLExtensions.h>

#include "Tests/Support/DecimalCommaLocale.h"
#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <QLocale>
#include <QRandomGenerator>

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

QString stringParameter(const std::optional<QString> &value)
{
    QString query;
    URLExtensions::appendParameterStringValue(query, u"a"_s, value);
    return query;
}

QString integerParameter(qint64 value)
{
    QString query;
    URLExtensions::appendParameterIntegerValue(query, u"a"_s, value);
    return query;
}

QString floatParameter(float value, qint32 precision)
{
    QString query;
    URLExtensions::appendParameterFloatValue(query, u"a"_s, value, precision);
    return query;
}

/*! What the C library makes of a float; its locale in a test is "C" unless the test sets another. */
QString printed(float value, int precision)
{
    const auto number = static_cast<double>(value);
    std::string text(static_cast<size_t>(std::snprintf(nullptr, 0, "a=%.*f", precision, number)) + 1, '\0');
    std::snprintf(text.data(), text.size(), "a=%.*f", precision, number);
    text.pop_back();
    return QString::fromStdString(text);
}

/*! What a value must become, worked out from its UTF-8 bytes. */
QString expectedEncoding(const QString &value)
{
    static constexpr QByteArrayView allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                              "!$&'()*+,-./:;=?@_~";
    QString result;
    for (const char byte : value.toUtf8()) {
        if (allowed.contains(byte))
            result += QLatin1Char(byte);
        else
            result += u'%' + QString::fromLatin1(QByteArray(1, byte).toHex().toUpper());
    }
    return result;
}

} // namespace

TEST(URLExtensions, SeparatesParametersByAnAmpersand)
{
    QString query;
    URLExtensions::appendParameterIntegerValue(query, u"a"_s, 5);
    EXPECT_EQ(query, u"a=5"_s);
    URLExtensions::appendParameterIntegerValue(query, u"b"_s, -2);
    EXPECT_EQ(query, u"a=5&b=-2"_s);
    URLExtensions::appendParameterStringValue(query, u"c"_s, u"x"_s);
    URLExtensions::appendParameterFloatValue(query, u"d"_s, 0.5F, 2);
    URLExtensions::appendParameterBoolValue(query, u"e"_s, true);
    EXPECT_EQ(query, u"a=5&b=-2&c=x&d=0.50&e=true"_s);
}

TEST(URLExtensions, HasNoAmpersandForAnEmptyQuery)
{
    EXPECT_EQ(URLExtensions::parameterAmpersand(QString()), QString());
    EXPECT_EQ(URLExtensions::parameterAmpersand(u""_s), QString());
}

TEST(URLExtensions, HasAnAmpersandForEveryOtherQueryEvenAQuestionMarkAlone)
{
    EXPECT_EQ(URLExtensions::parameterAmpersand(u"?"_s), u"&"_s);
    EXPECT_EQ(URLExtensions::parameterAmpersand(u"a=5"_s), u"&"_s);
    EXPECT_EQ(URLExtensions::parameterAmpersand(u"a=5&"_s), u"&"_s);
}

TEST(URLExtensions, PutsAnAmpersandAfterABaseURLWithItsQuestionMark)
{
    QString query = u"https://cartographer.example/?"_s;
    URLExtensions::appendParameterIntegerValue(query, u"a"_s, 5);
    EXPECT_EQ(query, u"https://cartographer.example/?&a=5"_s);
}

TEST(URLExtensions, EncodesWhatAQueryCannotHoldByItsBytesInUTF8)
{
    EXPECT_EQ(stringParameter(u"x y"_s), u"a=x%20y"_s);
    EXPECT_EQ(stringParameter(u"100%"_s), u"a=100%25"_s);
    EXPECT_EQ(stringParameter(u"é"_s), u"a=%C3%A9"_s);
    EXPECT_EQ(stringParameter(u"€"_s), u"a=%E2%82%AC"_s);
    EXPECT_EQ(stringParameter(u"😀"_s), u"a=%F0%9F%98%80"_s);
    EXPECT_EQ(stringParameter(u"%41"_s), u"a=%2541"_s);
}

TEST(URLExtensions, LeavesAnAmpersandAnEqualsSignAQuestionMarkAndAPlusSignInAValue)
{
    EXPECT_EQ(stringParameter(u"p&q=r"_s), u"a=p&q=r"_s);
    EXPECT_EQ(stringParameter(u"?+"_s), u"a=?+"_s);
}

TEST(URLExtensions, EncodesEveryOtherASCIICharacterAndNoneOfTheAllowedOnes)
{
    EXPECT_EQ(stringParameter(
                  u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!$&'()*+,-./:;=?@_~"_s),
              u"a=abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!$&'()*+,-./:;=?@_~"_s);
    EXPECT_EQ(stringParameter(u" \"#%<>[\\]^`{|}\x7f"_s),
              u"a=%20%22%23%25%3C%3E%5B%5C%5D%5E%60%7B%7C%7D%7F"_s);
    for (char16_t c = 0; c < 0x20; ++c)
        EXPECT_EQ(stringParameter(QString(QChar(c))), u"a="_s + expectedEncoding(QString(QChar(c))));
}

TEST(URLExtensions, EncodesEveryCharacterThatIsNoSurrogate)
{
    for (char32_t c = 0; c <= QChar::LastValidCodePoint; ++c) {
        if (QChar::isSurrogate(c))
            continue;
        const QString value = QString::fromUcs4(&c, 1);
        ASSERT_EQ(stringParameter(value), u"a="_s + expectedEncoding(value)) << static_cast<uint>(c);
    }
}

TEST(URLExtensions, EncodesRandomTextSoThatItDecodesToTheSameText)
{
    constexpr quint32 seed = 20010101;
    QRandomGenerator random(seed);
    for (int round = 0; round < 2000; ++round) {
        QString value;
        for (qsizetype length = random.bounded(40); length > 0; --length) {
            const char32_t c = random.bounded(quint32{QChar::LastValidCodePoint} + 1);
            value += QChar::isSurrogate(c) ? u" "_s : QString::fromUcs4(&c, 1);
        }
        const QString parameter = stringParameter(value);
        ASSERT_EQ(QString::fromUtf8(QByteArray::fromPercentEncoding(parameter.sliced(2).toLatin1())), value);
    }
}

TEST(URLExtensions, PrintsAValueWithAnUnpairedSurrogateAsAMissingOne)
{
    EXPECT_EQ(stringParameter(QString(QChar(0xd83d))), u"a=(null)"_s);
    EXPECT_EQ(stringParameter(QString(QChar(0xde00))), u"a=(null)"_s);
    EXPECT_EQ(stringParameter(u"x"_s + QChar(0xd83d) + u"y"_s), u"a=(null)"_s);
    EXPECT_EQ(stringParameter(QString(QChar(0xde00)) + QChar(0xd83d)), u"a=(null)"_s);
}

TEST(URLExtensions, PrintsAMissingNameOrValueAsNullInParentheses)
{
    EXPECT_EQ(stringParameter(std::nullopt), u"a=(null)"_s);
    QString query;
    URLExtensions::appendParameterStringValue(query, std::nullopt, std::nullopt);
    URLExtensions::appendParameterIntegerValue(query, std::nullopt, 5);
    URLExtensions::appendParameterFloatValue(query, std::nullopt, 0.5F, 1);
    URLExtensions::appendParameterBoolValue(query, std::nullopt, false);
    EXPECT_EQ(query, u"(null)=(null)&(null)=5&(null)=0.5&(null)=false"_s);
}

TEST(URLExtensions, AppendsAnEmptyNameOrValueAsNothing)
{
    EXPECT_EQ(stringParameter(QString()), u"a="_s);
    QString query;
    URLExtensions::appendParameterStringValue(query, QString(), u"x"_s);
    EXPECT_EQ(query, u"=x"_s);
}

TEST(URLExtensions, NeverEncodesAName)
{
    const QString name = u"é &=%@%1#"_s + QChar(0xd83d);
    QString query;
    URLExtensions::appendParameterStringValue(query, name, u"x"_s);
    URLExtensions::appendParameterIntegerValue(query, name, 5);
    URLExtensions::appendParameterFloatValue(query, name, 0.5F, 1);
    URLExtensions::appendParameterBoolValue(query, name, true);
    EXPECT_EQ(query, name + u"=x&"_s + name + u"=5&"_s + name + u"=0.5&"_s + name + u"=true"_s);
}

TEST(URLExtensions, TakesThePlaceholdersOfAFormatInAValueForText)
{
    EXPECT_EQ(stringParameter(u"%@%1%ld"_s), u"a=%25@%251%25ld"_s);
}

TEST(URLExtensions, AppendsAQueryToItself)
{
    QString query = u"a"_s;
    URLExtensions::appendParameterStringValue(query, query, query);
    EXPECT_EQ(query, u"a&a=a"_s);
}

TEST(URLExtensions, AppendsEvery64BitInteger)
{
    EXPECT_EQ(integerParameter(0), u"a=0"_s);
    EXPECT_EQ(integerParameter(std::numeric_limits<qint64>::max()), u"a=9223372036854775807"_s);
    EXPECT_EQ(integerParameter(std::numeric_limits<qint64>::min()), u"a=-9223372036854775808"_s);
}

TEST(URLExtensions, RoundsAFloatHalfToEvenAsPrintfDoes)
{
    EXPECT_EQ(floatParameter(2.5F, 0), u"a=2"_s);
    EXPECT_EQ(floatParameter(3.5F, 0), u"a=4"_s);
    EXPECT_EQ(floatParameter(-2.5F, 0), u"a=-2"_s);
    EXPECT_EQ(floatParameter(0.125F, 2), u"a=0.12"_s);
    EXPECT_EQ(floatParameter(0.375F, 2), u"a=0.38"_s);
}

TEST(URLExtensions, ShowsTheBinaryValueOfAFloatWhereManyDigitsAreAskedFor)
{
    EXPECT_EQ(floatParameter(0.1F, 10), u"a=0.1000000015"_s);
    EXPECT_EQ(floatParameter(0.1F, 30), u"a=0.100000001490116119384765625000"_s);
}

TEST(URLExtensions, HasNoDecimalPointWithAPrecisionOfNought)
{
    EXPECT_EQ(floatParameter(7.0F, 0), u"a=7"_s);
    EXPECT_EQ(floatParameter(0.0F, 0), u"a=0"_s);
}

TEST(URLExtensions, TakesANegativePrecisionForSixDigits)
{
    EXPECT_EQ(floatParameter(0.1F, -1), u"a=0.100000"_s);
    EXPECT_EQ(floatParameter(2.5F, std::numeric_limits<qint32>::min()), u"a=2.500000"_s);
}

TEST(URLExtensions, PrintsTheLargestFloatsInFull)
{
    EXPECT_EQ(floatParameter(std::numeric_limits<float>::max(), 1),
              u"a=340282346638528859811704183484516925440.0"_s);
    EXPECT_EQ(floatParameter(std::numeric_limits<float>::lowest(), 1),
              u"a=-340282346638528859811704183484516925440.0"_s);
}

TEST(URLExtensions, PrintsFloatsAsPrintfDoes)
{
    constexpr quint32 seed = 20010101;
    QRandomGenerator random(seed);
    for (int round = 0; round < 20'000; ++round) {
        const auto value = std::bit_cast<float>(random.generate());
        const int precision = random.bounded(-1, 160); // The smallest float has 149 digits.
        if (std::isfinite(value)) {
            ASSERT_EQ(floatParameter(value, precision), printed(value, precision)) << precision;
        }
    }
}

TEST(URLExtensions, PrintsWhatIsNoNumberAsAWordAndZeroWithItsSign)
{
    EXPECT_EQ(floatParameter(std::numeric_limits<float>::infinity(), 2), u"a=inf"_s);
    EXPECT_EQ(floatParameter(-std::numeric_limits<float>::infinity(), 0), u"a=-inf"_s);
    EXPECT_EQ(floatParameter(std::numeric_limits<float>::quiet_NaN(), 2), u"a=nan"_s);
    EXPECT_EQ(floatParameter(std::copysign(std::numeric_limits<float>::quiet_NaN(), -1.0F), 2), u"a=nan"_s);
    EXPECT_EQ(floatParameter(-0.0F, 1), u"a=-0.0"_s);
}

TEST(URLExtensions, HasAsManyDigitsAsAskedForUpToAMillion)
{
    EXPECT_EQ(floatParameter(0.5F, 1'000'000), u"a=0.5"_s + QString(999'999, u'0'));
    EXPECT_EQ(floatParameter(0.5F, std::numeric_limits<qint32>::max()), u"a=0.5"_s + QString(999'999, u'0'));
}

TEST(URLExtensions, PrintsABooleanAsAWord)
{
    QString query;
    URLExtensions::appendParameterBoolValue(query, u"a"_s, true);
    URLExtensions::appendParameterBoolValue(query, u"b"_s, false);
    EXPECT_EQ(query, u"a=true&b=false"_s);
}

TEST(URLExtensions, PrintsNumbersTheSameInALocaleWithADecimalComma)
{
    const DecimalCommaLocale locale;
    ASSERT_TRUE(locale.isUsed());
    QLocale::setDefault(QLocale(QLocale::German));
    ASSERT_EQ(printed(2.5F, 1), u"a=2,5"_s);

    EXPECT_EQ(floatParameter(2.5F, 1), u"a=2.5"_s);
    EXPECT_EQ(floatParameter(-1234567.0F, 2), u"a=-1234567.00"_s);
    EXPECT_EQ(integerParameter(-1234567), u"a=-1234567"_s);
}
