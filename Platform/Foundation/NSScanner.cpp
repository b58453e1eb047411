#include "Platform/Foundation/NSScanner.h"

#include <optional>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

std::optional<quint32> hexDigit(QStringView string, qsizetype position)
{
    const char16_t character = position < string.size() ? string[position].unicode() : u'\0';
    if (character >= u'0' && character <= u'9')
        return character - u'0';
    const char16_t letter = character | 0x20U; // lower case
    if (letter >= u'a' && letter <= u'f')
        return letter - u'a' + 10U;
    return std::nullopt;
}

} // namespace

bool NSScanner::scanHexInt(quint32 *value)
{
    while (m_position < m_string.size() && m_string[m_position].isSpace())
        ++m_position;
    const bool hasPrefix = QStringView(m_string).sliced(m_position).startsWith("0x"_L1, Qt::CaseInsensitive);
    if (hasPrefix && hexDigit(m_string, m_position + 2))
        m_position += 2;
    std::optional<quint32> digit = hexDigit(m_string, m_position);
    if (!digit)
        return false;
    for (*value = 0; digit; digit = hexDigit(m_string, ++m_position))
        *value = *value << 4U | *digit;
    return true;
}

} // namespace Marblewick
