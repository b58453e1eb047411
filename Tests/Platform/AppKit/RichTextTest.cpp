#include "Tests/Support/QtPrinters.h"

#include <Marblewick/NSAttributedString.h>

#include <gtest/gtest.h>

#include <QStringDecoder>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

NSAttributedString read(const QByteArray &contents)
{
    const auto text = NSAttributedString::initWithRTF("{\\rtf1\\ansi\\ansicpg1252 " + contents + '}');
    EXPECT_TRUE(text);
    return text.value_or(NSAttributedString());
}

QString stringOf(const QByteArray &contents) { return read(contents).string; }

/*! The text in a code page of its own. */
QString stringInCodePage(int codePage, const QByteArray &contents)
{
    const auto text = NSAttributedString::initWithRTF("{\\rtf1\\ansi\\ansicpg" + QByteArray::number(codePage)
                                                      + ' ' + contents + '}');
    return text ? text->string : u"nil"_s;
}

/*! The text in a font of a character set. */
QString stringInCharacterSet(int characterSet, const QByteArray &contents)
{
    return stringOf("{\\fonttbl\\f3\\fcharset" + QByteArray::number(characterSet) + " Font;}\\f3 "
                    + contents);
}

} // namespace

// What is rich text

TEST(RichText, IsNilWhereTheDataDoNotBeginAsItDoes)
{
    for (const QByteArray &data : {QByteArray(), QByteArray("Plain text"), QByteArray("{\\rt"),
                                   QByteArray(" {\\rtf1 a}"), QByteArray("\x89PNG\r\n\x1a\n\0\0", 10)})
        EXPECT_FALSE(NSAttributedString::initWithRTF(data)) << data.toStdString();
}

TEST(RichText, OfADocumentWithoutTextIsEmpty)
{
    const auto text = NSAttributedString::initWithRTF("{\\rtf1}");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string, QString());
    EXPECT_TRUE(text->runs.empty());
    EXPECT_EQ(text->paragraphs.size(), 1U);
}

TEST(RichText, ThatBreaksOffGivesWhatWasRead)
{
    for (const char *end : {"", "\\", "\\b", "{", "\\'", "\\'e", "\\u", "\\bin9", "{\\*", "{\\fonttbl\\f0"})
        EXPECT_EQ(NSAttributedString::initWithRTF(QByteArray("{\\rtf1 Thanks") + end)->string.left(6),
                  u"Thanks"_s)
            << end;
}

TEST(RichText, EndsWithItsOutermostGroup)
{
    EXPECT_EQ(NSAttributedString::initWithRTF("{\\rtf1 inside} outside {inside?}")->string, u"inside"_s);
}

// Characters

TEST(RichText, TakesAnEscapedBackslashOrBraceForTheCharacter)
{
    EXPECT_EQ(stringOf(R"(\{a\\b\})"), u"{a\\b}"_s);
}

TEST(RichText, PassesOverTheLineEndsOfTheFile)
{
    EXPECT_EQ(stringOf("one\r\n two\nthree"), u"one twothree"_s);
}

TEST(RichText, TakesTheBlankAfterAWordForItsEnd) { EXPECT_EQ(stringOf(R"(a\b  b\b0 c\i1d)"), u"a bcd"_s); }

TEST(RichText, HasTheCharactersThatWordsStandFor)
{
    EXPECT_EQ(stringOf(R"(\bullet\emdash\endash\lquote\rquote\ldblquote\rdblquote\emspace\enspace\qmspace)"),
              u"\u2022\u2014\u2013\u2018\u2019\u201c\u201d\u2003\u2002\u2005"_s);
    EXPECT_EQ(stringOf(R"(a\~b\_c\-d\tab e\line f)"), u"a\u00a0b\u2011c\u00add\te\u2028f"_s);
}

TEST(RichText, EndsAParagraphWhereItSaysSo)
{
    EXPECT_EQ(stringOf("a\\par b\\\nc\\\rd\\sect e\\page f"), u"a\nb\nc\nd\ne\nf"_s);
    EXPECT_EQ(read("a\\par b\\par ").paragraphs.size(), 3U);
}

