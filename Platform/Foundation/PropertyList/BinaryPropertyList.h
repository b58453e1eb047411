#pragma once

#include <QByteArrayView>
#include <QLatin1StringView>
#include <QString>

#include <optional>
#include <vector>

namespace Marblewick {

/*! A binary property list from anybody, read where it lies: a flat table says where each object begins, and
    nothing else is made before a value is asked for, so that neither nesting nor shared references cost
    anything. Whatever is not as it has to be, or not of the type asked for, reads as nil.

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

    /*! A list without an object. */
    BinaryPropertyList() = default;
    /*! Nil where the bytes do not begin as a binary property list does, or their trailer contradicts them. */
    static std::optional<BinaryPropertyList> open(QByteArrayView bytes);

    Object top() const { return m_top; }

    /*! An integer in the range of 64 signed bits, of any stored width. */
    std::optional<qint64> integer(Object object) const;
    std::optional<bool> boolean(Object object) const;
    /*! The unique identifier by which keyed archives refer to their objects. */
    std::optional<quint32> uid(Object object) const;
    std::optional<QString> string(Object object) const;
    /*! Whether an object is that ASCII string, found out without a copy. */
    bool isString(Object object, QLatin1StringView text) const;

    /*! An item of an array; noObject beyond its end. */
    Object objectAtIndex(Object array, qsizetype index) const;
    /*! A value of a dictionary; noObject where the key is absent. Takes time in proportion to byteCount(). */
    Object objectForKey(Object dictionary, QLatin1StringView key) const;

    /*! The bytes that the text of a string, or the references of an array or dictionary, take in the list; 0
        for anything else.
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
    };
    struct Content
    {
        quint8 kind = 0;
        quint8 low = 0; ///< the lower half of the first byte
        qsizetype start = 0; ///< position of the byte after the first
    };
    /*! The characters or references that an object consists of. */
    struct Units
    {
        quint8 kind = 0;
        qsizetype count = 0; ///< a dictionary's: of its entries
        qsizetype start = 0; ///< position of the first one; a dictionary's keys precede its values
    };

    std::optional<Content> content(Object object) const;
    std::optional<QByteArrayView> bytes(qsizetype start, qsizetype count) const;
    std::optional<Units> units(Object object) const;
    qsizetype unitSize(quint8 kind) const;
    Object reference(qsizetype start, qsizetype index) const;

    QByteArrayView m_objects; ///< from the first byte of the list to the end of its last object
    std::vector<qsizetype> m_offsets; ///< of each object within the former
    qsizetype m_referenceSize = 1;
    Object m_top = noObject;
};

} // namespace Marblewick
