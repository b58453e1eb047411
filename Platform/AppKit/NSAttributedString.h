#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSColor.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>
#include <vector>

class QTextDocument;

namespace Marblewick {

enum class NSTextAlignment { Natural, Left, Right, Center, Justified };

/*! How a paragraph is set; lengths in points. */
struct NSParagraphStyle
{
    NSTextAlignment alignment = NSTextAlignment::Natural; ///< Natural: as the direction of the text says
    double firstLineIndent = 0; ///< beside leftIndent; negative where the first line begins further out
    double leftIndent = 0;
    double rightIndent = 0;
    double spaceBefore = 0;
    double spaceAfter = 0;
    QList<double> tabStops; ///< from the left margin
};

/*! How characters look. */
struct NSTextAttributes
{
    QString fontName; ///< of a family, or of a face such as "Helvetica-Bold"; empty for the view's own
    double fontSize = 0; ///< points; 0 for the view's own
    bool isBold = false;
    bool isItalic = false;
    bool isUnderlined = false;
    std::optional<NSColor> foregroundColor; ///< nil where no colour was given, which is not the same as black
    QUrl link; ///< empty for none
};

/*! Characters that look alike. */
struct NSAttributeRun
{
    qsizetype length = 0; ///< UTF-16 code units
    NSTextAttributes attributes;
};

/*! A text with its looks. Main thread where a colour is of the catalogue, else any. */
struct MARBLEWICK_PANELS_EXPORT NSAttributedString
{
    QString string; ///< "\n" between paragraphs, U+2028 where a line is broken within one
    std::vector<NSAttributeRun> runs; ///< of the whole string, in its order
    std::vector<NSParagraphStyle> paragraphs = {{}}; ///< one more than the string has "\n"

    /*! The text of an RTF document. Read are groups, fonts, sizes, bold, italic, underlines, colours of the
        text, alignment, indents, spacing, tabs, links (fields with HYPERLINK), Unicode and code pages; the
        marks of lists come as the text that the document gives for them. Everything else is passed over:
        pictures, embedded objects, headers, footnotes, backgrounds, and text that is hidden or deleted.

        Nil where the data do not begin as RTF does. A document that breaks off gives what was read. It ends
        after 1,048,576 characters or 16,384 paragraphs, and a paragraph of more than 8192 characters is
       broken, so that neither reading nor showing it takes long, whatever is in it.
    */
    static std::optional<NSAttributedString> initWithRTF(const QByteArray &data);

    /*! The same of a file, or of a Qt resource where the path begins with ":/". Nil, too, where it cannot be
        read, is no regular file, or is larger than 4 MiB.
    */
    static std::optional<NSAttributedString> initWithContentsOfFile(const QString &path);

    /*! Replaces what is in a document. Text without a colour, or in the catalogue's textColor, takes that of
        the widget that shows the document, and follows it when the palette changes; where that is a link, it
        gets `linkColor` instead. Main thread.
    */
    void replaceContents(QTextDocument *document, const QColor &linkColor) const;
};

} // namespace Marblewick
