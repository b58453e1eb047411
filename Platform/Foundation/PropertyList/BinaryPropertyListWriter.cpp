#include "Platform/Foundation/PropertyList/BinaryPropertyListWriter.h"

#include <QtEndian>

#include <algorithm>

namespace Marblewick {

namespace {

/*! Appends a number in `size` bytes, the highest first. */
void append(QByteArray *bytes, quint64 number, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes->append(static_cast<char>(number >> shift));
}

/*! The exponent of the least power of two bytes that hold a number. */
int exponentOfSize(quint64 number)
{
    if (number <= 0xff)
        return 0;
    if (number <= 0xffff)
        return 1;
    return number <= 0xffffffff ? 2 : 3;
}

int sizeOf(quint64 number) { return 1 << exponentOfSize(number); }

/*! Negative integers take 8 bytes: shorter ones are unsigned. */
QByteArray integer(qint64 number)
{
    const auto value = static_cast<quint64>(number);
    const int exponent = exponentOfSize(value);
    QByteArray bytes(1, static_cast<char>(0x10 | exponent));
    append(&bytes, value, 1 << exponent);
    return bytes;
}

/*! The beginning of an object of so many units: its kind is the upper half of the first byte. */
QByteArray head(int kind, qsizetype count)
{
    constexpr int countFollows = 0xf;
    const int low = count < countFollows ? static_cast<int>(count) : countFollows;
    const QByteArray bytes(1, static_cast<char>(kind << 4 | low));
    return low < countFollows ? bytes : bytes + integer(count);
}

} // namespace

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addLeaf(const QByteArray &bytes)
{
    const auto known = m_leaves.constFind(bytes);
    if (known != m_leaves.constEnd())
        return *known;
    m_contents.push_back({bytes, {}});
    return m_leaves[bytes] = static_cast<Object>(m_contents.size() - 1);
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addString(QStringView text)
{
    const bool isASCII = std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; });
    if (isASCII)
        return addLeaf(head(0x5, text.size()) + text.toLatin1());
    QByteArray units(2 * text.size(), Qt::Uninitialized);
    qToBigEndian<char16_t>(text.utf16(), text.size(), units.data());
    return addLeaf(head(0x6, text.size()) + units);
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addInteger(qint64 number)
{
    return addLeaf(integer(number));
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addUID(quint32 uid)
{
    const int size = sizeOf(uid);
    QByteArray bytes(1, static_cast<char>(0x80 | (size - 1)));
    append(&bytes, uid, size);
    return addLeaf(bytes);
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addArray(std::span<const Object> objects)
{
    m_contents.push_back(
        {head(0xa, static_cast<qsizetype>(objects.size())), {objects.begin(), objects.end()}});
    return static_cast<Object>(m_contents.size() - 1);
}

BinaryPropertyListWriter::Object BinaryPropertyListWriter::addDictionary(std::span<const Entry> entries)
{
    Content content{head(0xd, static_cast<qsizetype>(entries.size())), {}};
    content.references.reserve(2 * entries.size());
    for (const Entry &entry : entries)
        content.references.push_back(entry.key);
    for (const Entry &entry : entries)
        content.references.push_back(entry.value);
    m_contents.push_back(std::move(content));
    return static_cast<Object>(m_contents.size() - 1);
}

QByteArray BinaryPropertyListWriter::data(Object top) const
{
    const int referenceSize = sizeOf(m_contents.size() - 1);
    QByteArray list("bplist00");
    std::vector<quint64> offsets;
    offsets.reserve(m_contents.size());
    for (const Content &content : m_contents) {
        offsets.push_back(static_cast<quint64>(list.size()));
        list += content.bytes;
        for (const Object reference : content.references)
            append(&list, reference, referenceSize);
    }
    const auto table = static_cast<quint64>(list.size());
    const int offsetSize = sizeOf(table);
    for (const quint64 offset : offsets)
        append(&list, offset, offsetSize);
    append(&list, 0, 6);
    append(&list, static_cast<quint64>(offsetSize), 1);
    append(&list, static_cast<quint64>(referenceSize), 1);
    append(&list, m_contents.size(), 8);
    append(&list, top, 8);
    append(&list, table, 8);
    return list;
}

} // namespace Marblewick
