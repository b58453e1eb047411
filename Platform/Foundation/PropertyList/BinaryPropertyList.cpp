#include "Platform/Foundation/PropertyList/BinaryPropertyList.h"

#include <QtEndian>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr QLatin1StringView magic("bplist0"); // a digit that does not matter follows
constexpr qsizetype headerSize = 8;
constexpr qsizetype trailerSize = 32;

/*! What stands for the count of an object's units where it does not fit into half a byte. */
constexpr quint8 countFollows = 0xf;

/*! The unsigned number that 1 to 8 bytes of a list hold, the highest first. They are read together with what
    precedes them, which is there because no number is in a list's first 8 bytes.
*/
inline quint64 number(QByteArrayView bytes)
{
    constexpr qsizetype width = sizeof(quint64);
    return qFromBigEndian<quint64>(bytes.end() - width) & (~quint64(0) >> 8 * (width - bytes.size()));
}

/*! Whether numbers up to `largest` can be written in `size` bytes. */
bool isWideEnough(quint64 size, quint64 largest)
{
    return size >= 1 && size <= 8 && (size == 8 || largest >> (8 * size) == 0);
}

} // namespace

std::optional<BinaryPropertyList> BinaryPropertyList::open(QByteArrayView bytes)
{
    if (bytes.size() < headerSize + trailerSize || bytes.size() > UINT32_MAX || !bytes.startsWith(magic))
        return std::nullopt;
    const QByteArrayView trailer = bytes.last(trailerSize);
    const quint64 offsetSize = number(trailer.sliced(6, 1));
    const quint64 referenceSize = number(trailer.sliced(7, 1));
    const quint64 count = number(trailer.sliced(8, 8));
    const quint64 top = number(trailer.sliced(16, 8));
    const quint64 table = number(trailer.sliced(24, 8));

    const quint64 room = static_cast<quint64>(bytes.size() - trailerSize);
    if (count == 0 || top >= count || table <= headerSize || table > room)
        return std::nullopt;
    if (!isWideEnough(offsetSize, table - 1) || !isWideEnough(referenceSize, count - 1))
        return std::nullopt;
    if (count > room || count * offsetSize != room - table)
        return std::nullopt;

    BinaryPropertyList list;
    list.m_objects = bytes.first(static_cast<qsizetype>(table));
    list.m_referenceSize = static_cast<qsizetype>(referenceSize);
    list.m_unitSizes[ArrayKind] = static_cast<quint8>(referenceSize);
    list.m_unitSizes[DictionaryKind] = static_cast<quint8>(2 * referenceSize);
    list.m_top = static_cast<Object>(top);
    list.m_contents.resize(count);
    QByteArrayView offsets = bytes.sliced(list.m_objects.size());
    for (Content &content : list.m_contents) {
        const quint64 offset = number(offsets.first(static_cast<qsizetype>(offsetSize)));
        if (offset < headerSize || offset >= table)
            return std::nullopt;
        list.read(static_cast<qsizetype>(offset), content);
        offsets = offsets.sliced(static_cast<qsizetype>(offsetSize));
    }
    return list;
}

/*! Fills in what the object is that begins at a position of the list, unless it is broken. */
void BinaryPropertyList::read(qsizetype position, Content &content) const
{
    const auto marker = static_cast<quint8>(m_objects[position]);
    const auto kind = static_cast<quint8>(marker >> 4);
    quint64 count = marker & 0xf;
    qsizetype start = position + 1;
    if (kind == SimpleKind) { // The byte itself says all.
        count = 1;
        start = position;
    } else if (kind == IntegerKind) {
        count = quint64(1) << count;
    } else if (kind == UIDKind) {
        ++count;
    } else if (count == countFollows) { // as an integer
        const int width = start < m_objects.size() ? static_cast<quint8>(m_objects[start]) - 0x10 : -1;
        if (width < 0 || width > 3 || (1 << width) >= m_objects.size() - start)
            return;
        count = number(m_objects.sliced(start + 1, 1 << width));
        start += 1 + (1 << width);
    }
    const auto room = static_cast<quint64>(m_objects.size() - start);
    const quint64 size = m_unitSizes[kind];
    if (size == 0 || count > room || count * size > room)
        return;
    content = {static_cast<quint32>(start), static_cast<quint32>(count), kind};
}

