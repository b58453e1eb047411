#include "Tests/Support/QtPrinters.h"

#include <Marblewick/NSAttributedString.h>

#include <gtest/gtest.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

NSAttributedString read(const QByteArray &contents)
{
    const auto text = NSAttributedString::initWithRTF("{\\rtf1\\ansi " + contents + '}');
    EXPECT_TRUE(text);
    return text.value_or(NSAttributedString());
}

/*! How the character at a place in the text looks. */
NSTextAttributes attributesAt(const NSAttributedString &text, qsizetype location)
{
    for (const NSAttributeRun &run : text.runs) {
        if (location < run.length)
            return run.attributes;
        location -= run.length;
    }
    ADD_FAILURE() << "beyond the text";
    return {};
}

/*! The marks "b", "i" and "u" of each character's looks, a blank between characters. */
QString marks(const QByteArray &contents)
{
    const NSAttributedString text = read(contents);
    QStringList result;
    for (qsizetype i = 0; i < text.string.size(); ++i) {
        const NSTextAttributes attributes = attributesAt(text, i);
        result.append(text.string[i] + (attributes.isBold ? u"b"_s : QString())
                      + (attributes.isItalic ? u"i"_s : QString())
                      + (attributes.isUnderlined ? u"u"_s : QString()));
    }
    return result.join(u' ');
}

/*! Red, green and blue of the last character, or "none". */
QString colorOf(const QByteArray &contents)
{
    const NSAttributedString text = read(contents);
    const auto color = attributesAt(text, text.string.size() - 1).foregroundColor;
    if (!color)
        return u"none"_s;
    double red = -1;
    double green = -1;
    double blue = -1;
    double alpha = -1;
    color->getRed(&red, &green, &blue, &alpha);
    EXPECT_EQ(alpha, 1);
    return u"%1 %2 %3"_s.arg(red).arg(green).arg(blue);
}

double sizeOf(const QByteArray &contents) { return attributesAt(read(contents), 0).fontSize; }

NSParagraphStyle paragraphOf(const QByteArray &contents) { return read(contents).paragraphs.back(); }

} // namespace

TEST(RichTextFormatting, TurnsBoldItalicAndUnderlinesOnAndOff)
{
    EXPECT_EQ(marks(R"(A\b B\i C\ul D\b0 E\i0 F\ulnone G)"), u"A Bb Cbi Dbiu Eiu Fu G"_s);
    EXPECT_EQ(marks(R"(\b1 A\b0 B\ul C\ul0 D\uldb E\uld0 F\ulw G)"), u"Ab B Cu D Eu F Gu"_s);
}

TEST(RichTextFormatting, EndsWithItsGroup) { EXPECT_EQ(marks(R"(A{\b B{\i C}D}E)"), u"A Bb Cbi Db E"_s); }

TEST(RichTextFormatting, PlainTakesItAllAway)
{
    const auto text = read(R"({\fonttbl\f0 Sans;}{\colortbl;\red255;}\f0\fs40\cf1\b\i\ul\plain A)");
    const NSTextAttributes attributes = attributesAt(text, 0);
    EXPECT_FALSE(attributes.isBold || attributes.isItalic || attributes.isUnderlined);
    EXPECT_EQ(attributes.fontName, QString());
    EXPECT_EQ(attributes.fontSize, 0);
    EXPECT_FALSE(attributes.foregroundColor);
}

TEST(RichTextFormatting, MakesOneRunOfCharactersThatLookAlike)
{
    EXPECT_EQ(read(R"(a{b}\b\b0 c\'e9\u8364?\par d)").runs.size(), 1U);
}

TEST(RichTextFormatting, GivesAFontSizeInPoints)
{
    EXPECT_EQ(sizeOf("A"), 0);
    EXPECT_EQ(sizeOf("\\fs26 A"), 13);
    EXPECT_EQ(sizeOf("\\fs25 A"), 12.5);
}

TEST(RichTextFormatting, BoundsAFontSize)
{
    EXPECT_EQ(sizeOf("\\fs2147483647 A"), 288);
    EXPECT_EQ(sizeOf("\\fs0 A"), 0);
    EXPECT_EQ(sizeOf("\\fs-30 A"), 0);
}

TEST(RichTextFormatting, NamesTheFontOfTheTable)
{
    const auto text = read(
        "{\\fonttbl\\f0\\fswiss\\fcharset0 Helvetica-Bold;{\\f7\\froman{\\*\\panose 02}Times "
        "New Roman{\\*\\falt Serif};}}\\f0 A\\f7 B\\f9 C\\f-1 D");
    EXPECT_EQ(text.string, u"ABCD"_s);
    EXPECT_EQ(attributesAt(text, 0).fontName, u"Helvetica-Bold"_s);
    EXPECT_EQ(attributesAt(text, 1).fontName, u"Times New Roman"_s);
    EXPECT_EQ(attributesAt(text, 2).fontName, QString());
    EXPECT_EQ(attributesAt(text, 3).fontName, QString());
}

TEST(RichTextFormatting, BeginsWithTheDefaultFont)
{
    EXPECT_EQ(attributesAt(read("\\deff1{\\fonttbl\\f0 Sans;\\f1 Serif;}A"), 0).fontName, u"Serif"_s);
    EXPECT_EQ(attributesAt(read("{\\fonttbl\\f0 Sans;}A"), 0).fontName, QString());
}

