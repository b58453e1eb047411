#pragma once

#include <QByteArray>
#include <QString>

#include <span>
#include <vector>

namespace Marblewick {

/*! Writes a binary property list object by object, what an array or a dictionary holds before itself. */
class BinaryPropertyListWriter
{
public:
    /*! The number of an object in the list. */
    using Object = quint32;

    struct Entry
    {
        Object key = 0;
        Object value = 0;
    };

    Object addString(QStringView text);
    Object addASCIIString(QByteArrayView text);
    Object addInteger(qint64 number);
    Object addUID(quint32 uid);
    Object addArray(std::span<const Object> objects);
    Object addDictionary(std::span<const Entry> entries);

    /*! The list, with `top` as the object that holds all others. Nothing can be added afterwards. */
    QByteArray data(Object top);

private:
    Object beginObject();
    Object beginObject(int kind, size_t count);
    void append(quint64 number, int size);
    void appendInteger(quint64 number);

    QByteArray m_list{"bplist00"};
    std::vector<qsizetype> m_offsets;
};

} // namespace Marblewick
