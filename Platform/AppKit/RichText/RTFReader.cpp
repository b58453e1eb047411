#include "Platform/AppKit/RichText/RTFReader.h"

#include "Platform/AppKit/RichText/RTFCodePage.h"
#include "Platform/AppKit/RichText/RTFWords.h"
#include "Platform/Foundation/NSURL.h"

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr size_t maximumDepth = 256;
constexpr qsizetype maximumFonts = 1024;
constexpr size_t maximumColors = 1024;
constexpr qsizetype maximumLength = 1'048'576;
constexpr size_t maximumParagraphs = 16'384;
constexpr size_t maximumRuns = 65'536;
/*! Documents take quadratic time to lay out a paragraph. */
constexpr qsizetype maximumParagraphLength = 8192;
constexpr int maximumParagraphRuns = 1024;
constexpr qsizetype maximumFontNameLength = 128;
constexpr qsizetype maximumFieldInstructionLength = 4096;

/*! Whether a character is neither text nor a tab: a control, a character that documents use for structure, or
    none at all.
*/
bool isNoText(QChar c)
{
    return (c.category() == QChar::Other_Control && c != u'\t') || c == QChar::ParagraphSeparator
           || c == QChar::ObjectReplacementCharacter || (c >= QChar(0xfdd0) && c <= QChar(0xfdef))
           || c >= QChar(0xfffe);
}

void replaceUnpairedSurrogates(QString &string)
{
    for (qsizetype i = 0; i < string.size(); ++i) {
        const bool isPair = string[i].isHighSurrogate() && i + 1 < string.size()
                            && string[i + 1].isLowSurrogate();
        if (isPair)
            ++i;
        else if (string[i].isSurrogate())
            string[i] = QChar::ReplacementCharacter;
    }
}

/*! How much of a text to take where there is room for so many characters. The last place is none for the
   first half of a pair, whose second half may come later.
*/
qsizetype lengthWithoutHalfAPair(QStringView text, qsizetype room)
{
    if (text.size() < room)
        return text.size();
    return room > 0 && text[room - 1].isHighSurrogate() ? room - 1 : room;
}

/*! The address that a field links to; nil where it is no link, one within the document, or too long. */
std::optional<QUrl> linkOfFieldInstruction(QStringView instruction)
{
    constexpr auto keyword = "HYPERLINK"_L1;
    if (instruction.size() > maximumFieldInstructionLength)
        return std::nullopt; // What was read of the address may be another one.
    instruction = instruction.trimmed();
    if (!instruction.startsWith(keyword, Qt::CaseInsensitive))
        return std::nullopt;
    const QStringView argument = instruction.sliced(keyword.size()).trimmed();
    const bool isQuoted = argument.startsWith(u'"');
    const QStringView address = argument.sliced(isQuoted ? 1 : 0);
    const auto end = std::ranges::find(address, isQuoted ? QChar(u'"') : QChar(u' '));
    return NSURL::URLWithString(address.first(end - address.begin()).toString());
}

} // namespace

NSAttributedString RTFReader::read()
{
    do {
        const RTFToken token = m_tokenizer.next();
        if (token.kind == RTFToken::End)
            break;
        readToken(token);
    } while (!m_outerStates.empty() && !isFull());
    decodePendingBytes();
    m_text.paragraphs.push_back(m_state.paragraph);
    replaceUnpairedSurrogates(m_text.string);
    return std::move(m_text);
}

void RTFReader::readToken(const RTFToken &token)
{
    if (token.kind == RTFToken::GroupBegin)
        return beginGroup();
    if (token.kind == RTFToken::GroupEnd)
        return endGroup();
    if (m_groupsTooDeep > 0 || m_state.destination == RTFDestination::Skipped)
        return;
    if (token.kind == RTFToken::Text)
        return readText(token.bytes);
    if (m_fallbackLeft > 0) {
        --m_fallbackLeft;
        return;
    }
    decodePendingBytes();
    if (token.kind == RTFToken::Word)
        readWord(token.bytes, token.parameter);
    else
        readSymbol(token.bytes.front());
}

void RTFReader::beginGroup()
{
    decodePendingBytes();
    m_fallbackLeft = 0;
    m_isIgnorable = false;
    if (m_outerStates.size() < maximumDepth)
        m_outerStates.push_back(m_state);
    else
        ++m_groupsTooDeep;
}