TEST(RichTextFormatting, BeginsWithTheDefaultFontAlsoAfterAnEmptyParagraph)
{
    const auto text = read(R"(\deff0{\fonttbl\f0 Times;}\par Text)");
    EXPECT_EQ(text.string, u"\nText"_s);
    EXPECT_EQ(attributesAt(text, 0).fontName, u"Times"_s);
    EXPECT_EQ(attributesAt(text, 1).fontName, u"Times"_s);
}

TEST(RichTextFormatting, GivesTheEndOfAParagraphItsOwnLooks)
{
    EXPECT_EQ(marks(R"(A{\b\par}B)"), u"A \nb B"_s);
}

TEST(RichTextFormatting, TakesColorsFromTheTable)
{
    const QByteArray table = "{\\colortbl;\\red255\\green51\\blue0;\\red0\\green0\\blue0;\\green255;}";
    EXPECT_EQ(colorOf(table + "\\cf1 A"), u"1 0.2 0"_s);
    EXPECT_EQ(colorOf(table + "\\cf2 A"), u"0 0 0"_s);
    EXPECT_EQ(colorOf(table + "\\cf3 A"), u"0 1 0"_s);
}

TEST(RichTextFormatting, HasNoColorWhereTheDocumentGivesNone)
{
    const QByteArray table = "{\\colortbl;\\red255;}";
    EXPECT_EQ(colorOf("A"), u"none"_s);
    EXPECT_EQ(colorOf(table + "\\cf0 A"), u"none"_s);
    EXPECT_EQ(colorOf(table + "\\cf1 A\\cf B"), u"none"_s);
    for (const char *index : {"2", "-1", "2147483647", "-2147483648"})
        EXPECT_EQ(colorOf(table + "\\cf" + index + " A"), u"none"_s) << index;
}

TEST(RichTextFormatting, BoundsTheComponentsOfAColor)
{
    EXPECT_EQ(colorOf("{\\colortbl;\\red256\\green-1\\blue2147483647;}\\cf1 A"), u"1 0 1"_s);
}

TEST(RichTextFormatting, PassesOverBackgroundColors)
{
    EXPECT_EQ(colorOf("{\\colortbl;\\red255;}\\cb1\\highlight1\\chcbpat1 A"), u"none"_s);
}

TEST(RichTextFormatting, PassesOverTheSecondColorTableThatOnlySomeEditorsKnow)
{
    EXPECT_EQ(colorOf("{\\colortbl;\\red255;}{\\*\\expandedcolortbl;;\\cssrgb\\c0\\c0\\c0;}\\cf1 A"),
              u"1 0 0"_s);
}

TEST(RichTextFormatting, AlignsParagraphs)
{
    const auto text = read(R"(a\par\ql b\par\qc c\par\qr d\par\qj e\par\pard f)");
    const NSTextAlignment expected[] = {NSTextAlignment::Natural,   NSTextAlignment::Left,
                                        NSTextAlignment::Center,    NSTextAlignment::Right,
                                        NSTextAlignment::Justified, NSTextAlignment::Natural};
    ASSERT_EQ(text.paragraphs.size(), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i)
        EXPECT_EQ(text.paragraphs[i].alignment, expected[i]) << i;
}

TEST(RichTextFormatting, TakesThatOfAParagraphFromItsEnd)
{
    EXPECT_EQ(read("\\ql one\\qr two\\par x").paragraphs.front().alignment, NSTextAlignment::Right);
}

TEST(RichTextFormatting, IndentsAndSpacesParagraphsInPoints)
{
    const NSParagraphStyle style = paragraphOf("\\li720\\fi-360\\ri200\\sb120\\sa240 A");
    EXPECT_EQ(style.leftIndent, 36);
    EXPECT_EQ(style.firstLineIndent, -18);
    EXPECT_EQ(style.rightIndent, 10);
    EXPECT_EQ(style.spaceBefore, 6);
    EXPECT_EQ(style.spaceAfter, 12);
}

TEST(RichTextFormatting, BoundsIndentsAndSpacing)
{
    const NSParagraphStyle style = paragraphOf("\\li2147483647\\fi-2147483647\\ri99999\\sb99999\\sa-5 A");
    EXPECT_EQ(style.leftIndent, 144);
    EXPECT_EQ(style.firstLineIndent, -144);
    EXPECT_EQ(style.rightIndent, 144);
    EXPECT_EQ(style.spaceBefore, 144);
    EXPECT_EQ(style.spaceAfter, 0);
    EXPECT_EQ(paragraphOf("\\li-720 A").leftIndent, 0);
}

TEST(RichTextFormatting, SetsTabStopsInPoints)
{
    EXPECT_EQ(paragraphOf("\\tx560\\tx1120 A").tabStops, (QList<double>{28, 56}));
    EXPECT_EQ(paragraphOf("\\tx560\\pard A").tabStops, QList<double>());
}

TEST(RichTextFormatting, TakesAtMost32TabStops)
{
    EXPECT_EQ(paragraphOf(QByteArray("\\tx560").repeated(1000) + " A").tabStops.size(), 32);
    EXPECT_EQ(paragraphOf("\\tx2147483647\\tx-1 A").tabStops, (QList<double>{1440, 0}));
}
