#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

/*! Writes JSON to a descriptor, without white space, through a buffer of fixed size. Allocates nothing and
   takes no lock, so that a signal handler may use it.

    Inside an object each value has a key; inside an array, and for a document itself, the key is left out.
*/
class JSONWriter
{
public:
    explicit JSONWriter(int descriptor)
        : m_descriptor(descriptor)
    { }
    JSONWriter(const JSONWriter &) = delete;
    JSONWriter &operator=(const JSONWriter &) = delete;

    void beginObject(std::string_view key = {}) { begin(key, '{'); }
    void endObject() { end('}'); }
    void beginArray(std::string_view key = {}) { begin(key, '['); }
    void endArray() { end(']'); }

    /*! Quotes and control characters are escaped. Each byte that is not part of valid UTF-8 becomes U+FFFD.
     */
    void string(std::string_view key, std::string_view text);
    void number(std::string_view key, std::int64_t value);
    void number(std::string_view key, std::uint64_t value);
    void number(std::string_view key, std::integral auto value)
    {
        if constexpr (std::is_signed_v<decltype(value)>)
            number(key, static_cast<std::int64_t>(value));
        else
            number(key, static_cast<std::uint64_t>(value));
    }
    void boolean(std::string_view key, bool value);

    /*! Ends a document with a newline; another may follow. */
    void endDocument();
    /*! Writes what the buffer still holds. Whether everything was written; `errno` says why not. */
    bool flush();

private:
    void begin(std::string_view key, char bracket);
    void end(char bracket);
    void beginValue(std::string_view key);
    void putQuoted(std::string_view text);
    void putControl(unsigned char byte);
    void put(std::string_view bytes);

    const int m_descriptor;
    bool m_needsComma = false;
    int m_error = 0;
    std::size_t m_length = 0;
    std::array<char, 4096> m_buffer;
};
