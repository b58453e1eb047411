#include "Platform/CommonCrypto/CommonKeyDerivation.h"

#include "Platform/CommonCrypto/CryptoLibrary.h"

namespace Marblewick {

int CCKeyDerivationPBKDF(CCPBKDFAlgorithm /*the only one*/, const char *password, size_t passwordLen,
                         const uint8_t *salt, size_t saltLen, CCPseudoRandomAlgorithm /*the only one*/,
                         uint32_t rounds, uint8_t *derivedKey, size_t derivedKeyLen)
{
    if ((!password && passwordLen > 0) || (!salt && saltLen > 0) || rounds == 0 || derivedKeyLen == 0)
        return kCCParamError;
    CryptoLibrary *const library = cryptoLibrary();
    const bool isDerived = library
                           && library->derivePBKDF2WithSHA1(
                               {reinterpret_cast<const unsigned char *>(password), passwordLen},
                               {salt, saltLen}, rounds, {derivedKey, derivedKeyLen});
    return isDerived ? kCCSuccess : kCCUnspecifiedError;
}

} // namespace Marblewick
