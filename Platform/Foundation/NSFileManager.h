#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSDate.h>
#include <Marblewick/NSError.h>

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace Marblewick {

enum class NSFileType { Regular, Directory, SymbolicLink, Other };

/*! Attributes of one item in the file system. */
struct NSFileAttributes
{
    NSFileType type = NSFileType::Other;
    qint64 size = 0; ///< bytes
    /*! When the item was made; where its file system does not keep that, the modification date. */
    NSDate creationDate;
    NSDate modificationDate;
    /*! The file system, and the item in it: together, what stays the same by whatever path it is reached. */
    quint64 systemNumber = 0;
    quint64 systemFileNumber = 0;
};

/*! Operations on files and folders.

    Linux file names are bytes, mostly but not always UTF-8. A path string stands for every one of them:
    a byte that is not part of valid UTF-8 becomes the unpaired surrogate U+DC00 + byte, and turns back into
    that byte when the path is used here. (Such a string printed elsewhere shows a replacement character.)

    Stateless; any thread.
*/
class MARBLEWICK_CORE_EXPORT NSFileManager
{
public:
    static NSFileManager *defaultManager();

    /*! The path string of a file name or path in bytes. */
    static QString stringWithFileSystemRepresentation(QByteArrayView bytes);
    /*! The bytes that name the item at `path`; none, which name nothing, where it holds a NUL. */
    static QByteArray fileSystemRepresentationWithPath(const QString &path);

    /*! Calls `visit` with the bytes of each entry's bare name, in the order in which the system lists them,
        leaving out "." and "..". The entries themselves are not touched, so foreign ones cost nothing.

        False, with `error` set, where the folder is missing, unreadable or not a folder. A listing that
        breaks off ends with what was listed, and false.
    */
    bool enumerateContentsOfDirectoryAtPath(const QString &path,
                                            const std::function<void(QByteArrayView name)> &visit,
                                            NSError *error = nullptr) const;

    /*! Calls `visit` with the path, relative to `path` and in bytes, of each item in the folder and in its
        subfolders, a folder before what is in it. Symbolic links are items, and not followed. A folder that
        is missing or cannot be read counts as empty.
    */
    void enumerateSubpathsAtPath(const QString &path,
                                 const std::function<void(QByteArrayView relativePath)> &visit) const;

    /*! The attributes of an item; those of a symbolic link itself, not of what it points to. Nil, with
        `error` set, where they cannot be read.
    */
    std::optional<NSFileAttributes> attributesOfItemAtPath(const QString &path,
                                                           NSError *error = nullptr) const;

    /*! The same of what `path` leads to, symbolic links followed. */
    std::optional<NSFileAttributes> attributesOfResolvedItemAtPath(const QString &path,
                                                                   NSError *error = nullptr) const;

    /*! Where a symbolic link points to, as it is written in it. Nil, with `error` set, where it is none. */
    std::optional<QString> destinationOfSymbolicLinkAtPath(const QString &path,
                                                           NSError *error = nullptr) const;

    /*! Whether there is anything at `path`, symbolic links followed: one that leads nowhere is nothing.
        `isDirectory` receives whether it is a folder.
    */
    bool fileExistsAtPath(const QString &path, bool *isDirectory = nullptr) const;

    /*! Whether `path`, symbolic links followed, is a regular file. */
    bool isRegularFileAtPath(const QString &path) const;

    /*! The bytes of a regular file. Nil, with `error` set, where it is missing, not a regular file,
        unreadable or larger than `maximumSize` bytes. A FIFO, a socket or a device is not even opened.
    */
    std::optional<QByteArray> contentsAtPath(const QString &path, qint64 maximumSize,
                                             NSError *error = nullptr) const;

    /*! Writes a new file that only the user may read and write (mode 0600, whatever the umask). False, with
       `error` set, where something has that name already or the bytes could not all be written; then no file
       is left behind.
    */
    bool createFileAtPath(const QString &path, QByteArrayView contents, NSError *error = nullptr) const;

    /*! Makes a folder, and those above it that are missing, with mode 0700 as the XDG base directory rules
        ask. True where it is there already; false, with `error` set, where it cannot be made.
    */
    bool createDirectoryAtPath(const QString &path, NSError *error = nullptr) const;

    /*! Removes a file, a symbolic link (not what it points to), or a folder with all that is in it. False,
        with `error` set, where it is missing or cannot be removed; a folder may then have lost a part of its
        contents.
    */
    bool removeItemAtPath(const QString &path, NSError *error = nullptr) const;

private:
    NSFileManager() = default;
};

} // namespace Marblewick
