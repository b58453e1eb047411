#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <Marblewick/NSAttributedString.h>

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>
#include <QTextBlock>
#include <QTextDocument>

#include <sys/stat.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype maximumFileSize = 4 * 1024 * 1024;

double pixels(double points) { return points * QGuiApplication::primaryScreen()->logicalDotsPerInchY() / 72; }

class NSAttributedStringDocument : public ::testing::Test
{
protected:
    void show(const QByteArray &contents)
    {
        const auto text = NSAttributedString::initWithRTF("{\\rtf1 " + contents + '}');
        ASSERT_TRUE(text);
        text->replaceContents(&document, Qt::magenta);
    }

    /*! The format of the fragment that has this text. */
    QTextCharFormat formatOf(const QString &text) const
    {
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
            for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
                if (fragment.fragment().text() == text)
                    return fragment.fragment().charFormat();
            }
        }
        ADD_FAILURE() << "no such fragment: " << qPrintable(text);
        return {};
    }

    QTextDocument document;
};

} // namespace

TEST(NSAttributedStringFile, IsRead)
{
    const TemporaryHome home;
    writeFile(home.path() + u"/Credits.rtf"_s, R"({\rtf1 Thanks})");
    EXPECT_EQ(NSAttributedString::initWithContentsOfFile(home.path() + u"/Credits.rtf"_s)->string,
              u"Thanks"_s);
}

TEST(NSAttributedStringFile, IsNilWhereItIsMissingAFolderAFIFOEmptyOrNoRichText)
{
    const TemporaryHome home;
    ASSERT_EQ(::mkfifo((home.path() + u"/fifo"_s).toUtf8().constData(), 0600), 0);
    writeFile(home.path() + u"/empty"_s, "");
    writeFile(home.path() + u"/plain"_s, "Thanks");
    for (const QString &name : {u"/missing"_s, u"/"_s, u"/fifo"_s, u"/empty"_s, u"/plain"_s})
        EXPECT_FALSE(NSAttributedString::initWithContentsOfFile(home.path() + name)) << qPrintable(name);
    EXPECT_FALSE(NSAttributedString::initWithContentsOfFile(u":/missing"_s));
}

