#pragma once

#include <QByteArray>
#include <QString>

#include <utility>
#include <vector>

/*! Makes binary property lists and keyed archives byte by byte, also such as no writer makes. */
class ArchiveBytes
{
public:
    /*! The number of an object in the property list. */
    using Object = int;
    using Entries = std::vector<std::pair<QString, Object>>;

    /*! An object in the form it has in the list. */
    Object raw(const QByteArray &bytes);
    /*! A string, in ASCII or UTF-16. */
    Object string(const QString &text);
    /*! An integer in that many bytes: 1, 2, 4, 8 or 16. */
    Object integer(qint64 number, int width = 8);
    Object boolean(bool flag);
    Object real(double number);
    Object uid(quint64 uid, int width = 4);
    Object array(const std::vector<Object> &objects);
    Object dictionary(const Entries &entries);

    /*! Puts an object into the archive's flat array and returns its UID. */
    quint32 add(Object object);
    /*! The same for the class dictionary of a class; `superclass` is what the archive says of it. */
    quint32 addClass(const QString &name, const QString &superclass = QStringLiteral("NSObject"));
    /*! The same for an object: the fields, and which class. */
    quint32 addObject(quint32 classUID, Entries fields);
    /*! Puts an object in the place of another one. */
    void replace(quint32 uid, Object object) { m_objects[uid] = object; }

    /*! The archive with that root. */
    QByteArray archive(quint64 rootUID, const QString &archiver = QStringLiteral("NSKeyedArchiver"),
                       qint64 version = 100'000);
    /*! The property list with that top. */
    QByteArray list(Object top) const;

private:
    QByteArray head(int kind, size_t count) const;

    std::vector<QByteArray> m_contents;
    std::vector<Object> m_objects{string(QStringLiteral("$null"))};
};

/*! Numbers of the trailer, counted from the end of the bytes. */
enum class TrailerField { OffsetSize = 26, ReferenceSize = 25, Count = 24, Top = 16, Table = 8 };

/*! The bytes with another number in the trailer. */
QByteArray withTrailerField(QByteArray bytes, TrailerField field, quint64 number);
