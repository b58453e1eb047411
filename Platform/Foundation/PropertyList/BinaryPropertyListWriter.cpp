#include "Platform/Foundation/PropertyList/BinaryPropertyListWriter.h"

#include <QtEndian>

#include <algorithm>

namespace Marblewick {

namespace {

/*! Bytes of a reference: enough for any count of objects, which is not known before the last one. */
constexpr int referenceSize = 4;

/*! The exponent of the least power of two bytes that hold a number. */
int exponentOfSize(quint64 number)
{
    if (number <= 0xff)
        return 0;
    if (number <= 0xffff)
        return 1;
    return number <= 0xffffffff ? 2 : 3;
}

} // namespace

/*! Appends a number in `size` bytes, the highest first. */
void BinaryPropertyListWriter::append(quint64 number, int size)
{
    const quint64 bytes = qToBigEndian(number);
    m_list.append(reinterpret_cast<const char *>(&bytes) + sizeof bytes - size, size);
}

/*! Negative integers take 8 bytes: shorter ones are unsigned. */
void BinaryPropertyListWriter::appendInteger(quint64 number)
{
    const int exponent = exponentOfSize(number);
    m_list.append(static_cast<char>(0x10 | exponent));
    append(number, 1 << exponent);
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::beginObject()
{
    m_offsets.push_back(m_list.size());
    return static_cast<Object>(m_offsets.size() - 1);
}

/*! The same for an object of so many units: its kind is the upper half of the first byte. */
BinaryPropertyListWriter::Object BinaryPropertyListWriter::beginObject(int kind, size_t count)
{
    constexpr size_t countFollows = 0xf;
    const Object object = beginObject();
    m_list.append(static_cast<char>(kind << 4 | static_cast<int>(std::min(count, countFollows))));
    if (count >= countFollows)
        appendInteger(count);
    return object;
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addString(QStringView text)
{
    if (std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; }))
        return addASCIIString(text.toLatin1());
    const Object object = beginObject(0x6, static_cast<size_t>(text.size()));
    const qsizetype start = m_list.size();
    m_list.resize(start + 2 * text.size());
    qToBigEndian<char16_t>(text.utf16(), text.size(), m_list.data() + start);
    return object;
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addASCIIString(QByteArrayView text)
{
    const Object object = beginObject(0x5, static_cast<size_t>(text.size()));
    m_list.append(text);
    return object;
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addInteger(qint64 number)
{
    const Object object = beginObject();
    appendInteger(static_cast<quint64>(number));
    return object;
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addUID(quint32 uid)
{
    const Object object = beginObject();
    const int size = 1 << exponentOfSize(uid);
    m_list.append(static_cast<char>(0x80 | (size - 1)));
    append(uid, size);
    return object;
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addArray(std::span<const Object> objects)
{
    const Object array = beginObject(0xa, objects.size());
    for (const Object object : objects)
        append(object, referenceSize);
    return array;
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addDictionary(std::span<const Entry> entries)
{
    const Object dictionary = beginObject(0xd, entries.size());
    for (const Entry &entry : entries)
        append(entry.key, referenceSize);
    for (const Entry &entry : entries)
        append(entry.value, referenceSize);
    return dictionary;
}

QByteArray BinaryPropertyListWriter::data(Object top)
{
    const auto table = static_cast<quint64>(m_list.size());
    const int offsetSize = 1 << exponentOfSize(table);
    for (const qsizetype offset : m_offsets)
        append(static_cast<quint64>(offset), offsetSize);
    append(0, 6);
    append(static_cast<quint64>(offsetSize), 1);
    append(referenceSize, 1);
    append(m_offsets.size(), 8);
    append(top, 8);
    append(table, 8);
    return m_list;
}

} // namespace Marblewick
