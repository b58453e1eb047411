#pragma once

#include <QByteArrayView>

#include <optional>

namespace Marblewick {

/*! A piece of rich text. */
struct RTFToken
{
    enum Kind {
        GroupBegin, ///< {
        GroupEnd, ///< }
        Word, ///< \name, with its number
        Symbol, ///< a backslash and one other character
        Text, ///< bytes of text, in the code page of their font
        End, ///< the end of the data
    };

    Kind kind = End;
    QByteArrayView bytes; ///< name of the word, character of the symbol, or text
    std::optional<int> parameter; ///< of a word; a number beyond the range of int is the nearest one in it
};

/*! Takes rich text apart. It needs no memory, and every byte is looked at once, whatever the data are. */
class RTFTokenizer
{
public:
    /*! The data must outlive the tokenizer. */
    explicit RTFTokenizer(QByteArrayView data)
        : m_data(data)
    { }

    /*! The next token, whose bytes are there until the next call. Line ends are no text, `\'e9` is a text of
        one byte, and the bytes that `\bin` announces are passed over.
    */
    RTFToken next();

private:
    RTFToken tokenAfterBackslash();
    RTFToken word();
    RTFToken text();
    std::optional<int> number();
    bool startsWithLetter() const;

    QByteArrayView m_data; // what is left
    char m_escapedByte = 0;
};

} // namespace Marblewick
