#include "Utilities/NSData+CCEncryption.h"

#include "Platform/CommonCrypto/CommonCryptor.h"
#include "Platform/CommonCrypto/CommonKeyDerivation.h"
#include "Platform/Foundation/NSAssertionHandler.h"
#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Security/SecRandom.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

using namespace Qt::StringLiterals;
using namespace Marblewick;

constinit const QLatin1StringView MWCommonCryptoErrorDomain("MWCommonCryptoErrorDomain");
constinit const qint64 MWCCCannotGenerateRandomDataErrorCode = 10001;
constinit const qint64 MWCCCannotDerivePasswordKeyErrorCode = 10002;
constinit const qint64 MWPBKDFRounds = 10000;
constinit const qint64 MWPBKDFSaltSize = 8;

namespace CCEncryption {

namespace {

/*! Bytes that are overwritten before their memory is given back. */
class SecretBytes
{
public:
    explicit SecretBytes(QByteArray &&bytes)
        : m_bytes(std::move(bytes))
    { }
    ~SecretBytes() { ::explicit_bzero(m_bytes.data(), static_cast<size_t>(m_bytes.size())); }
    SecretBytes(const SecretBytes &) = delete;
    SecretBytes &operator=(const SecretBytes &) = delete;

    const QByteArray &bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

void store(NSError *error, qint64 code, const QString &format, int number)
{
    if (!error)
        return;
    const QString description = NSBundle::mainBundle()->localizedStringForKey(format).replace(
        u"%d"_s, QString::number(number));
    *error = NSError(MWCommonCryptoErrorDomain, code, {{NSLocalizedDescriptionKey, description}});
}

void require(bool isGiven, const QString &description, int line, const QString &method,
             const QByteArray &receiver)
{
    if (!isGiven)
        NSAssertionHandler::handleFailureInMethod(method, u"NSData of %1 bytes"_s.arg(receiver.size()),
                                                  u"NSData+CCEncryption"_s, line, description);
}

uint8_t *writable(QByteArray &data) { return reinterpret_cast<uint8_t *>(data.data()); }

size_t size(const QByteArray &data) { return static_cast<size_t>(data.size()); }

/*! What CCCrypt() makes of the data, or its status. */
CCCryptorStatus crypt(CCOperation operation, const QByteArray &data, const SecretBytes &key,
                      const QByteArray &initializationVector, QByteArray *result)
{
    if (size(initializationVector) < kCCBlockSizeAES128)
        return kCCParamError;
    result->resize(data.size() + static_cast<qsizetype>(kCCBlockSizeAES128));
    size_t produced = 0;
    const CCCryptorStatus status = CCCrypt(operation, kCCAlgorithmAES, kCCOptionPKCS7Padding,
                                           key.bytes().constData(), size(key.bytes()),
                                           initializationVector.constData(), data.constData(), size(data),
                                           result->data(), size(*result), &produced);
    result->truncate(static_cast<qsizetype>(produced));
    return status;
}

} // namespace

QByteArray randomDataOfLength(quint64 length, NSError *error)
{
    if (!std::in_range<qsizetype>(length))
        throw std::bad_alloc();
    QByteArray data(static_cast<qsizetype>(length), '\0');
    if (SecRandomCopyBytes(kSecRandomDefault, size(data), writable(data)) != errSecSuccess) {
        const int reason = errno;
        NSLog(u"Unable to generate random bytes: %@", {QString::number(reason)});
        store(error, MWCCCannotGenerateRandomDataErrorCode,
              u"Unable to generate random data for encryption: %d"_s, reason);
    }
    return data;
}

QByteArray AESKeyForPassword(const QString &password, const QByteArray &salt, NSError *error)
{
    QByteArray key(kCCKeySizeAES256, '\0');
    const SecretBytes utf8(password.toUtf8());
    // The count is that of the UTF-16 code units, which is never more than there are bytes.
    const auto count = static_cast<size_t>(password.size());
    const int status = CCKeyDerivationPBKDF(
        kCCPBKDF2, utf8.bytes().constData(), count, reinterpret_cast<const uint8_t *>(salt.constData()),
        size(salt), kCCPRFHmacAlgSHA1, static_cast<uint32_t>(MWPBKDFRounds), writable(key), size(key));
    if (status != kCCSuccess) {
        NSLog(u"Unable to create AES key for password: %@", {QString::number(status)});
        store(error, MWCCCannotGenerateRandomDataErrorCode, u"Unable to create AES key for password: %d"_s,
              status);
    }
    return key;
}

std::optional<QByteArray> encryptWithPassword(const QByteArray &data, const QString &password,
                                              QByteArray *salt, QByteArray *initializationVector,
                                              NSError *error)
{
    const auto method = u"encryptWithPassword:salt:initializationVector:error:"_s;
    require(salt, u"Salt must not be NULL"_s, __LINE__, method, data);
    require(initializationVector, u"IV must not be NULL"_s, __LINE__, method, data);

    *salt = randomDataOfLength(static_cast<quint64>(MWPBKDFSaltSize), error);
    *initializationVector = randomDataOfLength(kCCBlockSizeAES128, error);
    const SecretBytes key(AESKeyForPassword(password, *salt, error));
    QByteArray ciphertext;
    const CCCryptorStatus status = crypt(kCCEncrypt, data, key, *initializationVector, &ciphertext);
    if (status == kCCSuccess)
        return ciphertext;
    store(error, status, u"Cannot encrypt data: %d"_s, status);
    return std::nullopt;
}

std::optional<QByteArray> decryptWithPassword(const QByteArray &data, const QString &password,
                                              const std::optional<QByteArray> &salt,
                                              const std::optional<QByteArray> &initializationVector,
                                              NSError *error)
{
    const auto method = u"decryptWithPassword:salt:initializationVector:error:"_s;
    require(salt.has_value(), u"Salt must not be NULL"_s, __LINE__, method, data);
    require(initializationVector.has_value(), u"IV must not be NULL"_s, __LINE__, method, data);

    const SecretBytes key(AESKeyForPassword(password, *salt, error));
    QByteArray plaintext;
    const CCCryptorStatus status = crypt(kCCDecrypt, data, key, *initializationVector, &plaintext);
    if (status == kCCSuccess)
        return plaintext;
    store(error, status, u"Cannot decrypt data: %d"_s, status);
    return std::nullopt;
}

} // namespace CCEncryption
