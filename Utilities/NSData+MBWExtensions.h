#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QByteArray>
#include <QString>

/*! Digests of bytes, and bytes as hexadecimal text. Stateless; any thread. The first digest of the process
    loads the plugin "marblewick-crypto"; where it is missing, the digests throw an NSException named
    NSInternalInconsistencyException.
*/
namespace MBWExtensions {

/*! The SHA-1 (20 bytes) or SHA-256 (32 bytes) digest, raw. The count of bytes is kept in 32 bits: of a buffer
    of 4 GiB or more, only the first `size % 2^32` bytes enter.
*/
MARBLEWICK_CORE_EXPORT QByteArray SHA1Digest(const QByteArray &data);
MARBLEWICK_CORE_EXPORT QByteArray SHA256Digest(const QByteArray &data);

/*! The HMAC-SHA-256 (32 bytes), raw, of the whole buffer under a key of any length. */
MARBLEWICK_CORE_EXPORT QByteArray SHA256HMACWithKey(const QByteArray &data, const QByteArray &key);

/*! Two lower-case digits for each byte, nothing between them. */
MARBLEWICK_CORE_EXPORT QString hexadecimalString(const QByteArray &data);

/*! One byte for each pair of characters; an odd last character is left out. Nil counts as empty.

    Nothing is refused. Each character counts by the low 8 bits of its UTF-16 code unit, and a pair is read as
    far as strtol() reads a number in base 16: "1g" is 1, " 1" is 1, "-1" is 255, "+f" is 15, "0x" and "zz"
   are 0. The unusual spelling of the name stays, since hosts use it.
*/
MARBLEWICK_CORE_EXPORT QByteArray dataFromHexidecimalString(QStringView string);

} // namespace MBWExtensions
