#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <span>
#include <vector>

namespace Marblewick {

/*! Writes a binary property list object by object, what an array or a dictionary holds before itself. Equal
    strings, numbers and identifiers are written once.
*/
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
    Object addInteger(qint64 number);
    Object addUID(quint32 uid);
    Object addArray(std::span<const Object> objects);
    Object addDictionary(std::span<const Entry> entries);

    /*! The list, with `top` as the object that holds all others. */
    QByteArray data(Object top) const;

private:
    /*! An object as it is written, but for the references, whose width depends on the count of objects. */
    struct Content
    {
        QByteArray bytes;
        std::vector<Object> references;
    };

    Object addLeaf(const QByteArray &bytes);

    std::vector<Content> m_contents;
    QHash<QByteArray, Object> m_leaves;
};

} // namespace Marblewick
