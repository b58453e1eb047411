#pragma once

#include "Platform/Foundation/NSFileManager.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace Marblewick {

/*! A file, a symbolic link, or a folder with all that is below it, as it was at one time. Any thread. */
class NSFileWrapper
{
public:
    /*! Looks at the item at `path`; where that is itself a symbolic link, at what it leads to. Contents of
       files are not read yet. Nil where it is no file or folder, or something in it cannot be listed or has
       gone meanwhile.
    */
    static std::optional<NSFileWrapper> initWithPath(const QString &path);

    /*! Bytes of the serialised representation. */
    quint64 serializedSize() const;

    /*! Hands the serialised representation to `take`, piece by piece, so that it needs little memory. False
        where a file can no longer be read, or not as far as it was long; what was taken is then worth
       nothing.

        It holds names and contents and nothing else, so that copies have the same one on every machine: no
        dates, owners, modes or order of the file system, nor the top item's own name. An item is one of

            f  size of contents, contents                             a file
            l  size of destination, destination                       a symbolic link, which is not followed
            d  count of items, for each: size of name, name, item     a folder, sorted by the names' bytes

        where sizes and counts are 8 bytes, the highest first. FIFOs, sockets and devices are left out.
    */
    bool serializedRepresentation(const std::function<void(QByteArrayView)> &take) const;

private:
    bool readDirectory(const QString &path);
    bool serialize(const QString &path, const std::function<void(QByteArrayView)> &take) const;

    NSFileType m_type = NSFileType::Regular;
    QByteArray m_name;
    quint64 m_size = 0; // of a file's contents
    QByteArray m_destination; // of a link
    std::vector<NSFileWrapper> m_items; // of a folder
    QString m_path; // of the top item
};

} // namespace Marblewick
