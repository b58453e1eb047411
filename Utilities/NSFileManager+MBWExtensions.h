#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSFileManager.h>

#include <QByteArray>
#include <QString>

#include <optional>

/*! Facts about files and folders. Any thread. */
namespace MBWExtensions {

/*! Whether there is a folder at `path`, symbolic links followed, that is not a file package;
    NSWorkspace::isFilePackageAtPath() says what one is. False for files and for what is missing.
*/
MARBLEWICK_CORE_EXPORT bool isDirectoryAtPath(const Marblewick::NSFileManager *manager, const QString &path);

/*! A checksum of what lies at `path`, symbolic links followed: a raw SHA-1 digest, 20 bytes. It is that

    - of a file: of its contents;
    - of a file package: of its serialised form, which holds the names and contents of all that is in it, and
   is the same for every copy on every machine;
    - of another folder: of the checksums, one after another, of all items in it and in the folders below it,
      in the file system's own order, a folder before what is in it.

    So a file in a folder below counts more than once: by itself, and in the checksum of each folder between.
    Items whose names begin with a dot are left out with all that is below them, unless `path` itself leads
    there. A link counts as what it leads to, however many follow one another, without what is below that
    counting by itself. Equal folders on two file systems may differ in their order, and so in their
    checksums.

    Nil where there is nothing, or only what has no checksum and adds nothing to that of a folder either: a
   file that cannot be read, a package in which something cannot be read, a FIFO, a socket, a device, and a
   folder that is already being computed, to which a link inside it leads back. A folder that cannot be listed
   counts as empty.

    Each item is computed once in a call, by whatever paths it is reached. Large files need little memory. As
   the digest's count of bytes has 32 bits, of a file or package of 4 GiB or more only the first `size % 2^32`
    bytes enter. The first call of the process loads the plugin "marblewick-crypto"; where that is missing, an
    NSException is thrown as by SHA1Digest().
*/
MARBLEWICK_CORE_EXPORT std::optional<QByteArray> checksumForFileAtPath(
    const Marblewick::NSFileManager *manager, const QString &path);

} // namespace MBWExtensions