TEST(RichText, SetsTheCellsOfATableApart)
{
    EXPECT_EQ(stringOf(R"(\trowd a\cell b\cell\row c\cell\row)"), u"a\tb\t\nc\t\n"_s);
}

TEST(RichText, KeepsATabThatIsNotEscapedAndDropsOtherControls)
{
    EXPECT_EQ(stringOf("a\tb" + QByteArray(1, '\0') + "c\x1b\x7f"), u"a\tbc"_s);
    EXPECT_EQ(stringOf(R"(d\'07e\u27 ?f\u159 ?g)"), u"defg"_s);
}

// Code pages

TEST(RichText, ReadsBytesInTheDocumentsCodePage)
{
    EXPECT_EQ(stringInCodePage(1252, R"(\'80 caf\'e9 \'93x\'94)"), u"€ café “x”"_s);
    EXPECT_EQ(stringInCodePage(1250, R"(\'f8\'ED)"), u"ří"_s);
    EXPECT_EQ(stringInCodePage(1251, R"(\'cf\'f0\'e8\'e2\'e5\'f2)"), u"Привет"_s);
    EXPECT_EQ(stringInCodePage(1253, R"(\'c1\'e8)"), u"Αθ"_s);
    EXPECT_EQ(stringInCodePage(1255, R"(\'f9\'ec)"), u"של"_s);
    EXPECT_EQ(stringInCodePage(10000, R"(\'8a\'a5)"), u"ä•"_s);
    EXPECT_EQ(stringInCodePage(437, R"(\'81)"), u"ü"_s);
    EXPECT_EQ(stringInCodePage(65001, R"(\'e2\'82\'ac)"), u"€"_s);
}

TEST(RichText, ReadsCharactersOfSeveralBytes)
{
    EXPECT_EQ(stringInCodePage(932, R"(\'93\'fa\'96{\'7b})").left(1), u"日"_s);
    EXPECT_EQ(stringInCodePage(932, R"(\'93\'fa\'96\'7b\'8c\'ea)"), u"日本語"_s);
    EXPECT_EQ(stringInCodePage(936, R"(\'d6\'d0)"), u"中"_s);
    EXPECT_EQ(stringInCodePage(949, R"(\'c7\'d1)"), u"한"_s);
    EXPECT_EQ(stringInCodePage(950, R"(\'a4\'a4)"), u"中"_s);
}

TEST(RichText, ReadsASecondByteThatIsWrittenAsALetter)
{
    EXPECT_EQ(stringInCodePage(932, R"(\'83A\'83C)"), u"アイ"_s);
}

TEST(RichText, ReadsTheBytesFromA0OnOfTheWesternCodePageAsADecoderForItDoes)
{
    for (int byte = 0xa0; byte <= 0xff; ++byte) {
        QStringDecoder decoder("windows-1252");
        const QString expected = decoder.decode(QByteArray(1, static_cast<char>(byte)));
        EXPECT_EQ(stringInCodePage(1252, "\\'" + QByteArray::number(byte, 16)), expected) << byte;
    }
}

TEST(RichText, ReadsBytesThatAreNotEscapedInTheCodePage)
{
    EXPECT_EQ(stringInCodePage(1251, "\xcf\xf0"), u"Пр"_s);
}

TEST(RichText, ReadsACodePageThatIsNotKnownAsLatin1)
{
    for (const int codePage : {0, -1, 99999, 1361, 2147483647})
        EXPECT_EQ(stringInCodePage(codePage, R"(caf\'e9)"), u"café"_s) << codePage;
}

namespace {

struct EncodedText
{
    int encoding; ///< the number of a code page or a character set
    const char *contents;
    QString text;
};

} // namespace

