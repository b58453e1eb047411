#include <Marblewick/NSAttributedString.h>

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTextDocument>

#include <numeric>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype megabyte = 1'000'000;

NSAttributedString read(const QByteArray &contents)
{
    const auto text = NSAttributedString::initWithRTF("{\\rtf1 " + contents);
    EXPECT_TRUE(text);
    return text.value_or(NSAttributedString());
}

/*! As much of a piece as makes a megabyte. */
QByteArray megabyteOf(const QByteArray &piece) { return piece.repeated(megabyte / piece.size()); }

/*! What holds for every text, whatever it was read from. */
void expectThatItIsWhole(const NSAttributedString &text)
{
    const auto add = [](qsizetype sum, const NSAttributeRun &run) { return sum + run.length; };
    EXPECT_EQ(std::accumulate(text.runs.begin(), text.runs.end(), qsizetype(0), add), text.string.size());
    EXPECT_EQ(static_cast<qsizetype>(text.paragraphs.size()), text.string.count(u'\n') + 1);
    EXPECT_TRUE(text.string.isValidUtf16());
}

} // namespace

TEST(RichTextHostile, ReadsAMegabyteOfOpenBraces)
{
    EXPECT_EQ(read(megabyteOf("{")).string, QString());
    EXPECT_EQ(read(megabyteOf("{\\b ")).string, QString());
    EXPECT_EQ(read(megabyteOf("}")).string, QString());
}

