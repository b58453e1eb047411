#include "Tests/Support/ArchiveBytes.h"

#include <QtEndian>

#include <algorithm>
#include <bit>

using namespace Qt::StringLiterals;

namespace {

// Wider than needed, as the format allows.
constexpr int referenceSize = 4;
constexpr int offsetSize = 8;

QByteArray bigEndian(quint64 number, int size)
{
    QByteArray bytes(size, '\0');
    for (int i = size - 1; i >= 0 && number > 0; --i, number >>= 8)
        bytes[i] = static_cast<char>(number);
    return bytes;
}

} // namespace

QByteArray ArchiveBytes::head(int kind, size_t count) const
{
    return QByteArray(1, static_cast<char>(kind << 4 | 0xf)) + '\x12' + bigEndian(count, 4);
}

ArchiveBytes::Object ArchiveBytes::raw(const QByteArray &bytes)
{
    m_contents.push_back(bytes);
    return static_cast<Object>(m_contents.size() - 1);
}

ArchiveBytes::Object ArchiveBytes::string(const QString &text)
{
    const auto length = static_cast<size_t>(text.size());
    if (std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; }))
        return raw(head(0x5, length) + text.toLatin1());
    QByteArray units;
    for (const QChar c : text)
        units += bigEndian(c.unicode(), 2);
    return raw(head(0x6, length) + units);
}

ArchiveBytes::Object ArchiveBytes::integer(qint64 number, int width)
{
    const auto marker = static_cast<char>(0x10 | std::countr_zero(static_cast<unsigned>(width)));
    const QByteArray extension(width > 8 ? 8 : 0, number < 0 ? '\xff' : '\0');
    return raw(marker + extension + bigEndian(static_cast<quint64>(number), std::min(width, 8)));
}

ArchiveBytes::Object ArchiveBytes::boolean(bool flag) { return raw(flag ? "\x09" : "\x08"); }

ArchiveBytes::Object ArchiveBytes::real(double number)
{
    return raw('\x23' + bigEndian(std::bit_cast<quint64>(number), 8));
}

ArchiveBytes::Object ArchiveBytes::uid(quint64 uid, int width)
{
    return raw(static_cast<char>(0x80 | (width - 1)) + bigEndian(uid, width));
}

ArchiveBytes::Object ArchiveBytes::array(const std::vector<Object> &objects)
{
    QByteArray references;
    for (const Object object : objects)
        references += bigEndian(static_cast<quint64>(object), referenceSize);
    return raw(head(0xa, objects.size()) + references);
}

ArchiveBytes::Object ArchiveBytes::dictionary(const Entries &entries)
{
    QByteArray keys;
    QByteArray values;
    for (const auto &[key, value] : entries) {
        keys += bigEndian(static_cast<quint64>(string(key)), referenceSize);
        values += bigEndian(static_cast<quint64>(value), referenceSize);
    }
    return raw(head(0xd, entries.size()) + keys + values);
}

quint32 ArchiveBytes::add(Object object)
{
    m_objects.push_back(object);
    return static_cast<quint32>(m_objects.size() - 1);
}

quint32 ArchiveBytes::addClass(const QString &name, const QString &superclass)
{
    return add(dictionary(
        {{u"$classname"_s, string(name)}, {u"$classes"_s, array({string(name), string(superclass)})}}));
}

quint32 ArchiveBytes::addObject(quint32 classUID, Entries fields)
{
    fields.emplace_back(u"$class"_s, uid(classUID));
    return add(dictionary(fields));
}

QByteArray ArchiveBytes::archive(quint64 rootUID, const QString &archiver, qint64 version)
{
    return list(dictionary({{u"$version"_s, integer(version)},
                            {u"$objects"_s, array(m_objects)},
                            {u"$top"_s, dictionary({{u"root"_s, uid(rootUID)}})},
                            {u"$archiver"_s, string(archiver)}}));
}

QByteArray ArchiveBytes::list(Object top) const
{
    QByteArray bytes("bplist00");
    QByteArray offsets;
    for (const QByteArray &content : m_contents) {
        offsets += bigEndian(static_cast<quint64>(bytes.size()), offsetSize);
        bytes += content;
    }
    const QByteArray table = bigEndian(static_cast<quint64>(bytes.size()), 8);
    return bytes + offsets + QByteArray(6, '\0') + static_cast<char>(offsetSize)
           + static_cast<char>(referenceSize) + bigEndian(m_contents.size(), 8)
           + bigEndian(static_cast<quint64>(top), 8) + table;
}

QByteArray withTrailerField(QByteArray bytes, TrailerField field, quint64 number)
{
    const int size = field == TrailerField::OffsetSize || field == TrailerField::ReferenceSize ? 1 : 8;
    return bytes.replace(bytes.size() - static_cast<qsizetype>(field), size, bigEndian(number, size));
}
