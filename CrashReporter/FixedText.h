#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <span>
#include <string_view>

/*! Makes a text, which ends with a zero byte, in a buffer that somebody else owns. What no longer fits is
   left out. Allocates nothing and takes no lock, so that a signal handler may use it.
*/
class FixedText
{
public:
    explicit FixedText(std::span<char> buffer)
        : m_buffer(buffer)
    {
        m_buffer.front() = '\0';
    }

    FixedText &append(std::string_view text)
    {
        for (const char byte : text.substr(0, m_buffer.size() - 1 - m_length))
            m_buffer[m_length++] = byte;
        m_buffer[m_length] = '\0';
        return *this;
    }

    /*! A number with at least `digits` digits, zeros in front where it has fewer. */
    FixedText &append(std::integral auto number, std::ptrdiff_t digits = 1, int base = 10)
    {
        char text[24];
        const std::to_chars_result end = std::to_chars(text, text + sizeof text, number, base);
        for (std::ptrdiff_t missing = digits - (end.ptr - text); missing > 0; --missing)
            append("0");
        return append(std::string_view(text, end.ptr));
    }

    std::string_view view() const { return {m_buffer.data(), m_length}; }

private:
    std::span<char> m_buffer;
    std::size_t m_length = 0;
};
