#include "Platform/CommonCrypto/OpenSSL/OpenSSLDigest.h"

#include <array>
#include <openssl/core_names.h>
#include <openssl/params.h>

namespace Marblewick {

namespace {

constexpr size_t sha256Size = 32;

} // namespace

std::unique_ptr<CryptoDigest> OpenSSLDigest::create(const EVP_MD *algorithm)
{
    const OpenSSLErrorsTakenBack errors;
    auto digest = std::make_unique<OpenSSLDigest>();
    const bool isBegun = digest->m_context
                         && ::EVP_DigestInit_ex2(digest->m_context.get(), algorithm, nullptr) == 1;
    return isBegun ? std::move(digest) : nullptr;
}

bool OpenSSLDigest::update(const void *bytes, size_t count)
{
    return ::EVP_DigestUpdate(m_context.get(), bytes, count) == 1;
}

bool OpenSSLDigest::finish(unsigned char *result)
{
    return ::EVP_DigestFinal_ex(m_context.get(), result, nullptr) == 1;
}

OpenSSLHMAC::OpenSSLHMAC(EVP_MAC *algorithm)
    : m_context(::EVP_MAC_CTX_new(algorithm))
{ }

std::unique_ptr<CryptoDigest> OpenSSLHMAC::create(EVP_MAC *algorithm, std::span<const unsigned char> key)
{
    const OpenSSLErrorsTakenBack errors;
    auto digest = std::make_unique<OpenSSLHMAC>(algorithm);
    char name[] = "SHA256";
    const std::array parameters{::OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, name, 0),
                                ::OSSL_PARAM_construct_end()};
    // A null key means the one before, of which there is none.
    const unsigned char empty = 0;
    const bool isBegun = digest->m_context
                         && ::EVP_MAC_init(digest->m_context.get(), key.empty() ? &empty : key.data(),
                                           key.size(), parameters.data())
                                == 1;
    return isBegun ? std::move(digest) : nullptr;
}

bool OpenSSLHMAC::update(const void *bytes, size_t count)
{
    return ::EVP_MAC_update(m_context.get(), static_cast<const unsigned char *>(bytes), count) == 1;
}

bool OpenSSLHMAC::finish(unsigned char *result)
{
    size_t size = 0;
    return ::EVP_MAC_final(m_context.get(), result, &size, sha256Size) == 1;
}

} // namespace Marblewick