TEST(RichTextHostile, Reads256GroupsInsideEachOtherAndLeavesOutWhatIsDeeper)
{
    const auto nested = [](qsizetype groups) {
        return read(QByteArray("{").repeated(groups) + "deep" + QByteArray("}").repeated(groups) + "after}")
            .string;
    };
    EXPECT_EQ(nested(255), u"deepafter"_s);
    EXPECT_EQ(nested(256), u"after"_s);
    EXPECT_EQ(nested(100'000), u"after"_s);
}

TEST(RichTextHostile, ReadsAMegabyteOfEachConstructInLinearTime)
{
    for (const char *piece : {"\\",
                              "\\b a\\b0 b",
                              "\\par",
                              "\\'e9\\b",
                              "\\u8364?",
                              "\\u-10180?",
                              "{\\b a}",
                              "\\tx1",
                              "\\f1 a\\f2 b",
                              "{\\fonttbl\\f0 a;}",
                              "{\\colortbl;}",
                              "{\\field{\\*\\fldinst{HYPERLINK \"a:b\"}}{\\fldrslt c}}",
                              "\\*",
                              "\\ansicpg932\\'93\\'fa",
                              "\\bin1",
                              "\\bin0 ",
                              "a;",
                              "\\cf1 a\\cf2 b",
                              "\\fldinst a",
                              "\\fonttbl a",
                              "\\colortbl;",
                              "\\pict 0"}) {
        const auto milliseconds = [&](const QByteArray &contents) {
            QElapsedTimer timer;
            timer.start();
            expectThatItIsWhole(read(contents));
            return timer.elapsed();
        };
        const auto few = milliseconds(megabyteOf(piece).left(megabyte / 20));
        // Quadratic work would take 400 times as long; a busy machine does not.
        EXPECT_LT(milliseconds(megabyteOf(piece)), 100 * qMax<qint64>(few, 5)) << piece;
    }
}

TEST(RichTextHostile, KeepsTheLastFormattingAfter65536Changes)
{
    const auto text = read(QByteArray("\\b a\\b0 b").repeated(50'000));
    EXPECT_EQ(text.runs.size(), 65'536U);
    EXPECT_EQ(text.string.count(u'a') + text.string.count(u'b'), 100'000);
    expectThatItIsWhole(text);
}

TEST(RichTextHostile, EndsAfter1048576CharactersOr16384Paragraphs)
{
    EXPECT_EQ(read(QByteArray(2'000'000, 'a')).string.size(), 1'048'576 + 127); // with the breaks below
    EXPECT_EQ(read(QByteArray("some words\\par ").repeated(100'000)).paragraphs.size(), 16'385U);
}

TEST(RichTextHostile, BreaksAParagraphOfMoreThan8192CharactersOr1024Formats)
{
    const QStringList lines = read(QByteArray(20'000, 'a')).string.split(u'\n');
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0].size(), 8192);
    EXPECT_EQ(lines[2].size(), 20'000 - 2 * 8192);
    EXPECT_EQ(read(QByteArray("\\b a\\b0 b").repeated(600)).string.indexOf(u'\n'), 1024);
    EXPECT_EQ(read(QByteArray("\\b a\\b0 b").repeated(512)).string.indexOf(u'\n'), -1);
}

TEST(RichTextHostile, DoesNotBreakAParagraphOrTheTextWithinACharacterOfTwoUnits)
{
    const QByteArray inUTF8 = "\\ansicpg65001 a" + QByteArray("\xf0\x9f\x98\x80").repeated(600'000);
    const QByteArray byUnits = "\\uc0 a" + QByteArray("\\u-10179 \\u-8704 ").repeated(10'000);
    for (const QByteArray &contents : {inUTF8, byUnits}) {
        const NSAttributedString text = read(contents);
        EXPECT_EQ(text.string.indexOf(u'\n'), 8191);
        EXPECT_EQ(text.string.count(QChar::ReplacementCharacter), 0);
        expectThatItIsWhole(text);
    }
}

TEST(RichTextHostile, IsShownInTimeWhateverItHolds)
{
    for (const char *piece : {"a", "\\b a\\b0 b", "\\par ", "\\tab ", "\\line "}) {
        const NSAttributedString text = read(megabyteOf(piece));
        QTextDocument document;
        QElapsedTimer timer;
        timer.start();
        text.replaceContents(&document, Qt::blue);
        document.setTextWidth(400);
        EXPECT_GT(document.size().height(), 400);
        // Paragraphs without bounds take minutes; a busy machine takes some seconds for these.
        EXPECT_LT(timer.elapsed(), 30'000) << piece;
    }
}

TEST(RichTextHostile, Knows1024FontsAndColors)
{
    QByteArray fonts;
    for (int i = 0; i < 2000; ++i)
        fonts += "\\f" + QByteArray::number(i) + " Font" + QByteArray::number(i) + ';';
    const auto text = read("{\\fonttbl" + fonts + "}{\\colortbl" + QByteArray("\\red9;").repeated(2000)
                           + "}\\f1023\\cf1023 a\\f1024\\cf1024 b}");
    ASSERT_EQ(text.runs.size(), 2U);
    EXPECT_EQ(text.runs[0].attributes.fontName, u"Font1023"_s);
    EXPECT_TRUE(text.runs[0].attributes.foregroundColor);
    EXPECT_EQ(text.runs[1].attributes.fontName, QString());
    EXPECT_FALSE(text.runs[1].attributes.foregroundColor);
}

TEST(RichTextHostile, BoundsTheNameOfAFont)
{
    const auto text = read("{\\fonttbl\\f0 " + QByteArray(megabyte, 'n') + ";}\\f0 a}");
    EXPECT_EQ(text.runs.at(0).attributes.fontName.size(), 128);
}

TEST(RichTextHostile, ReadsRubbish)
{
    QByteArray rubbish(megabyte, Qt::Uninitialized);
    uint seed = 1;
    for (char &byte : rubbish)
        byte = static_cast<char>((seed = seed * 1664525 + 1013904223) >> 24);
    expectThatItIsWhole(read(rubbish));
    EXPECT_FALSE(NSAttributedString::initWithRTF(rubbish));
}

TEST(RichTextHostile, ReadsEveryInputThatTheFuzzerKeptAndMakesADocumentOfIt)
{
    int count = 0;
    QDirIterator files(QStringLiteral(MARBLEWICK_FUZZ_CORPUS "/rich-text"), QDir::Files);
    for (; files.hasNext(); ++count) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        SCOPED_TRACE(file.fileName().toStdString());
        const auto text = NSAttributedString::initWithRTF(file.readAll());
        if (!text)
            continue;
        expectThatItIsWhole(*text);
        QTextDocument document;
        text->replaceContents(&document, Qt::blue);
        EXPECT_EQ(document.toPlainText().size(), text->string.size());
    }
    EXPECT_GE(count, 6);
}
