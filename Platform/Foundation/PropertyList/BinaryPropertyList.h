#pragma once

#include <QByteArrayView>
#include <QLatin1StringView>
#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace Marblewick {

/*! A binary property list from anybody, read where it lies: a flat table says what each object is and where
    its content lies. Nothing else is made before a value is asked for, so neither nesting nor shared
   references cost anything. Whatever is not as it has to be, or not of the type asked for, reads as nil.

    A view: the bytes must outlive it. Any thread.
*/
class BinaryPropertyList
{
public:
    /*! The number of an object in the list. */
    using Object = qsizetype;
    /*! What is not there: it has no type and no value. */
    static constexpr Object noObject = -1;
    /*! What a reference refers to that leads out of the list: it has no type and no value. */
    static constexpr Object danglingObject = -2;
    /*! What an object of another type has for a UID. */
    static constexpr qint64 noUID = -1;

    /*! A list without an object. */
    BinaryPropertyList() = default;
    /*! Nil where the bytes do not begin as a binary property list does, their trailer contradicts them, or
        they are 4 GiB or more.
    */
    static std::optional<BinaryPropertyList> open(QByteArrayView bytes);

    Object top() const { return m_top; }

    /*! An integer in the range of 64 signed bits, of any stored width. */
    std::optional<qint64> integer(Object object) const;
    std::optional<bool> boolean(Object object) const;
    /*! The unique identifier by which keyed archives refer to their objects. */
    qint64 uid(Object object) const;
    std::optional<QString> string(Object object) const { return string(content(object)); }
    /*! Whether an object is that ASCII string, found out without a copy. */
    bool isString(Object object, QLatin1StringView text) const;

    /*! An item of an array; noObject beyond its end. */
    Object objectAtIndex(Object array, qsizetype index) const;
    /*! A value of a dictionary; noObject where the key is absent. Takes time in proportion to byteCount(),
       unless the values are asked for in their order: the search begins at the entry `next`, 0 at first, and
       sets it to the one behind what it found.
    */
    Object objectForKey(Object dictionary, QLatin1StringView key, qsizetype *next = nullptr) const;

    /*! The bytes that an object's content takes in the list: the text of a string, the references of an array
        or dictionary. 0 of what is not there.
    */
    qsizetype byteCount(Object object) const;

private:
    /*! The kinds of objects: the upper half of the byte that an object begins with. */
    enum Kind : quint8 {
        SimpleKind = 0x0,
        IntegerKind = 0x1,
        ASCIIStringKind = 0x5,
        UTF16StringKind = 0x6,
        UIDKind = 0x8,
        ArrayKind = 0xa,
        DictionaryKind = 0xd,
        NoKind = 0xf, ///< not there, broken or of a type that is not read
    };
    /*! What an object consists of. It lies within the list. */
    struct Content
    {
        quint32 start = 0; ///< position of its first unit; a dictionary's keys precede its values
        quint32 count = 0; ///< of units: bytes, characters, items or entries
        quint8 kind = NoKind;
    };

    void read(qsizetype position, Content &content) const;
    /*! Of no kind where there is no such object. */
    const Content &content(Object object) const
    {
        static constexpr Content none;
        return object >= 0 && object < std::ssize(m_contents) ? m_contents[static_cast<size_t>(object)]
                                                              : none;
    }
    QByteArrayView bytes(const Content &item) const { return m_objects.sliced(item.start, item.count); }
    std::optional<QString> string(const Content &item) const;
    Object reference(const Content &item, qsizetype index) const;

    QByteArrayView m_objects; ///< from the first byte of the list to the end of its last object
    std::vector<Content> m_contents; ///< of each object
    qsizetype m_referenceSize = 1;
    /*! Bytes of a unit by kind; 0 of what is not read. */
    std::array<quint8, 16> m_unitSizes{1, 1, 0, 0, 0, 1, 2, 0, 1};
    Object m_top = noObject;
};

} // namespace Marblewick
