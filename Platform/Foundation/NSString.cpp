#include "Platform/Foundation/NSString.h"

#include "Platform/Foundation/NSFileManager.h"

#include <QtNumeric>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

namespace Marblewick::NSString {

QString stringWithFormat(QStringView format, std::initializer_list<std::optional<QString>> arguments)
{
    static constexpr QStringView placeholder = u"%@";
    QString result;
    auto argument = arguments.begin();
    for (;;) {
        const qsizetype at = format.indexOf(placeholder);
        if (at < 0)
            return result += format;
        result += format.first(at);
        const bool isNil = argument == arguments.end() || !argument->has_value();
        result += isNil ? u"(null)"_s : argument->value();
        if (argument != arguments.end())
            ++argument;
        format = format.sliced(at + placeholder.size());
    }
}

bool isBlank(QStringView string)
{
    return std::ranges::all_of(string, [](QChar c) { return c.isSpace(); });
}

qint64 integerValue(QStringView string)
{
    using Limits = std::numeric_limits<qint64>;
    const auto isSpace = [](QChar c) { return c.isSpace(); };
    auto digit = std::ranges::find_if_not(string, isSpace);
    const bool isNegative = digit != string.end() && *digit == u'-';
    if (digit != string.end() && (*digit == u'-' || *digit == u'+'))
        ++digit;
    qint64 value = 0; // counted downwards, as the range is larger below zero
    for (; digit != string.end() && *digit >= u'0' && *digit <= u'9'; ++digit) {
        if (qMulOverflow(value, qint64(10), &value)
            || qSubOverflow(value, qint64(digit->unicode() - u'0'), &value))
            return isNegative ? Limits::min() : Limits::max();
    }
    if (!isNegative && value == Limits::min())
        return Limits::max();
    return isNegative ? value : -value;
}

namespace {

bool mustBeEscaped(char32_t c)
{
    switch (QChar::category(c)) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
    case QChar::Other_Surrogate:
        return true;
    case QChar::Other_Format:
        // The marks, embeddings, overrides and isolates that make text read in another order.
        return c == 0x061c || c == 0x200e || c == 0x200f || (c >= 0x202a && c <= 0x202e)
               || (c >= 0x2066 && c <= 0x2069);
    default:
        return false;
    }
}

QString escaped(char32_t c)
{
    switch (c) {
    case U'\n':
        return u"\\n"_s;
    case U'\r':
        return u"\\r"_s;
    case U'\t':
        return u"\\t"_s;
    case U'\0':
        return u"\\0"_s;
    default:
        return u"\\u{%1}"_s.arg(static_cast<uint>(c), 0, 16);
    }
}

} // namespace

QString escapingControlCharacters(QStringView string)
{
    QString result;
    result.reserve(string.size());
    qsizetype copied = 0;
    for (qsizetype i = 0; i < string.size();) {
        const bool isPair = string[i].isHighSurrogate() && i + 1 < string.size()
                            && string[i + 1].isLowSurrogate();
        const char32_t c = isPair ? QChar::surrogateToUcs4(string[i], string[i + 1]) : string[i].unicode();
        const qsizetype next = i + (isPair ? 2 : 1);
        if (mustBeEscaped(c)) {
            result += string.sliced(copied, i - copied);
            result += escaped(c);
            copied = next;
        }
        i = next;
    }
    return result += string.sliced(copied);
}

namespace {

/*! Bytes of a code unit. */
qsizetype unitSize(QStringConverter::Encoding encoding)
{
    switch (encoding) {
    case QStringConverter::Utf16LE:
    case QStringConverter::Utf16BE:
        return 2;
    case QStringConverter::Utf32LE:
    case QStringConverter::Utf32BE:
        return 4;
    default:
        return 1;
    }
}

std::optional<QString> decoded(const QByteArray &data, QStringConverter::Encoding encoding)
{
    // Stateless, or a sequence that breaks off at the end is no error: it waits for more.
    QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless);
    QString text = decoder.decode(data);
    // The decoder itself passes unpaired surrogates and half a code unit.
    if (decoder.hasError() || !text.isValidUtf16() || data.size() % unitSize(encoding) != 0)
        return std::nullopt;
    return text;
}

} // namespace

QString stringWithData(const QByteArray &data, QStringConverter::Encoding *usedEncoding)
{
    const auto marked = QStringConverter::encodingForData(data);
    auto encoding = marked.value_or(QStringConverter::Utf8);
    std::optional<QString> text = decoded(data, encoding);
    if (!text) {
        encoding = QStringConverter::Latin1;
        text = QString::fromLatin1(data);
    }
    if (usedEncoding)
        *usedEncoding = encoding;
    return *std::move(text);
}

std::optional<QString> stringWithContentsOfFile(const QString &path, qint64 maximumSize,
                                                QStringConverter::Encoding *usedEncoding, NSError *error)
{
    const std::optional<QByteArray> data = NSFileManager::defaultManager()->contentsAtPath(path, maximumSize,
                                                                                           error);
    if (!data)
        return std::nullopt;
    return stringWithData(*data, usedEncoding);
}

} // namespace Marblewick::NSString