std::optional<qint64> BinaryPropertyList::integer(Object object) const
{
    const Content &item = content(object);
    if (item.kind != IntegerKind || item.count > 16)
        return std::nullopt;
    const QByteArrayView stored = bytes(item);
    const QByteArrayView low = stored.last(std::min<qsizetype>(stored.size(), 8));
    const auto value = static_cast<qint64>(number(low)); // 1, 2 and 4 bytes are unsigned, 8 are signed.
    if (item.count == 16 && number(stored.first(8)) != (value < 0 ? ~quint64(0) : 0))
        return std::nullopt;
    return value;
}

std::optional<bool> BinaryPropertyList::boolean(Object object) const
{
    const Content &item = content(object);
    const char byte = item.kind == SimpleKind ? bytes(item).front() : '\0';
    return byte == 8 || byte == 9 ? std::optional(byte == 9) : std::nullopt;
}

qint64 BinaryPropertyList::uid(Object object) const
{
    const Content &item = content(object);
    if (item.kind != UIDKind || item.count > 8)
        return noUID;
    const quint64 uid = number(bytes(item));
    return uid <= UINT32_MAX ? static_cast<qint64>(uid) : noUID;
}

std::optional<QString> BinaryPropertyList::string(const Content &item) const
{
    if (item.kind == UTF16StringKind) {
        QString text(item.count, Qt::Uninitialized);
        qFromBigEndian<char16_t>(m_objects.data() + item.start, item.count, text.data());
        return text;
    }
    const auto isASCII = [](char byte) { return static_cast<quint8>(byte) < 0x80; };
    if (item.kind != ASCIIStringKind || !std::ranges::all_of(bytes(item), isASCII))
        return std::nullopt;
    return QString::fromLatin1(bytes(item));
}

bool BinaryPropertyList::isString(Object object, QLatin1StringView text) const
{
    const Content &item = content(object);
    if (item.count != text.size()) // most keys of a dictionary that is searched
        return false;
    if (item.kind == UTF16StringKind)
        return string(item) == text;
    return item.kind == ASCIIStringKind && std::ranges::equal(bytes(item), text);
}

/*! The object that a reference of an array or dictionary refers to. */
BinaryPropertyList::Object BinaryPropertyList::reference(const Content &item, qsizetype index) const
{
    const quint64 object = number(m_objects.sliced(item.start + index * m_referenceSize, m_referenceSize));
    return object < m_contents.size() ? static_cast<Object>(object) : danglingObject;
}

BinaryPropertyList::Object BinaryPropertyList::objectAtIndex(Object array, qsizetype index) const
{
    const Content &items = content(array);
    return items.kind == ArrayKind && index < items.count ? reference(items, index) : noObject;
}

BinaryPropertyList::Object BinaryPropertyList::objectForKey(Object dictionary, QLatin1StringView key,
                                                            qsizetype *next) const
{
    const Content &entries = content(dictionary);
    if (entries.kind != DictionaryKind)
        return noObject;
    qsizetype entry = next ? *next : 0;
    for (qsizetype i = 0; i < entries.count; ++i, ++entry) {
        if (entry >= entries.count)
            entry = 0;
        if (!isString(reference(entries, entry), key))
            continue;
        if (next)
            *next = entry + 1;
        return reference(entries, entries.count + entry);
    }
    return noObject;
}

qsizetype BinaryPropertyList::byteCount(Object object) const
{
    const Content &item = content(object);
    return qsizetype(item.count) * m_unitSizes[item.kind];
}

} // namespace Marblewick