TEST(RichText, ReadsBytesInEachCodePage)
{
    const EncodedText texts[] = {
        {437, R"(\'81)", u"ü"_s},      {850, R"(\'9b)", u"ø"_s},           {852, R"(\'fd)", u"ř"_s},
        {866, R"(\'8f)", u"П"_s},      {874, R"(\'a1)", u"ก"_s},           {932, R"(\'93\'fa)", u"日"_s},
        {936, R"(\'b9\'fa)", u"国"_s}, {949, R"(\'c7\'d1)", u"한"_s},      {950, R"(\'b0\'ea)", u"國"_s},
        {1250, R"(\'f8)", u"ř"_s},     {1251, R"(\'cf)", u"П"_s},          {1252, R"(\'80)", u"€"_s},
        {1253, R"(\'c8)", u"Θ"_s},     {1254, R"(\'f0)", u"ğ"_s},          {1255, R"(\'f9)", u"ש"_s},
        {1256, R"(\'d4)", u"ش"_s},     {1257, R"(\'fe)", u"ž"_s},          {1258, R"(\'f5)", u"ơ"_s},
        {10000, R"(\'8a)", u"ä"_s},    {65001, R"(\'e2\'82\'ac)", u"€"_s},
    };
    for (const EncodedText &text : texts)
        EXPECT_EQ(stringInCodePage(text.encoding, text.contents), text.text) << text.encoding;
}

TEST(RichText, ReadsBytesInTheCodePageOfTheirFontsCharacterSet)
{
    const EncodedText texts[] = {
        {77, R"(\'8a)", u"ä"_s},       {128, R"(\'93\'fa)", u"日"_s}, {129, R"(\'c7\'d1)", u"한"_s},
        {134, R"(\'b9\'fa)", u"国"_s}, {136, R"(\'b0\'ea)", u"國"_s}, {161, R"(\'c8)", u"Θ"_s},
        {162, R"(\'f0)", u"ğ"_s},      {163, R"(\'f5)", u"ơ"_s},      {177, R"(\'f9)", u"ש"_s},
        {178, R"(\'d4)", u"ش"_s},      {186, R"(\'fe)", u"ž"_s},      {204, R"(\'cf)", u"П"_s},
        {222, R"(\'a1)", u"ก"_s},      {238, R"(\'f8)", u"ř"_s},      {254, R"(\'81)", u"ü"_s},
        {255, R"(\'9b)", u"ø"_s},
    };
    for (const EncodedText &text : texts)
        EXPECT_EQ(stringInCharacterSet(text.encoding, text.contents), text.text) << text.encoding;
}

TEST(RichText, ReadsBytesInTheDocumentsCodePageWhereTheCharacterSetNamesNone)
{
    for (const int characterSet : {0, 1, 2, 7777})
        EXPECT_EQ(stringInCharacterSet(characterSet, R"(\'e9)"), u"é"_s) << characterSet;
}

TEST(RichText, ReadsTheCodePagesOfOldSystems)
{
    EXPECT_EQ(NSAttributedString::initWithRTF(R"({\rtf1\mac\'8a})")->string, u"ä"_s);
    EXPECT_EQ(NSAttributedString::initWithRTF(R"({\rtf1\pc\'9c})")->string, u"£"_s);
    EXPECT_EQ(NSAttributedString::initWithRTF(R"({\rtf1\pca\'9b})")->string, u"ø"_s);
    EXPECT_EQ(NSAttributedString::initWithRTF(R"({\rtf1\'e9})")->string, u"é"_s);
}

TEST(RichText, PassesOverAnEscapeThatIsNotHexadecimal) { EXPECT_EQ(stringOf(R"(a\'zzb)"), u"azzb"_s); }

// Unicode

TEST(RichText, ReadsUnicodeAndPassesOverTheOneByteThatStandsForIt)
{
    EXPECT_EQ(stringOf(R"(\u8364?5 \u8364\'805 \u-225 ?)"), u"€5 €5 \uff1f"_s);
}

TEST(RichText, PassesOverAsManyBytesAfterUnicodeAsTheDocumentSays)
{
    EXPECT_EQ(stringOf(R"(\uc0\u8364 5\uc2\u8364\'e2\'825\uc3\u8364abc5)"), u"€5€5€5"_s);
}

TEST(RichText, CountsAWordForOneByteAfterUnicode)
{
    EXPECT_EQ(stringOf(R"(\u8226\bullet a\uc2\u8226\bullet ?b)"), u"\u2022a\u2022b"_s);
}

TEST(RichText, PassesOverNothingBeyondTheGroupAfterUnicode)
{
    EXPECT_EQ(stringOf(R"({\uc9\u8364 a}b{\uc9\u8364 {c}})"), u"€b€c"_s);
}