void RTFReader::endGroup()
{
    decodePendingBytes();
    m_fallbackLeft = 0;
    m_isIgnorable = false;
    if (m_groupsTooDeep > 0) {
        --m_groupsTooDeep;
        return;
    }
    const bool wasFieldInstruction = m_state.destination == RTFDestination::FieldInstruction;
    const bool isOutermost = m_outerStates.size() == 1;
    if (!isOutermost)
        m_state = std::move(m_outerStates.back());
    m_outerStates.pop_back();
    if (wasFieldInstruction && m_state.destination != RTFDestination::FieldInstruction)
        endFieldInstruction();
}

void RTFReader::readSymbol(char symbol)
{
    switch (symbol) {
    case '*':
        m_isIgnorable = true;
        break;
    case '~':
        takeCharacter(QChar::Nbsp);
        break;
    case '-':
        takeCharacter(QChar::SoftHyphen);
        break;
    case '_':
        takeCharacter(u'\u2011');
        break;
    case '\t':
        takeCharacter(u'\t');
        break;
    case '\r':
    case '\n':
        takeCharacter(u'\n');
        break;
    default:
        break;
    }
}

void RTFReader::readWord(QByteArrayView word, std::optional<int> parameter)
{
    const bool isIgnorable = std::exchange(m_isIgnorable, false);
    const std::optional<RTFDestination> destination = RTFWords::destination(word);
    if (destination || isIgnorable)
        m_state.destination = destination.value_or(RTFDestination::Skipped);
    else if (word == "u" && parameter)
        readUnicode(*parameter);
    else if (const auto character = RTFWords::character(word))
        takeCharacter(*character);
    else if (!readDocumentWord(word, parameter.value_or(0)) && !readTableWord(word, parameter.value_or(0)))
        RTFWords::applyFormatting(word, parameter, m_state);
}

bool RTFReader::readDocumentWord(QByteArrayView word, int parameter)
{
    if (word == "ansicpg")
        m_codePage = parameter;
    else if (word == "mac")
        m_codePage = RTFCodePage::macRoman;
    else if (word == "pc")
        m_codePage = 437;
    else if (word == "pca")
        m_codePage = 850;
    else if (word == "deff")
        m_defaultFont = parameter;
    else
        return false;
    return true;
}

bool RTFReader::readTableWord(QByteArrayView word, int parameter)
{
    if (m_state.destination == RTFDestination::FontTable) {
        if (word == "fcharset")
            m_font.codePage = RTFCodePage::codePageOfCharacterSet(parameter);
        return word == "fcharset";
    }
    if (m_state.destination == RTFDestination::ColorTable) {
        Color color = m_color.value_or(Color());
        int *const component = word == "red"     ? &color.red
                               : word == "green" ? &color.green
                               : word == "blue"  ? &color.blue
                                                 : nullptr;
        if (component) {
            *component = std::clamp(parameter, 0, 255);
            m_color = color;
        }
        return component;
    }
    return false;
}

void RTFReader::readUnicode(int codeUnit)
{
    const bool isCodeUnit = codeUnit >= std::numeric_limits<qint16>::min()
                            && codeUnit <= std::numeric_limits<quint16>::max();
    takeCharacter(isCodeUnit ? static_cast<char16_t>(codeUnit) : QChar(QChar::ReplacementCharacter));
    m_fallbackLeft = m_state.unicodeFallbackLength;
}

void RTFReader::readText(QByteArrayView bytes)
{
    m_isIgnorable = false;
    const auto skipped = std::min<qsizetype>(m_fallbackLeft, bytes.size());
    m_fallbackLeft -= static_cast<int>(skipped);
    m_pendingBytes += bytes.sliced(skipped);
}

void RTFReader::decodePendingBytes()
{
    if (m_pendingBytes.isEmpty())
        return;
    take(RTFCodePage::decode(m_pendingBytes, currentFont().codePage.value_or(m_codePage)));
    m_pendingBytes.clear();
}

