#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/NSData+CCEncryption.h>

#include <cstdlib>
#include <memory>
#include <openssl/evp.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray salt = "saltsalt";
const QByteArray vector = "0123456789abcdef";

unsigned char *writable(QByteArray &data) { return reinterpret_cast<unsigned char *>(data.data()); }
const unsigned char *readable(const QByteArray &data)
{
    return reinterpret_cast<const unsigned char *>(data.constData());
}

QByteArray keyByEVP()
{
    QByteArray key(32, Qt::Uninitialized);
    if (::PKCS5_PBKDF2_HMAC("secret", 6, readable(salt), 8, 10000, ::EVP_sha1(), 32, writable(key)) != 1)
        std::abort();
    return key;
}

QByteArray encryptByEVP(const QByteArray &data)
{
    const QByteArray key = keyByEVP();
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&::EVP_CIPHER_CTX_free)> context(::EVP_CIPHER_CTX_new(),
                                                                                    &::EVP_CIPHER_CTX_free);
    QByteArray result(data.size() + 16, Qt::Uninitialized);
    int size = 0;
    int rest = 0;
    if (::EVP_EncryptInit_ex2(context.get(), ::EVP_aes_256_cbc(), readable(key), readable(vector), nullptr)
            != 1
        || ::EVP_EncryptUpdate(context.get(), writable(result), &size, readable(data),
                               static_cast<int>(data.size()))
               != 1
        || ::EVP_EncryptFinal_ex(context.get(), writable(result) + size, &rest) != 1)
        std::abort();
    result.truncate(size + rest);
    return result;
}

QByteArray encryptByUs(const QByteArray &data)
{
    QByteArray newSalt;
    QByteArray newVector;
    return CCEncryption::encryptWithPassword(data, u"secret"_s, &newSalt, &newVector).value();
}

template <typename Function>
double milliseconds(const Function &work)
{
    return 1000 * secondsOf([&] { work(); });
}

} // namespace

void benchmarkEncryption()
{
    if (CCEncryption::AESKeyForPassword(u"secret"_s, salt) != keyByEVP())
        std::abort();
    const Comparison derivation{
        .ours = [] { return milliseconds([] { CCEncryption::AESKeyForPassword(u"secret"_s, salt); }); },
        .peer = [] { return milliseconds([] { keyByEVP(); }); },
        .repetitions = 101};
    printRatio("AESKeyForPassword / EVP called directly", derivation.run(), "ms", "at most 1.03");

    const QByteArray data(64 * 1024 * 1024, 'x');
    if (CCEncryption::decryptWithPassword(encryptByEVP(data), u"secret"_s, salt, vector) != data)
        std::abort();
    const Comparison encryption{.ours = [&] { return milliseconds([&] { encryptByUs(data); }); },
                                .peer = [&] { return milliseconds([&] { encryptByEVP(data); }); },
                                .repetitions = 31};
    printRatio("encryptWithPassword, 64 MiB / EVP called directly", encryption.run(), "ms", "at most 1.05");
}
