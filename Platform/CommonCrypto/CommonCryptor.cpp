#include "Platform/CommonCrypto/CommonCryptor.h"

#include "Platform/CommonCrypto/CryptoLibrary.h"

namespace Marblewick {

CCCryptorStatus CCCrypt(CCOperation op, CCAlgorithm /*the only one*/, CCOptions options, const void *key,
                        size_t keyLength, const void *iv, const void *dataIn, size_t dataInLength,
                        void *dataOut, size_t dataOutAvailable, size_t *dataOutMoved)
{
    if (options != kCCOptionPKCS7Padding)
        return kCCUnimplemented;
    if (keyLength != kCCKeySizeAES256)
        return kCCKeySizeError;
    if (!iv)
        return kCCParamError;
    if (dataOutAvailable < kCCBlockSizeAES128 || dataOutAvailable - kCCBlockSizeAES128 < dataInLength)
        return kCCBufferTooSmall;
    if (op == kCCDecrypt && dataInLength % kCCBlockSizeAES128 != 0)
        return kCCAlignmentError;

    CryptoLibrary *const library = cryptoLibrary();
    if (!library)
        return kCCUnspecifiedError;
    const CryptoLibrary::Cipher cipher{static_cast<const unsigned char *>(key),
                                       static_cast<const unsigned char *>(iv)};
    const std::span input(static_cast<const unsigned char *>(dataIn), dataInLength);
    auto *const output = static_cast<unsigned char *>(dataOut);
    return op == kCCEncrypt ? library->encryptAES256(cipher, input, output, dataOutMoved)
                            : library->decryptAES256(cipher, input, output, dataOutMoved);
}

} // namespace Marblewick
