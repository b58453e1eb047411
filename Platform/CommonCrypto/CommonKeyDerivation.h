#pragma once

#include <Marblewick/CommonCryptoError.h>
#include <Marblewick/MarblewickCoreExport.h>

#include <cstddef>
#include <cstdint>

namespace Marblewick {

enum CCPBKDFAlgorithm : uint32_t {
    kCCPBKDF2 = 2,
};

enum CCPseudoRandomAlgorithm : uint32_t {
    kCCPRFHmacAlgSHA1 = 1,
};

/*! Derives a key of `derivedKeyLen` bytes from a password and a salt by PBKDF2 with HMAC-SHA-1. A pointer may
    be null where its length is 0.

    Returns kCCSuccess; kCCParamError where a password or salt that has a length is null, the key has no
   length or there are no rounds; kCCUnspecifiedError where the library fails or cannot be loaded. Any thread.
*/
[[nodiscard]] MARBLEWICK_CORE_EXPORT int CCKeyDerivationPBKDF(CCPBKDFAlgorithm algorithm,
                                                              const char *password, size_t passwordLen,
                                                              const uint8_t *salt, size_t saltLen,
                                                              CCPseudoRandomAlgorithm prf, uint32_t rounds,
                                                              uint8_t *derivedKey, size_t derivedKeyLen);

} // namespace Marblewick
