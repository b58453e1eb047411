#include "Platform/AppKit/NSAttributedString.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTextCursor>
#include <QTextDocument>

#include <utility>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! Documents measure in pixels of the screen. */
double pixels(double points)
{
    constexpr double pointsPerInch = 72;
    return points * QGuiApplication::primaryScreen()->logicalDotsPerInchY() / pointsPerInch;
}

Qt::Alignment alignment(NSTextAlignment alignment)
{
    switch (alignment) {
    case NSTextAlignment::Natural:
        return {};
    case NSTextAlignment::Left:
        return Qt::AlignLeft | Qt::AlignAbsolute;
    case NSTextAlignment::Right:
        return Qt::AlignRight | Qt::AlignAbsolute;
    case NSTextAlignment::Center:
        return Qt::AlignHCenter;
    case NSTextAlignment::Justified:
        return Qt::AlignJustify;
    }
    return {};
}

QTextBlockFormat blockFormat(const NSParagraphStyle &style)
{
    QTextBlockFormat format;
    if (style.alignment != NSTextAlignment::Natural)
        format.setAlignment(alignment(style.alignment));
    format.setTextIndent(pixels(style.firstLineIndent));
    format.setLeftMargin(pixels(style.leftIndent));
    format.setRightMargin(pixels(style.rightIndent));
    format.setTopMargin(pixels(style.spaceBefore));
    format.setBottomMargin(pixels(style.spaceAfter));
    QList<QTextOption::Tab> tabs;
    for (const double position : style.tabStops)
        tabs.append({pixels(position), QTextOption::LeftTab});
    format.setTabPositions(tabs);
    return format;
}

/*! The family of a font. Some editors name a face, such as "Helvetica-Bold"; to ask the font database whether
    that is a family would load all of it.
*/
QString fontFamily(const QString &name) { return name.left(name.indexOf(u'-')); }

QTextCharFormat characterFormat(const NSTextAttributes &attributes, const QColor &linkColor)
{
    QTextCharFormat format;
    if (!attributes.fontName.isEmpty())
        format.setFontFamilies({fontFamily(attributes.fontName)});
    if (attributes.fontSize > 0)
        format.setFontPointSize(attributes.fontSize);
    if (attributes.isBold)
        format.setFontWeight(QFont::Bold);
    format.setFontItalic(attributes.isItalic);
    const bool isLink = !attributes.link.isEmpty();
    format.setFontUnderline(attributes.isUnderlined || isLink);
    if (isLink) {
        format.setAnchor(true);
        format.setAnchorHref(attributes.link.toString(QUrl::FullyEncoded));
        format.setToolTip(format.anchorHref());
    }
    // Without a brush of its own, text is drawn in the text colour of the widget's palette.
    const auto &color = attributes.foregroundColor;
    if (color && color->catalogNameComponent() != NSColor::textColor().catalogNameComponent())
        format.setForeground(color->brush());
    else if (isLink)
        format.setForeground(linkColor);
    return format;
}

} // namespace

void NSAttributedString::replaceContents(QTextDocument *document, const QColor &linkColor) const
{
    document->clear();
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    auto paragraph = paragraphs.begin();
    cursor.setBlockFormat(blockFormat(*paragraph));
    qsizetype location = 0;
    for (const NSAttributeRun &run : runs) {
        const QTextCharFormat format = characterFormat(run.attributes, linkColor);
        const QStringView text = QStringView(string).sliced(location, run.length);
        location += run.length;
        bool isFirst = true;
        for (const QStringView line : text.split(u'\n')) {
            if (!std::exchange(isFirst, false))
                cursor.insertBlock(blockFormat(*++paragraph), format);
            cursor.insertText(line.toString(), format);
        }
    }
    cursor.endEditBlock();
}

} // namespace Marblewick
