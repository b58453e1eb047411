#include "CrashReporter/JSONWriter.h"

#include "CrashReporter/FixedText.h"

#include <cerrno>
#include <unistd.h>

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

/*! How many bytes the UTF-8 character at the beginning of a text has; 0 where there is none. What is
   overlong, a surrogate or above U+10FFFF is none.
*/
std::size_t lengthOfCharacter(std::string_view text)
{
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char first = byte(0);
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (text.size() < length)
        return 0;
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80)
            return 0;
    }
    const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool isSurrogate = first == 0xED && byte(1) >= 0xA0;
    const bool isTooLarge = first == 0xF4 && byte(1) >= 0x90;
    return isOverlong || isSurrogate || isTooLarge ? 0 : length;
}

} // namespace

void JSONWriter::string(std::string_view key, std::string_view text)
{
    beginValue(key);
    putQuoted(text);
}

void JSONWriter::number(std::string_view key, std::int64_t value)
{
    beginValue(key);
    char digits[24];
    put(FixedText(digits).append(value).view());
}

void JSONWriter::number(std::string_view key, std::uint64_t value)
{
    beginValue(key);
    char digits[24];
    put(FixedText(digits).append(value).view());
}

void JSONWriter::boolean(std::string_view key, bool value)
{
    beginValue(key);
    put(value ? "true" : "false");
}

void JSONWriter::endDocument()
{
    put("\n");
    m_needsComma = false;
}

bool JSONWriter::flush()
{
    for (std::size_t written = 0; written < m_length && m_error == 0;) {
        const ssize_t count = ::write(m_descriptor, m_buffer.data() + written, m_length - written);
        if (count > 0)
            written += static_cast<std::size_t>(count);
        else if (count == 0 || errno != EINTR)
            m_error = count == 0 ? ENOSPC : errno;
    }
    m_length = 0;
    errno = m_error;
    return m_error == 0;
}

void JSONWriter::begin(std::string_view key, char bracket)
{
    beginValue(key);
    put({&bracket, 1});
    m_needsComma = false;
}

void JSONWriter::end(char bracket)
{
    put({&bracket, 1});
    m_needsComma = true;
}

void JSONWriter::beginValue(std::string_view key)
{
    if (m_needsComma)
        put(",");
    m_needsComma = true;
    if (!key.empty()) {
        putQuoted(key);
        put(":");
    }
}

void JSONWriter::putQuoted(std::string_view text)
{
    put("\"");
    while (!text.empty()) {
        const std::size_t length = lengthOfCharacter(text);
        const char first = text.front();
        if (length == 0)
            put(replacementCharacter);
        else if (static_cast<unsigned char>(first) < 0x20)
            putControl(static_cast<unsigned char>(first));
        else if (first == '"' || first == '\\')
            put(first == '"' ? "\\\"" : "\\\\");
        else
            put(text.substr(0, length));
        text.remove_prefix(length == 0 ? 1 : length);
    }
    put("\"");
}

void JSONWriter::putControl(unsigned char byte)
{
    char escape[8];
    put(FixedText(escape).append("\\u").append(static_cast<unsigned>(byte), 4, 16).view());
}

void JSONWriter::put(std::string_view bytes)
{
    for (const char byte : bytes) {
        if (m_length == m_buffer.size())
            flush();
        m_buffer[m_length++] = byte;
    }
}
