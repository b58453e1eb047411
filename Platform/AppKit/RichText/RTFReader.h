#pragma once

#include "Platform/AppKit/RichText/RTFCodePage.h"
#include "Platform/AppKit/RichText/RTFState.h"
#include "Platform/AppKit/RichText/RTFTokenizer.h"

#include <QHash>
#include <QUrl>

#include <vector>

namespace Marblewick {

/*! Reads rich text into an attributed string. What it does not know is passed over, and what breaks off is
   read as far as it goes. Time and memory are linear in the data. What a few bytes can ask for is bounded:

    - 256 groups inside each other, 1024 fonts and 1024 colours; what goes beyond is left out.
    - 65,536 changes of formatting; text beyond the last one keeps it.
    - 4096 characters in the instruction of a field; a longer one makes no link.
    - 8192 characters and 1024 changes of formatting in a paragraph; what goes beyond makes another paragraph.
    - 1,048,576 characters and 16,384 paragraphs; the text ends there.
*/
class RTFReader
{
public:
    /*! The data begin with a group, and must outlive the reader. */
    explicit RTFReader(QByteArrayView data)
        : m_tokenizer(data)
    { }

    NSAttributedString read();

private:
    struct Font
    {
        QString name;
        std::optional<int> codePage; ///< nil for the document's
    };
    struct Color
    {
        int red = 0;
        int green = 0;
        int blue = 0;
    };

    void readToken(const RTFToken &token);
    void beginGroup();
    void endGroup();
    void readWord(QByteArrayView word, std::optional<int> parameter);
    void readSymbol(char symbol);
    void readText(QByteArrayView bytes);
    void readUnicode(int codeUnit);
    bool readDocumentWord(QByteArrayView word, int parameter);
    bool readTableWord(QByteArrayView word, int parameter);

    void decodePendingBytes();
    void take(const QString &text);
    void takeCharacter(QChar character);
    void takeFontNames(const QString &text);
    void takeColors(const QString &text);
    void endFieldInstruction();
    void append(QString text);
    void beginRunIfFormatChanged();
    void endParagraph();
    void appendToLastRun(QStringView text);
    bool isHidden() const;
    bool isFull() const;

    Font currentFont() const;
    NSTextAttributes currentAttributes() const;

    RTFTokenizer m_tokenizer;
    NSAttributedString m_text{.string = {}, .runs = {}, .paragraphs = {}};

    qsizetype m_paragraphLength = 0; ///< of the paragraph that is being read
    int m_paragraphRuns = 0; ///< that began in it

    RTFState m_state;
    std::vector<RTFState> m_outerStates;
    int m_groupsTooDeep = 0;
    bool m_isIgnorable = false; ///< "\*" came: the group may be skipped if its destination is not known
    int m_fallbackLeft = 0;
    QByteArray m_pendingBytes; ///< text that is not decoded yet, because a character may have several bytes
    RTFCharacterFormat m_lastFormat; ///< of the last run

    int m_codePage = RTFCodePage::windowsLatin1;
    int m_defaultFont = -1;
    QHash<int, Font> m_fonts;
    Font m_font; ///< of the table's entry that is being read
    std::vector<std::optional<NSColor>> m_colors; ///< nil where the table leaves it to the reader
    std::optional<Color> m_color; ///< of the table's entry that is being read
    std::vector<QUrl> m_links;
    QString m_fieldInstruction;
};

} // namespace Marblewick