TEST(RichText, LetsTheBytesAfterUnicodeEndWithTheGroupThatSetThem)
{
    EXPECT_EQ(stringOf(R"({\uc0\u8364 5}\u8364?5)"), u"€5€5"_s);
}

TEST(RichText, JoinsTwoHalvesOfACharacter)
{
    EXPECT_EQ(stringOf(R"(\u-10180 ?{\b\u-8760 ?})"), u"\U0001F1C8"_s);
}

TEST(RichText, ReplacesHalfACharacter)
{
    EXPECT_EQ(stringOf(R"(a\u-10180 ?b\u-8760 ?)"), u"a\ufffdb\ufffd"_s);
}

TEST(RichText, ReplacesUnicodeThatIsOutOfRange)
{
    EXPECT_EQ(stringOf(R"(\u65536 ?\u-32769 ?\u1114112 ?\u99999999999999999999 ?\u-99999999999 ?.)"),
              u"\ufffd\ufffd\ufffd\ufffd\ufffd."_s);
    EXPECT_EQ(stringOf(R"(\u65533 ?\u-32768 ?)"), u"\ufffd\u8000"_s);
}

TEST(RichText, DropsUnicodeThatIsNoText)
{
    EXPECT_EQ(stringOf(R"(\u0 ?\u-4 ?\u-1 ?\u-560 ?\u64976 ?.)"), u"."_s);
    EXPECT_EQ(read(R"(a\u8233 ?b)").paragraphs.size(), 2U);
}

TEST(RichText, PassesOverUnicodeWithoutANumber) { EXPECT_EQ(stringOf(R"(a\u b)"), u"ab"_s); }

// What is skipped

TEST(RichText, SkipsADestinationThatIsMarkedIgnorableAndNotKnown)
{
    EXPECT_EQ(stringOf(R"(a{\*\generator Editor 7;}b{\*\pn{\pntxtb x}y}c)"), u"abc"_s);
}

TEST(RichText, ReadsAnUnknownWordThatIsNotMarked) { EXPECT_EQ(stringOf(R"(a{\unheardof7 b}c)"), u"abc"_s); }

TEST(RichText, SkipsPicturesAndObjects)
{
    EXPECT_EQ(stringOf(R"(a{\pict\pngblip\picw9\pich9 89504e470d0a1a0a}b)"), u"ab"_s);
    EXPECT_EQ(stringOf(R"(a{\*\shppict{\pict 00ff}}{\nonshppict{\pict 00ff}}b)"), u"ab"_s);
    EXPECT_EQ(stringOf(R"(a{\object\objemb{\*\objclass Sheet}{\*\objdata 0105}{\result old}}b)"), u"ab"_s);
    EXPECT_EQ(stringOf(R"(a{\shp{\*\shpinst{\shptxt x}}{\shprslt y}}b)"), u"ab"_s);
}

TEST(RichText, SkipsBinaryDataWhateverIsInThem)
{
    EXPECT_EQ(stringOf("a{\\pict\\bin6 }}{\\b0 }b"), u"ab"_s);
    EXPECT_EQ(stringOf("a\\bin3 }}}b"), u"ab"_s);
    EXPECT_EQ(stringOf("a\\bin0 b\\bin-5 c"), u"abc"_s);
}

TEST(RichText, EndsWithBinaryDataThatAreShorterThanTheySay)
{
    EXPECT_EQ(stringOf("a\\bin2147483647 bcd"), u"a"_s);
    EXPECT_EQ(stringOf("a\\bin99999999999999999999 bcd"), u"a"_s);
}

TEST(RichText, SkipsWhatIsNotInTheText)
{
    EXPECT_EQ(stringOf(R"({\info{\title T}{\author A}}{\stylesheet{\s0 Normal;}}{\header h}{\footerf f}a)"
                       R"({\footnote n}{\xe x}{\listtable l}{\filetbl f}b)"),
              u"ab"_s);
}

TEST(RichText, SkipsHiddenAndDeletedTextWithItsCharactersAndParagraphs)
{
    EXPECT_EQ(stringOf(R"(a\v b\'e9\u8364?\tab\par\v0 c)"), u"ac"_s);
    EXPECT_EQ(stringOf(R"(a{\v b{\v0 c}d}e)"), u"ace"_s);
    EXPECT_EQ(stringOf(R"(a{\deleted b\deleted0 c}d)"), u"acd"_s);
    EXPECT_EQ(stringOf(R"(a\v b\plain c)"), u"ac"_s);
}

