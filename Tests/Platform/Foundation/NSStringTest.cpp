#include <Marblewick/NSString.h>

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/stat.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

struct Decoded
{
    QString text;
    QStringConverter::Encoding encoding;

    bool operator==(const Decoded &) const = default;
};

Decoded decoded(const QByteArray &data)
{
    auto encoding = QStringConverter::System;
    const QString text = NSString::stringWithData(data, &encoding);
    return {text, encoding};
}

/*! Bytes given as hexadecimal digits. */
Decoded decodedHex(const char *digits) { return decoded(QByteArray::fromHex(digits)); }

Decoded latin1Hex(const char *digits)
{
    return {QString::fromLatin1(QByteArray::fromHex(digits)), QStringConverter::Latin1};
}

void PrintTo(const Decoded &value, std::ostream *stream)
{
    *stream << qPrintable(NSString::escapingControlCharacters(value.text)) << " as "
            << QStringConverter::nameForEncoding(value.encoding);
}

} // namespace

TEST(NSString, FormatsArgumentsInOrder)
{
    EXPECT_EQ(NSString::stringWithFormat(u"%@ and %@.", {u"a"_s, u"b"_s}), u"a and b."_s);
    EXPECT_EQ(NSString::stringWithFormat(u"", {}), QString());
    EXPECT_EQ(NSString::stringWithFormat(u"%@%@", {u"é"_s, QString()}), u"é"_s);
}

TEST(NSString, FormatsNilAndAMissingArgumentAsNull)
{
    EXPECT_EQ(NSString::stringWithFormat(u"%@ %@ %@", {std::nullopt, u"b"_s}), u"(null) b (null)"_s);
}

TEST(NSString, LeavesOutArgumentsWithoutAPlaceHolder)
{
    EXPECT_EQ(NSString::stringWithFormat(u"%@", {u"a"_s, u"b"_s}), u"a"_s);
}

TEST(NSString, DoesNotFormatWhatAnArgumentHolds)
{
    EXPECT_EQ(NSString::stringWithFormat(u"<%@> <%@>", {u"%@ %1"_s, u"%s"_s}), u"<%@ %1> <%s>"_s);
}

TEST(NSString, LeavesOtherPercentSignsAsTheyAre)
{
    EXPECT_EQ(NSString::stringWithFormat(u"100% %d %1 %% %@", {u"a"_s}), u"100% %d %1 %% a"_s);
    EXPECT_EQ(NSString::stringWithFormat(u"%", {u"a"_s}), u"%"_s);
}

TEST(NSString, OfWhiteSpaceAndNewlinesOnlyIsBlank)
{
    EXPECT_TRUE(NSString::isBlank(u""));
    EXPECT_TRUE(NSString::isBlank(u" \t\r\n\v\f\u0085\u00a0\u2003\u2028\u2029\u3000"));
}

TEST(NSString, WithAnythingElseIsNotBlank)
{
    for (const auto *text : {u"a", u" a ", u"\n.\n", u"\u200b", u"\u0001", u"\U0001F600"})
        EXPECT_FALSE(NSString::isBlank(text)) << qPrintable(QString::fromUtf16(text));
    EXPECT_FALSE(NSString::isBlank(QStringView(u"\0", 1)));
}

TEST(NSString, HasTheIntegerValueOfTheDigitsThatItBeginsWith)
{
    EXPECT_EQ(NSString::integerValue(u"12"), 12);
    EXPECT_EQ(NSString::integerValue(u"007"), 7);
    EXPECT_EQ(NSString::integerValue(u" \t\n\u00a0+13rc1.5"), 13);
    EXPECT_EQ(NSString::integerValue(u"-4-2"), -4);
}

TEST(NSString, HasTheIntegerValue0WithoutLeadingDigits)
{
    for (const auto *text : {u"", u" ", u"x1", u"-", u"+-1", u"- 1", u".5", u"\u0663"})
        EXPECT_EQ(NSString::integerValue(text), 0) << qPrintable(QString::fromUtf16(text));
}

