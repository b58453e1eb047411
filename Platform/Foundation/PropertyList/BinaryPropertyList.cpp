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

/*! The unsigned number that up to 8 bytes hold, the highest first. */
quint64 number(QByteArrayView bytes)
{
    quint64 value = 0;
    for (const char byte : bytes)
        value = value << 8 | static_cast<quint8>(byte);
    return value;
}

/*! Whether numbers up to `largest` can be written in `size` bytes. */
bool isWideEnough(quint64 size, quint64 largest)
{
    return size >= 1 && size <= 8 && (size == 8 || largest >> (8 * size) == 0);
}

} // namespace

std::optional<BinaryPropertyList> BinaryPropertyList::open(QByteArrayView bytes)
{
    if (bytes.size() < headerSize + trailerSize || !bytes.startsWith(magic))
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
    list.m_top = static_cast<Object>(top);
    list.m_offsets.reserve(count);
    for (QByteArrayView rest = bytes.sliced(list.m_objects.size()).chopped(trailerSize); !rest.isEmpty();) {
        const quint64 offset = number(rest.first(static_cast<qsizetype>(offsetSize)));
        if (offset < headerSize || offset >= table)
            return std::nullopt;
        list.m_offsets.push_back(static_cast<qsizetype>(offset));
        rest = rest.sliced(static_cast<qsizetype>(offsetSize));
    }
    return list;
}

/*! The bytes of an object's content, which must not reach into the table of offsets. */
std::optional<QByteArrayView> BinaryPropertyList::bytes(qsizetype start, qsizetype count) const
{
    if (count > m_objects.size() - start)
        return std::nullopt;
    return m_objects.sliced(start, count);
}

std::optional<BinaryPropertyList::Content> BinaryPropertyList::content(Object object) const
{
    if (object < 0 || object >= static_cast<Object>(m_offsets.size()))
        return std::nullopt;
    const qsizetype start = m_offsets[static_cast<size_t>(object)];
    const auto first = static_cast<quint8>(m_objects[start]);
    return Content{static_cast<quint8>(first >> 4), static_cast<quint8>(first & 0xf), start + 1};
}

/*! 0 for what does not consist of units. */
qsizetype BinaryPropertyList::unitSize(quint8 kind) const
{
    switch (kind) {
    case ASCIIStringKind:
        return 1;
    case UTF16StringKind:
        return 2;
    case ArrayKind:
        return m_referenceSize;
    case DictionaryKind:
        return 2 * m_referenceSize;
    default:
        return 0;
    }
}

/*! Nil where an object has no units, or they do not lie within the objects. */
std::optional<BinaryPropertyList::Units> BinaryPropertyList::units(Object object) const
{
    const auto item = content(object);
    const qsizetype size = item ? unitSize(item->kind) : 0;
    if (size == 0)
        return std::nullopt;
    Units result{item->kind, item->low, item->start};
    if (item->low == countFollows) { // as an integer
        const int marker = item->start < m_objects.size() ? static_cast<quint8>(m_objects[item->start]) : 0;
        if (marker < 0x10 || marker > 0x13)
            return std::nullopt;
        const qsizetype width = qsizetype(1) << (marker & 0xf);
        const auto count = bytes(item->start + 1, width);
        if (!count || number(*count) > static_cast<quint64>(m_objects.size()))
            return std::nullopt;
        result.count = static_cast<qsizetype>(number(*count));
        result.start = item->start + 1 + width;
    }
    // No overflow: the count is at most the number of bytes, of which there are far less than 2^59.
    return result.count * size <= m_objects.size() - result.start ? std::optional(result) : std::nullopt;
}

std::optional<qint64> BinaryPropertyList::integer(Object object) const
{
    const auto item = content(object);
    if (!item || item->kind != IntegerKind || item->low > 4)
        return std::nullopt;
    const auto stored = bytes(item->start, qsizetype(1) << item->low);
    if (!stored)
        return std::nullopt;
    const QByteArrayView low = stored->last(std::min<qsizetype>(stored->size(), 8));
    const auto value = static_cast<qint64>(number(low)); // 1, 2 and 4 bytes are unsigned, 8 are signed.
    if (item->low == 4 && number(stored->first(8)) != (value < 0 ? ~quint64(0) : 0))
        return std::nullopt;
    return value;
}

std::optional<bool> BinaryPropertyList::boolean(Object object) const
{
    const auto item = content(object);
    if (!item || item->kind != SimpleKind || (item->low != 8 && item->low != 9))
        return std::nullopt;
    return item->low == 9;
}

std::optional<quint32> BinaryPropertyList::uid(Object object) const
{
    const auto item = content(object);
    if (!item || item->kind != UIDKind || item->low > 7)
        return std::nullopt;
    const auto stored = bytes(item->start, item->low + 1);
    if (!stored || number(*stored) > UINT32_MAX)
        return std::nullopt;
    return static_cast<quint32>(number(*stored));
}

std::optional<QString> BinaryPropertyList::string(Object object) const
{
    const auto characters = units(object);
    if (!characters)
        return std::nullopt;
    const char *const first = m_objects.data() + characters->start;
    if (characters->kind == UTF16StringKind) {
        QString text(characters->count, Qt::Uninitialized);
        qFromBigEndian<char16_t>(first, characters->count, text.data());
        return text;
    }
    const QByteArrayView ascii(first, characters->count);
    const auto isASCII = [](char byte) { return static_cast<quint8>(byte) < 0x80; };
    if (characters->kind != ASCIIStringKind || !std::ranges::all_of(ascii, isASCII))
        return std::nullopt;
    return QString::fromLatin1(ascii);
}

bool BinaryPropertyList::isString(Object object, QLatin1StringView text) const
{
    if (object < 0 || object >= static_cast<Object>(m_offsets.size()))
        return false;
    const int low = m_objects[m_offsets[static_cast<size_t>(object)]] & 0xf;
    if (low != countFollows && low != text.size()) // most keys of a dictionary that is searched
        return false;
    const auto characters = units(object);
    if (!characters || characters->count != text.size())
        return false;
    if (characters->kind == UTF16StringKind)
        return string(object) == text;
    return characters->kind == ASCIIStringKind
           && std::equal(text.begin(), text.end(), m_objects.begin() + characters->start);
}

BinaryPropertyList::Object BinaryPropertyList::reference(qsizetype start, qsizetype index) const
{
    const char *const bytes = m_objects.data() + start + index * m_referenceSize;
    quint64 object = 0;
    for (qsizetype i = 0; i < m_referenceSize; ++i)
        object = object << 8 | static_cast<quint8>(bytes[i]);
    return object < m_offsets.size() ? static_cast<Object>(object) : danglingObject;
}

BinaryPropertyList::Object BinaryPropertyList::objectAtIndex(Object array, qsizetype index) const
{
    const auto items = units(array);
    if (!items || items->kind != ArrayKind || index >= items->count)
        return noObject;
    return reference(items->start, index);
}

BinaryPropertyList::Object BinaryPropertyList::objectForKey(Object dictionary, QLatin1StringView key) const
{
    const auto entries = units(dictionary);
    if (!entries || entries->kind != DictionaryKind)
        return noObject;
    for (qsizetype i = 0; i < entries->count; ++i) {
        if (isString(reference(entries->start, i), key))
            return reference(entries->start, entries->count + i);
    }
    return noObject;
}

qsizetype BinaryPropertyList::byteCount(Object object) const
{
    const auto content = units(object);
    return content ? content->count * unitSize(content->kind) : 0;
}

} // namespace Marblewick