TEST(RichText, MakesOneRunOfTheTextAroundWhatIsHidden) { EXPECT_EQ(read(R"(a{\v b}c)").runs.size(), 1U); }

TEST(RichText, ShowsTheMarksOfListsAsTheDocumentGivesThem)
{
    EXPECT_EQ(stringOf("{\\*\\listtable{\\list}}{\\listtext\t\\uc0\\u8226 \t}One\\\n{\\pntext 2.\\tab}Two"),
              u"\t\u2022\tOne\n2.\tTwo"_s);
}

// Links

namespace {

QUrl linkOf(const QByteArray &instruction)
{
    const NSAttributedString text = read(R"({\field{\*\fldinst{)" + instruction + R"(}}{\fldrslt site}})");
    EXPECT_EQ(text.string, u"site"_s);
    return text.runs.at(0).attributes.link;
}

} // namespace

TEST(RichText, LinksTheResultOfAFieldToItsAddress)
{
    const NSAttributedString text = read(
        R"(see {\field{\*\fldinst{HYPERLINK "https://example.com/a?b=c"}}{\fldrslt the {\b site}}} now)");
    EXPECT_EQ(text.string, u"see the site now"_s);
    ASSERT_EQ(text.runs.size(), 4U);
    EXPECT_EQ(text.runs[0].attributes.link, QUrl());
    EXPECT_EQ(text.runs[1].attributes.link, QUrl(u"https://example.com/a?b=c"_s));
    EXPECT_EQ(text.runs[2].attributes.link, QUrl(u"https://example.com/a?b=c"_s));
    EXPECT_TRUE(text.runs[2].attributes.isBold);
    EXPECT_EQ(text.runs[3].attributes.link, QUrl());
}

TEST(RichText, ReadsTheAddressInEveryFormOfTheField)
{
    const QUrl url(u"https://example.com/"_s);
    EXPECT_EQ(linkOf(R"(HYPERLINK "https://example.com/")"), url);
    EXPECT_EQ(linkOf(R"( hyperlink  https://example.com/ )"), url);
    EXPECT_EQ(linkOf(R"({\f1 HYPER}{\b LINK "https://exam}ple.com/")"), url);
    EXPECT_EQ(linkOf(R"(HYPERLINK "https://example.com/" \\o "Tip")"), url);
    EXPECT_EQ(linkOf(R"(HYPERLINK "mailto:ada@example.com")"), QUrl(u"mailto:ada@example.com"_s));
}

TEST(RichText, ReadsFontsAndLinksWithinHiddenText)
{
    EXPECT_EQ(linkOf(R"(\v HYPERLINK "https://example.com/")"), QUrl(u"https://example.com/"_s));
    EXPECT_EQ(read(R"({\v{\fonttbl\f0 Serif;}}\f0 a)").runs.at(0).attributes.fontName, u"Serif"_s);
}

TEST(RichText, DoesNotLinkWhatIsNoAddress)
{
    for (const char *instruction : {"", "HYPERLINK", "HYPERLINK \"\"", "HYPERLINK \\\\l \"chapter\"", "PAGE",
                                    "HYPERLINK \"not a url\"", "HYPERLINK \"https://ex\\u233?mple.com\""})
        EXPECT_EQ(linkOf(instruction), QUrl()) << instruction;
}

TEST(RichText, DoesNotLinkToTheBeginningOfAnAddressThatIsLongerThanAnInstructionOf4096Characters)
{
    const QByteArray start = "HYPERLINK \"https://example.com/";
    const QByteArray longest(4096 - start.size() - 1, 'a');
    EXPECT_EQ(linkOf(start + longest + '"'), QUrl(u"https://example.com/"_s + QString::fromLatin1(longest)));
    EXPECT_EQ(linkOf(start + longest + "a\""), QUrl());
    EXPECT_EQ(linkOf(start + QByteArray(100'000, 'a') + '"'), QUrl());
}