void RTFReader::take(const QString &text)
{
    if (isHidden())
        return;
    switch (m_state.destination) {
    case RTFDestination::Text:
        append(text);
        break;
    case RTFDestination::FontTable:
        takeFontNames(text);
        break;
    case RTFDestination::ColorTable:
        takeColors(text);
        break;
    case RTFDestination::FieldInstruction:
        // One more tells an instruction that is too long.
        m_fieldInstruction += text.left(maximumFieldInstructionLength + 1 - m_fieldInstruction.size());
        break;
    case RTFDestination::Skipped:
        break;
    }
}

void RTFReader::takeCharacter(QChar character)
{
    const bool endsParagraph = character == u'\n' || character == QChar::ParagraphSeparator;
    if (!endsParagraph || m_state.destination != RTFDestination::Text || isHidden())
        return take(character);
    endParagraph();
}

void RTFReader::takeFontNames(const QString &text)
{
    for (const QChar c : text) {
        if (c != u';') {
            if (m_font.name.size() < maximumFontNameLength)
                m_font.name += c;
            continue;
        }
        m_font.name = std::move(m_font.name).trimmed();
        if (m_fonts.size() < maximumFonts)
            m_fonts.insert(m_state.character.font, m_font);
        m_font = Font();
    }
}

void RTFReader::takeColors(const QString &text)
{
    for (qsizetype left = text.count(u';'); left > 0 && m_colors.size() < maximumColors; --left) {
        const auto color = std::exchange(m_color, std::nullopt);
        m_colors.push_back(color ? std::optional(NSColor::colorWithDeviceRed(
                               color->red / 255.0, color->green / 255.0, color->blue / 255.0))
                                 : std::nullopt);
    }
}

void RTFReader::endFieldInstruction()
{
    const std::optional<QUrl> link = linkOfFieldInstruction(std::exchange(m_fieldInstruction, {}));
    if (!link)
        return;
    m_state.character.link = static_cast<int>(m_links.size());
    m_links.push_back(*link);
}

void RTFReader::append(QString text)
{
    text.removeIf(isNoText);
    text.truncate(lengthWithoutHalfAPair(text, std::max<qsizetype>(maximumLength - m_text.string.size(), 0)));
    for (QStringView left = text; !left.isEmpty();) {
        beginRunIfFormatChanged();
        const qsizetype length = lengthWithoutHalfAPair(left, maximumParagraphLength - m_paragraphLength);
        if (length == 0 || m_paragraphRuns > maximumParagraphRuns) {
            endParagraph();
            continue;
        }
        appendToLastRun(left.first(length));
        left = left.sliced(length);
    }
}

void RTFReader::beginRunIfFormatChanged()
{
    const bool isOtherwise = m_text.runs.empty() || m_state.character != m_lastFormat;
    if (!isOtherwise || m_text.runs.size() == maximumRuns)
        return;
    m_text.runs.push_back({.attributes = currentAttributes()});
    m_lastFormat = m_state.character;
    ++m_paragraphRuns;
}

void RTFReader::endParagraph()
{
    beginRunIfFormatChanged();
    appendToLastRun(u"\n");
    m_text.paragraphs.push_back(m_state.paragraph);
    m_paragraphLength = 0;
    m_paragraphRuns = 0;
}

void RTFReader::appendToLastRun(QStringView text)
{
    m_text.runs.back().length += text.size();
    m_text.string += text;
    m_paragraphLength += text.size();
}

bool RTFReader::isHidden() const
{
    return m_state.destination == RTFDestination::Text && m_state.character.isHidden;
}

bool RTFReader::isFull() const
{
    return m_text.string.size() >= maximumLength || m_text.paragraphs.size() >= maximumParagraphs;
}

RTFReader::Font RTFReader::currentFont() const
{
    return m_fonts.value(m_state.character.font >= 0 ? m_state.character.font : m_defaultFont);
}

NSTextAttributes RTFReader::currentAttributes() const
{
    const RTFCharacterFormat &format = m_state.character;
    const auto color = static_cast<size_t>(format.color);
    return {
        .fontName = currentFont().name,
        .fontSize = format.halfPoints / 2.0,
        .isBold = format.isBold,
        .isItalic = format.isItalic,
        .isUnderlined = format.isUnderlined,
        .foregroundColor = format.color >= 0 && color < m_colors.size() ? m_colors[color] : std::nullopt,
        .link = format.link >= 0 ? m_links[static_cast<size_t>(format.link)] : QUrl(),
    };
}

} // namespace Marblewick