TEST(NSAttributedStringFile, IsNilWhereItMayNotBeRead)
{
    const TemporaryHome home;
    const QString path = home.path() + u"/Credits.rtf"_s;
    writeFile(path, R"({\rtf1 Thanks})");
    ASSERT_EQ(::chmod(path.toUtf8().constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(home.path(),
                                          [&] { return !NSAttributedString::initWithContentsOfFile(path); }));
}

TEST(NSAttributedStringFile, IsReadUpTo4MiB)
{
    const TemporaryHome home;
    const QString path = home.path() + u"/Credits.rtf"_s;
    const QByteArray start = "{\\rtf1 ";
    writeFile(path, start + QByteArray(maximumFileSize - start.size(), 'a'));
    EXPECT_TRUE(NSAttributedString::initWithContentsOfFile(path));
    writeFile(path, start + QByteArray(maximumFileSize - start.size() + 1, 'a'));
    EXPECT_FALSE(NSAttributedString::initWithContentsOfFile(path));
}

TEST_F(NSAttributedStringDocument, HasTheTextAndReplacesWhatWasThere)
{
    show("before");
    show(R"(one\line two\par\par{\b three}\par four)");
    EXPECT_EQ(document.toPlainText(), u"one\ntwo\n\nthree\nfour"_s);
    EXPECT_EQ(document.blockCount(), 4);
}

TEST_F(NSAttributedStringDocument, IsEmptyForATextWithoutCharacters)
{
    show("before");
    show("");
    EXPECT_TRUE(document.isEmpty());
}

TEST_F(NSAttributedStringDocument, HasTheLooksOfCharacters)
{
    show(R"({\fonttbl\f0 Helvetica-Bold;\f1 Menlo;}{\f0\fs30\b bold}{\f1\i italic}{\ul under}plain)");
    EXPECT_EQ(formatOf(u"bold"_s).fontFamilies().toStringList(), QStringList{u"Helvetica"_s});
    EXPECT_EQ(formatOf(u"bold"_s).fontPointSize(), 15);
    EXPECT_EQ(formatOf(u"bold"_s).fontWeight(), QFont::Bold);
    EXPECT_FALSE(formatOf(u"bold"_s).fontItalic());
    EXPECT_EQ(formatOf(u"italic"_s).fontFamilies().toStringList(), QStringList{u"Menlo"_s});
    EXPECT_TRUE(formatOf(u"italic"_s).fontItalic());
    EXPECT_TRUE(formatOf(u"under"_s).fontUnderline());
    EXPECT_FALSE(formatOf(u"plain"_s).hasProperty(QTextFormat::FontFamilies));
    EXPECT_FALSE(formatOf(u"plain"_s).hasProperty(QTextFormat::FontPointSize));
    EXPECT_FALSE(formatOf(u"plain"_s).fontUnderline());
}

TEST_F(NSAttributedStringDocument, KeepsAColorAndLeavesTextWithoutOneToTheWidget)
{
    show(R"({\colortbl;\red255\green0\blue0;\red0\green0\blue0;}{\cf1 red}{\cf2 black}none)");
    EXPECT_EQ(formatOf(u"red"_s).foreground().color(), QColor(255, 0, 0));
    EXPECT_EQ(formatOf(u"black"_s).foreground().color(), QColor(0, 0, 0));
    EXPECT_FALSE(formatOf(u"none"_s).hasProperty(QTextFormat::ForegroundBrush));
}

TEST_F(NSAttributedStringDocument, LeavesTextInTheStandardTextColorToTheWidget)
{
    auto text = NSAttributedString::initWithRTF(R"({\rtf1 text})");
    ASSERT_TRUE(text);
    text->runs.at(0).attributes.foregroundColor = NSColor::textColor();
    text->replaceContents(&document, Qt::magenta);
    EXPECT_FALSE(formatOf(u"text"_s).hasProperty(QTextFormat::ForegroundBrush));
    text->runs.at(0).attributes.foregroundColor = NSColor::colorNamed(u"disabledControlTextColor"_s);
    text->replaceContents(&document, Qt::magenta);
    EXPECT_TRUE(formatOf(u"text"_s).hasProperty(QTextFormat::ForegroundBrush));
}

TEST_F(NSAttributedStringDocument, UnderlinesLinksAndColorsThoseWithoutAColor)
{
    show(R"({\colortbl;\red255;}{\field{\*\fldinst{HYPERLINK "https://example.com/%C3%A4"}}{\fldrslt site}})"
         R"({\field{\*\fldinst{HYPERLINK "https://example.com/"}}{\fldrslt\cf1 red}}text)");
    EXPECT_TRUE(formatOf(u"site"_s).isAnchor());
    EXPECT_EQ(formatOf(u"site"_s).anchorHref(), u"https://example.com/%C3%A4"_s);
    EXPECT_EQ(formatOf(u"site"_s).toolTip(), u"https://example.com/%C3%A4"_s);
    EXPECT_TRUE(formatOf(u"site"_s).fontUnderline());
    EXPECT_EQ(formatOf(u"site"_s).foreground().color(), QColor(Qt::magenta));
    EXPECT_EQ(formatOf(u"red"_s).foreground().color(), QColor(255, 0, 0));
    EXPECT_FALSE(formatOf(u"text"_s).isAnchor());
}

TEST_F(NSAttributedStringDocument, ColorsLinksInTheStandardTextColorAsThoseWithoutAColor)
{
    auto text = NSAttributedString::initWithRTF(
        R"({\rtf1 {\field{\*\fldinst{HYPERLINK "https://example.com/"}}{\fldrslt site}}})");
    ASSERT_TRUE(text);
    text->runs.at(0).attributes.foregroundColor = NSColor::textColor();
    text->replaceContents(&document, Qt::magenta);
    EXPECT_EQ(formatOf(u"site"_s).foreground().color(), QColor(Qt::magenta));
}

TEST_F(NSAttributedStringDocument, SetsParagraphsInPointsOfTheScreen)
{
    show(R"(\qr\li720\fi-360\ri200\sb120\sa240\tx560\tx1120 one\par\pard two)");
    const QTextBlockFormat first = document.firstBlock().blockFormat();
    EXPECT_EQ(first.alignment(), Qt::AlignRight | Qt::AlignAbsolute);
    EXPECT_DOUBLE_EQ(first.leftMargin(), pixels(36));
    EXPECT_DOUBLE_EQ(first.textIndent(), pixels(-18));
    EXPECT_DOUBLE_EQ(first.rightMargin(), pixels(10));
    EXPECT_DOUBLE_EQ(first.topMargin(), pixels(6));
    EXPECT_DOUBLE_EQ(first.bottomMargin(), pixels(12));
    ASSERT_EQ(first.tabPositions().size(), 2);
    EXPECT_DOUBLE_EQ(first.tabPositions().last().position, pixels(56));
    const QTextBlockFormat second = document.lastBlock().blockFormat();
    EXPECT_FALSE(second.hasProperty(QTextFormat::BlockAlignment));
    EXPECT_EQ(second.leftMargin(), 0);
    EXPECT_TRUE(second.tabPositions().isEmpty());
}

TEST_F(NSAttributedStringDocument, AlignsEachParagraph)
{
    show(R"(\ql a\par\qc b\par\qj c)");
    EXPECT_EQ(document.findBlockByNumber(0).blockFormat().alignment(), Qt::AlignLeft | Qt::AlignAbsolute);
    EXPECT_EQ(document.findBlockByNumber(1).blockFormat().alignment(), Qt::AlignHCenter);
    EXPECT_EQ(document.findBlockByNumber(2).blockFormat().alignment(), Qt::AlignJustify);
}
