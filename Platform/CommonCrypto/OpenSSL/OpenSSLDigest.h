#pragma once

#include "Platform/CommonCrypto/CryptoLibrary.h"
#include "Platform/CommonCrypto/OpenSSL/OpenSSLHandles.h"

namespace Marblewick {

class OpenSSLDigest : public CryptoDigest
{
public:
    /*! Null where OpenSSL fails. */
    static std::unique_ptr<CryptoDigest> create(const EVP_MD *algorithm);

    bool update(const void *bytes, size_t count) override;
    bool finish(unsigned char *result) override;

private:
    OpenSSLHandle<EVP_MD_CTX, ::EVP_MD_CTX_free> m_context{::EVP_MD_CTX_new()};
};

/*! HMAC with SHA-256. */
class OpenSSLHMAC : public CryptoDigest
{
public:
    /*! Null where OpenSSL fails. */
    static std::unique_ptr<CryptoDigest> create(EVP_MAC *algorithm, std::span<const unsigned char> key);

    explicit OpenSSLHMAC(EVP_MAC *algorithm);

    bool update(const void *bytes, size_t count) override;
    bool finish(unsigned char *result) override;

private:
    OpenSSLHandle<EVP_MAC_CTX, ::EVP_MAC_CTX_free> m_context;
};

} // namespace Marblewick
