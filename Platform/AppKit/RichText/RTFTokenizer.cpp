#include "Platform/AppKit/RichText/RTFTokenizer.h"

#include <QtGlobal>

#include <algorithm>
#include <limits>

namespace Marblewick {

namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isLineEnd(char c) { return c == '\r' || c == '\n'; }

/*! The value of a hexadecimal digit; nil for other characters. */
std::optional<int> hexadecimalValue(char c)
{
    if (isDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return std::nullopt;
}

} // namespace

RTFToken RTFTokenizer::next()
{
    m_data = m_data.sliced(std::ranges::find_if_not(m_data, isLineEnd) - m_data.begin());
    if (m_data.isEmpty())
        return {};
    const QByteArrayView first = m_data.first(1);
    switch (first[0]) {
    case '{':
        m_data = m_data.sliced(1);
        return {.kind = RTFToken::GroupBegin, .bytes = first, .parameter = {}};
    case '}':
        m_data = m_data.sliced(1);
        return {.kind = RTFToken::GroupEnd, .bytes = first, .parameter = {}};
    case '\\':
        m_data = m_data.sliced(1);
        return tokenAfterBackslash();
    default:
        return text();
    }
}

RTFToken RTFTokenizer::tokenAfterBackslash()
{
    if (m_data.isEmpty())
        return {};
    if (startsWithLetter())
        return word();
    const QByteArrayView symbol = m_data.first(1);
    m_data = m_data.sliced(1);
    if (symbol == "\\" || symbol == "{" || symbol == "}")
        return {.kind = RTFToken::Text, .bytes = symbol, .parameter = {}};
    if (symbol == "'" && m_data.size() >= 2) {
        const std::optional<int> high = hexadecimalValue(m_data[0]);
        const std::optional<int> low = hexadecimalValue(m_data[1]);
        if (high && low) {
            m_data = m_data.sliced(2);
            m_escapedByte = static_cast<char>(16 * *high + *low);
            return {.kind = RTFToken::Text, .bytes = {&m_escapedByte, 1}, .parameter = {}};
        }
    }
    return {.kind = RTFToken::Symbol, .bytes = symbol, .parameter = {}};
}

RTFToken RTFTokenizer::word()
{
    const qsizetype length = std::ranges::find_if_not(m_data, isLetter) - m_data.begin();
    RTFToken token{.kind = RTFToken::Word, .bytes = m_data.first(length), .parameter = {}};
    m_data = m_data.sliced(length);
    token.parameter = number();
    if (m_data.startsWith(' '))
        m_data = m_data.sliced(1);
    if (token.bytes == "bin")
        m_data = m_data.sliced(std::clamp<qsizetype>(token.parameter.value_or(0), 0, m_data.size()));
    return token;
}

std::optional<int> RTFTokenizer::number()
{
    const bool isNegative = m_data.startsWith('-');
    const QByteArrayView digits = m_data.sliced(isNegative ? 1 : 0);
    const qsizetype count = std::ranges::find_if_not(digits, isDigit) - digits.begin();
    if (count == 0)
        return std::nullopt;
    m_data = digits.sliced(count);
    constexpr qint64 maximum = std::numeric_limits<int>::max();
    qint64 value = 0;
    for (const char digit : digits.first(count))
        value = std::min(10 * value + (digit - '0'), maximum);
    return static_cast<int>(isNegative ? -value : value);
}

RTFToken RTFTokenizer::text()
{
    const auto endsText = [](char c) { return c == '{' || c == '}' || c == '\\' || isLineEnd(c); };
    const qsizetype length = std::ranges::find_if(m_data, endsText) - m_data.begin();
    const RTFToken token{.kind = RTFToken::Text, .bytes = m_data.first(length), .parameter = {}};
    m_data = m_data.sliced(length);
    return token;
}

bool RTFTokenizer::startsWithLetter() const { return isLetter(m_data.front()); }

} // namespace Marblewick
