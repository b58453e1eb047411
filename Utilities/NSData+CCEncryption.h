#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QByteArray>
#include <QString>

#include <optional>

/*! Domain of the errors of this header, "MWCommonCryptoErrorDomain". Codes are those below, or a status of
    CommonCryptoError.h, which is negative.
*/
MARBLEWICK_CORE_EXPORT extern const QLatin1StringView MWCommonCryptoErrorDomain;

/*! Code 10001: no random bytes could be made, or no key derived. */
MARBLEWICK_CORE_EXPORT extern const qint64 MWCCCannotGenerateRandomDataErrorCode;
/*! Code 10002. Nothing reports it: a key that cannot be derived is reported by the code above. */
MARBLEWICK_CORE_EXPORT extern const qint64 MWCCCannotDerivePasswordKeyErrorCode;

/*! Iterations of the key derivation, 10000. */
MARBLEWICK_CORE_EXPORT extern const qint64 MWPBKDFRounds;
/*! Bytes of the salt that an encryption makes, 8. */
MARBLEWICK_CORE_EXPORT extern const qint64 MWPBKDFSaltSize;

/*! Encryption of bytes with a password: AES-256 in CBC mode with PKCS#7 padding, under a key derived by
   PBKDF2 (HMAC-SHA-1, 10000 iterations, 8 bytes of salt).

    The ciphertext holds neither salt nor initialisation vector. The host keeps them beside it, which needs no
    secrecy, and gives them again to decrypt. There is no integrity check: what decrypts need not be what was
    encrypted.

    Of the password's UTF-8 form, only as many bytes enter the key as the password has UTF-16 code units. So
   of a password beyond ASCII the last characters may not count. An unpaired surrogate counts as "?".

    Keys and the password's UTF-8 form are overwritten after their use. Descriptions of errors are looked up
   in the main bundle; `%d` in them stands for the number. Stateless; any thread. Deriving a key takes some
    milliseconds by intention.
*/
namespace CCEncryption {

/*! Random bytes, cryptographically secure. Always of that length: where the system refuses, `error` (code
    10001) and the process log say so, and the bytes are zero or partly random.
*/
MARBLEWICK_CORE_EXPORT QByteArray randomDataOfLength(quint64 length, Marblewick::NSError *error = nullptr);

/*! The key of 32 bytes for a password and a salt of any length. Always returned: where the derivation fails,
    `error` (code 10001) and the process log say so, and the key is worthless. The caller overwrites it after
    its use.
*/
MARBLEWICK_CORE_EXPORT QByteArray AESKeyForPassword(const QString &password, const QByteArray &salt,
                                                    Marblewick::NSError *error = nullptr);

/*! The ciphertext: as long as the data, rounded up to the next multiple of 16. `salt` and
    `initializationVector` receive 8 and 16 new random bytes, also where the encryption fails; each must be
    given, or an NSException named NSInternalInconsistencyException is thrown.

    Nil, with a status as the error's code, where the cipher fails. Random bytes or a key that could not be
   made set `error` but do not stop the encryption: a result that comes with an error set must not be used.
*/
MARBLEWICK_CORE_EXPORT std::optional<QByteArray> encryptWithPassword(const QByteArray &data,
                                                                     const QString &password,
                                                                     QByteArray *salt,
                                                                     QByteArray *initializationVector,
                                                                     Marblewick::NSError *error = nullptr);

/*! What was encrypted. `salt` and `initializationVector` must not be nil, or an NSException named
    NSInternalInconsistencyException is thrown. Of a vector longer than 16 bytes the first 16 count.

    Nil, with a status as the error's code, where it cannot be decrypted: kCCDecodeError (-4304) for a wrong
    password, damaged or no data, where the padding shows it (a wrong password passes once in 256 times, and
    gives wrong bytes); kCCAlignmentError (-4303) for data that is no multiple of 16; kCCParamError (-4300)
   for a vector shorter than 16 bytes.
*/
MARBLEWICK_CORE_EXPORT std::optional<QByteArray> decryptWithPassword(
    const QByteArray &data, const QString &password, const std::optional<QByteArray> &salt,
    const std::optional<QByteArray> &initializationVector, Marblewick::NSError *error = nullptr);

} // namespace CCEncryption
