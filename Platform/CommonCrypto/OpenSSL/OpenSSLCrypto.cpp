#include "Platform/CommonCrypto/OpenSSL/OpenSSLCrypto.h"

#include "Platform/CommonCrypto/OpenSSL/OpenSSLDigest.h"

#include <algorithm>
#include <array>
#include <openssl/core_names.h>
#include <openssl/params.h>

namespace Marblewick {

OpenSSLCrypto::OpenSSLCrypto() = default;

std::unique_ptr<OpenSSLCrypto> OpenSSLCrypto::create()
{
    const OpenSSLErrorsTakenBack errors;
    auto crypto = std::make_unique<OpenSSLCrypto>();
    const bool isComplete = crypto->m_sha1 && crypto->m_sha256 && crypto->m_hmac && crypto->m_pbkdf2
                            && crypto->m_aes256;
    return isComplete ? std::move(crypto) : nullptr;
}

std::unique_ptr<CryptoDigest> OpenSSLCrypto::createSHA1() { return OpenSSLDigest::create(m_sha1.get()); }

std::unique_ptr<CryptoDigest> OpenSSLCrypto::createSHA256() { return OpenSSLDigest::create(m_sha256.get()); }

std::unique_ptr<CryptoDigest> OpenSSLCrypto::createSHA256HMAC(std::span<const unsigned char> key)
{
    return OpenSSLHMAC::create(m_hmac.get(), key);
}

bool OpenSSLCrypto::derivePBKDF2WithSHA1(std::span<const unsigned char> password,
                                         std::span<const unsigned char> salt, uint32_t rounds,
                                         std::span<unsigned char> key)
{
    const OpenSSLErrorsTakenBack errors;
    const OpenSSLHandle<EVP_KDF_CTX, ::EVP_KDF_CTX_free> context(::EVP_KDF_CTX_new(m_pbkdf2.get()));
    // The parameters are only read, though their type does not say so.
    const auto bytes = [](const char *name, std::span<const unsigned char> value) {
        return ::OSSL_PARAM_construct_octet_string(name, const_cast<unsigned char *>(value.data()),
                                                   value.size());
    };
    char digest[] = "SHA1";
    const std::array parameters{
        ::OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest, 0),
        bytes(OSSL_KDF_PARAM_PASSWORD, password),
        bytes(OSSL_KDF_PARAM_SALT, salt),
        ::OSSL_PARAM_construct_uint32(OSSL_KDF_PARAM_ITER, &rounds),
        ::OSSL_PARAM_construct_end(),
    };
    return context && ::EVP_KDF_derive(context.get(), key.data(), key.size(), parameters.data()) == 1;
}

CCStatus OpenSSLCrypto::encryptAES256(const Cipher &cipher, std::span<const unsigned char> input,
                                      unsigned char *output, size_t *produced)
{
    return crypt(Direction::Encrypt, cipher, input, output, produced);
}

CCStatus OpenSSLCrypto::decryptAES256(const Cipher &cipher, std::span<const unsigned char> input,
                                      unsigned char *output, size_t *produced)
{
    return crypt(Direction::Decrypt, cipher, input, output, produced);
}

CCStatus OpenSSLCrypto::crypt(Direction direction, const Cipher &cipher, std::span<const unsigned char> input,
                              unsigned char *output, size_t *produced)
{
    const OpenSSLErrorsTakenBack errors;
    const OpenSSLHandle<EVP_CIPHER_CTX, ::EVP_CIPHER_CTX_free> context(::EVP_CIPHER_CTX_new());
    if (!context
        || ::EVP_CipherInit_ex2(context.get(), m_aes256.get(), cipher.key, cipher.initializationVector,
                                direction == Direction::Encrypt ? 1 : 0, nullptr)
               != 1)
        return kCCUnspecifiedError;

    // OpenSSL counts in int.
    constexpr size_t pieceSize = 1 << 30;
    size_t total = 0;
    int count = 0;
    while (!input.empty()) {
        const auto piece = input.first(std::min(input.size(), pieceSize));
        if (::EVP_CipherUpdate(context.get(), output + total, &count, piece.data(),
                               static_cast<int>(piece.size()))
            != 1)
            return kCCUnspecifiedError;
        total += static_cast<size_t>(count);
        input = input.subspan(piece.size());
    }
    if (::EVP_CipherFinal_ex(context.get(), output + total, &count) != 1)
        return direction == Direction::Encrypt ? kCCUnspecifiedError : kCCDecodeError;
    *produced = total + static_cast<size_t>(count);
    return kCCSuccess;
}

} // namespace Marblewick