TEST(NSString, HasTheNearestIntegerValueOfANumberOutOfRange)
{
    EXPECT_EQ(NSString::integerValue(u"9223372036854775807"), INT64_MAX);
    EXPECT_EQ(NSString::integerValue(u"9223372036854775808"), INT64_MAX);
    EXPECT_EQ(NSString::integerValue(u"-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(NSString::integerValue(u"-9223372036854775809"), INT64_MIN);
    EXPECT_EQ(NSString::integerValue(QString(100, u'9')), INT64_MAX);
    EXPECT_EQ(NSString::integerValue(u'-' + QString(100, u'9')), INT64_MIN);
}

TEST(NSString, EscapesLineBreaksAndTabulatorsByTheirLetters)
{
    EXPECT_EQ(NSString::escapingControlCharacters(QStringView(u"a\nb\rc\td\0e", 9)), u"a\\nb\\rc\\td\\0e"_s);
}

TEST(NSString, EscapesEveryControlCharacterAndSeparator)
{
    for (char32_t c = 0; c < 0x2100; ++c) {
        const bool isControl = c < 0x20 || (c >= 0x7f && c <= 0x9f);
        const bool isSeparator = c == 0x2028 || c == 0x2029;
        const bool isBidirectional = c == 0x061c || c == 0x200e || c == 0x200f || (c >= 0x202a && c <= 0x202e)
                                     || (c >= 0x2066 && c <= 0x2069);
        const QString text = QString::fromUcs4(&c, 1);
        const QString escaped = NSString::escapingControlCharacters(text);
        EXPECT_EQ(escaped != text, isControl || isSeparator || isBidirectional) << static_cast<uint>(c);
    }
    EXPECT_EQ(NSString::escapingControlCharacters(u"\x1b[2J\x7f\u0085\u202e"),
              u"\\u{1b}[2J\\u{7f}\\u{85}\\u{202e}"_s);
}

TEST(NSString, EscapesUnpairedSurrogatesButNoPairs)
{
    EXPECT_EQ(NSString::escapingControlCharacters(u"\xd800"), u"\\u{d800}"_s);
    EXPECT_EQ(NSString::escapingControlCharacters(u"\xdc00\xd800"), u"\\u{dc00}\\u{d800}"_s);
    EXPECT_EQ(NSString::escapingControlCharacters(u"\xd83d\U0001F600\xde00"), u"\\u{d83d}😀\\u{de00}"_s);
}

TEST(NSString, FromUnmarkedBytesIsUTF8)
{
    EXPECT_EQ(decoded("Zürich 😀"), (Decoded{u"Zürich 😀"_s, QStringConverter::Utf8}));
    EXPECT_EQ(decoded({}), (Decoded{QString(), QStringConverter::Utf8}));
}

TEST(NSString, FromMarkedBytesIsInTheMarkedEncodingWithoutTheMark)
{
    EXPECT_EQ(decodedHex("efbbbf61c3a9"), (Decoded{u"aé"_s, QStringConverter::Utf8}));
    EXPECT_EQ(decodedHex("fffe6100e9003dd800de"), (Decoded{u"aé😀"_s, QStringConverter::Utf16LE}));
    EXPECT_EQ(decodedHex("feff006100e9d83dde00"), (Decoded{u"aé😀"_s, QStringConverter::Utf16BE}));
    EXPECT_EQ(decodedHex("fffe00006100000000f60100"), (Decoded{u"a\U0001F600"_s, QStringConverter::Utf32LE}));
    EXPECT_EQ(decodedHex("0000feff000000610001f600"), (Decoded{u"a\U0001F600"_s, QStringConverter::Utf32BE}));
}

TEST(NSString, FromAMarkAloneIsEmpty)
{
    EXPECT_EQ(decodedHex("efbbbf"), (Decoded{QString(), QStringConverter::Utf8}));
    EXPECT_EQ(decodedHex("fffe"), (Decoded{QString(), QStringConverter::Utf16LE}));
    EXPECT_EQ(decodedHex("feff"), (Decoded{QString(), QStringConverter::Utf16BE}));
}

TEST(NSString, KeepsASecondMark)
{
    EXPECT_EQ(decodedHex("efbbbfefbbbf61"), (Decoded{u"\ufeffa"_s, QStringConverter::Utf8}));
}

TEST(NSString, KeepsNULBytes)
{
    EXPECT_EQ(decodedHex("610062"), (Decoded{u"a\0b"_s, QStringConverter::Utf8}));
    EXPECT_EQ(decodedHex("fffe610000006200"), (Decoded{u"a\0b"_s, QStringConverter::Utf16LE}));
    EXPECT_EQ(decodedHex("e900"), latin1Hex("e900"));
}

TEST(NSString, FromBytesThatAreNotValidInTheirEncodingIsLatin1)
{
    for (const char *digits : {
             "e9", // é in Latin-1
             "61c3", // UTF-8 that breaks off
             "61f09f98", // so too
             "c0af", // a slash in two bytes
             "eda080", // a surrogate in UTF-8
             "f4908080", // above U+10FFFF
             "efbbbf61ff", // marked as UTF-8
             "fffe61006200e9", // UTF-16 of odd length
             "feff0061ff", // so too
             "fffe00d86100", // an unpaired high surrogate
             "fffe610000dc", // an unpaired low one
             "feffd800", // a high one at the end
             "fffe000061000000e9", // UTF-32 with a byte too many
             "fffe000000001100", // above U+10FFFF
             "fffe000000d80000", // a surrogate in UTF-32
         })
        EXPECT_EQ(decodedHex(digits), latin1Hex(digits)) << digits;
}

TEST(NSString, FromEveryByteIsLatin1)
{
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes.append(static_cast<char>(byte));
    EXPECT_EQ(decoded(bytes), (Decoded{QString::fromLatin1(bytes), QStringConverter::Latin1}));
}

TEST(NSString, ReadsATextFile)
{
    const TemporaryHome home;
    const QString path = home.path() + u"/text"_s;
    writeFile(path, QByteArray::fromHex("fffe6100"));
    auto encoding = QStringConverter::System;
    EXPECT_EQ(NSString::stringWithContentsOfFile(path, 4, &encoding), u"a"_s);
    EXPECT_EQ(encoding, QStringConverter::Utf16LE);
    writeFile(path, "");
    EXPECT_EQ(NSString::stringWithContentsOfFile(path, 4), QString());
}

TEST(NSString, ReadsNoFileThatIsMissingTooLargeOrNoRegularFile)
{
    const TemporaryHome home;
    NSError error;
    EXPECT_EQ(NSString::stringWithContentsOfFile(home.path() + u"/none"_s, 100, nullptr, &error),
              std::nullopt);
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_EQ(NSString::stringWithContentsOfFile(home.path(), 100, nullptr, &error), std::nullopt);
    EXPECT_EQ(error.code(), EISDIR);
    const QString path = home.path() + u"/text"_s;
    writeFile(path, "12345");
    EXPECT_EQ(NSString::stringWithContentsOfFile(path, 5), u"12345"_s);
    EXPECT_EQ(NSString::stringWithContentsOfFile(path, 4, nullptr, &error), std::nullopt);
    EXPECT_EQ(error.code(), EFBIG);
    const QString fifo = home.path() + u"/fifo"_s;
    ASSERT_EQ(::mkfifo(fifo.toUtf8().constData(), 0600), 0);
    EXPECT_EQ(NSString::stringWithContentsOfFile(fifo, 100), std::nullopt);
}
