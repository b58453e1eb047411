#pragma once

#include <Marblewick/CommonCryptoError.h>
#include <Marblewick/MarblewickCoreExport.h>

#include <cstddef>
#include <cstdint>

namespace Marblewick {

enum CCOperation : uint32_t {
    kCCEncrypt = 0,
    kCCDecrypt = 1,
};

enum CCAlgorithm : uint32_t {
    kCCAlgorithmAES = 0,
};

using CCOptions = uint32_t;
inline constexpr CCOptions kCCOptionPKCS7Padding = 1;

inline constexpr size_t kCCKeySizeAES256 = 32;
inline constexpr size_t kCCBlockSizeAES128 = 16;

/*! Encrypts or decrypts a buffer at once: AES-256 in CBC mode with PKCS#7 padding. Lengths are in bytes.
    `iv` is the initialisation vector, one block of 16 bytes. `dataOut` may need a block more than `dataIn`;
    `dataOutMoved` receives how many bytes of it are the result.

    Anything but kCCSuccess leaves `dataOut` undefined:
    - kCCUnimplemented: options other than kCCOptionPKCS7Padding
    - kCCKeySizeError: the key has not 32 bytes
    - kCCParamError: no vector
    - kCCBufferTooSmall: `dataOutAvailable` is less than a block more than the input
    - kCCAlignmentError: to decrypt, the input is not a whole number of blocks
    - kCCDecodeError: to decrypt, the padding is wrong, or there is no input to hold any
    - kCCUnspecifiedError: the library fails or cannot be loaded

    Any thread.
*/
[[nodiscard]] MARBLEWICK_CORE_EXPORT CCCryptorStatus CCCrypt(
    CCOperation op, CCAlgorithm alg, CCOptions options, const void *key, size_t keyLength, const void *iv,
    const void *dataIn, size_t dataInLength, void *dataOut, size_t dataOutAvailable, size_t *dataOutMoved);

} // namespace Marblewick
