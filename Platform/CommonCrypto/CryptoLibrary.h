#pragma once

#include "Platform/CommonCrypto/CommonCryptoError.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Marblewick {

/*! A digest or a message authentication code that is being computed. Belongs to one thread at a time. */
class CryptoDigest
{
public:
    virtual ~CryptoDigest() = default;

    /*! False where the library fails, which it has no reason for. */
    [[nodiscard]] virtual bool update(const void *bytes, size_t count) = 0;
    /*! Stores the result, whose size the algorithm says. Nothing can follow it. */
    [[nodiscard]] virtual bool finish(unsigned char *result) = 0;
};

/*! The cryptographic primitives, as a plugin implements them. Any thread. */
class CryptoLibrary
{
public:
    virtual ~CryptoLibrary() = default;

    /*! Begin a digest; null where the library fails. */
    virtual std::unique_ptr<CryptoDigest> createSHA1() = 0;
    virtual std::unique_ptr<CryptoDigest> createSHA256() = 0;
    virtual std::unique_ptr<CryptoDigest> createSHA256HMAC(std::span<const unsigned char> key) = 0;

    /*! Fills `key` by PBKDF2 with HMAC-SHA-1. False where the library fails; `key` is then undefined. */
    [[nodiscard]] virtual bool derivePBKDF2WithSHA1(std::span<const unsigned char> password,
                                                    std::span<const unsigned char> salt, uint32_t rounds,
                                                    std::span<unsigned char> key) = 0;

    /*! AES-256 in CBC mode with PKCS#7 padding: a key of 32 bytes, a vector of 16. The output has room for
       the input and one block more; `produced` receives how much of it was used.
    */
    struct Cipher
    {
        const unsigned char *key;
        const unsigned char *initializationVector;
    };
    [[nodiscard]] virtual CCStatus encryptAES256(const Cipher &cipher, std::span<const unsigned char> input,
                                                 unsigned char *output, size_t *produced) = 0;
    /*! The same backwards. kCCDecodeError where the padding is wrong. The input is whole blocks. */
    [[nodiscard]] virtual CCStatus decryptAES256(const Cipher &cipher, std::span<const unsigned char> input,
                                                 unsigned char *output, size_t *produced) = 0;
};

/*! The library of the plugin "marblewick-crypto", which the first call loads. Null where that fails; the
    reason is then in the process log, once. Any thread.
*/
CryptoLibrary *cryptoLibrary();

/*! The same for what has no way to fail: throws an NSInternalInconsistencyException that holds the reason. */
CryptoLibrary &requiredCryptoLibrary();

/*! The one function of the plugin: a library, which the caller owns, or null where it cannot be set up. */
using MarblewickCreateCryptoLibrary = CryptoLibrary *(*)();

inline constexpr char marblewickCreateCryptoLibraryName[] = "marblewickCreateCryptoLibrary";

} // namespace Marblewick
