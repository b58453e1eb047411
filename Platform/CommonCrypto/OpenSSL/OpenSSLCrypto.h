#pragma once

#include "Platform/CommonCrypto/CryptoLibrary.h"
#include "Platform/CommonCrypto/OpenSSL/OpenSSLHandles.h"

namespace Marblewick {

/*! The primitives by OpenSSL's EVP functions. They use a library context of their own: whatever the system's
    or the host's OpenSSL configuration allows or forbids, what was encrypted before can be decrypted.
*/
class OpenSSLCrypto : public CryptoLibrary
{
public:
    /*! Null where an algorithm is missing. */
    static std::unique_ptr<OpenSSLCrypto> create();

    OpenSSLCrypto();

    std::unique_ptr<CryptoDigest> createSHA1() override;
    std::unique_ptr<CryptoDigest> createSHA256() override;
    std::unique_ptr<CryptoDigest> createSHA256HMAC(std::span<const unsigned char> key) override;
    bool derivePBKDF2WithSHA1(std::span<const unsigned char> password, std::span<const unsigned char> salt,
                              uint32_t rounds, std::span<unsigned char> key) override;
    CCStatus encryptAES256(const Cipher &cipher, std::span<const unsigned char> input, unsigned char *output,
                           size_t *produced) override;
    CCStatus decryptAES256(const Cipher &cipher, std::span<const unsigned char> input, unsigned char *output,
                           size_t *produced) override;

private:
    enum class Direction { Decrypt, Encrypt };
    CCStatus crypt(Direction direction, const Cipher &cipher, std::span<const unsigned char> input,
                   unsigned char *output, size_t *produced);

    OpenSSLHandle<OSSL_LIB_CTX, ::OSSL_LIB_CTX_free> m_context{::OSSL_LIB_CTX_new()};
    OpenSSLHandle<EVP_MD, ::EVP_MD_free> m_sha1{::EVP_MD_fetch(m_context.get(), "SHA1", nullptr)};
    OpenSSLHandle<EVP_MD, ::EVP_MD_free> m_sha256{::EVP_MD_fetch(m_context.get(), "SHA256", nullptr)};
    OpenSSLHandle<EVP_MAC, ::EVP_MAC_free> m_hmac{::EVP_MAC_fetch(m_context.get(), "HMAC", nullptr)};
    OpenSSLHandle<EVP_KDF, ::EVP_KDF_free> m_pbkdf2{::EVP_KDF_fetch(m_context.get(), "PBKDF2", nullptr)};
    OpenSSLHandle<EVP_CIPHER, ::EVP_CIPHER_free> m_aes256{
        ::EVP_CIPHER_fetch(m_context.get(), "AES-256-CBC", nullptr)};
};

} // namespace Marblewick
