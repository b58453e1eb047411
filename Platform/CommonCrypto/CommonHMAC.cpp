#include "Platform/CommonCrypto/CommonHMAC.h"

#include "Platform/CommonCrypto/CryptoLibrary.h"

namespace Marblewick {

void CCHmacInit(CCHmacContext *context, CCHmacAlgorithm /*the only one*/, const void *key, size_t keyLength)
{
    const auto *const bytes = static_cast<const unsigned char *>(key);
    context->begin(requiredCryptoLibrary().createSHA256HMAC({bytes, keyLength}));
}

void CCHmacUpdate(CCHmacContext *context, const void *data, size_t dataLength)
{
    context->update(data, dataLength);
}

void CCHmacFinal(CCHmacContext *context, void *macOut)
{
    context->finish(static_cast<unsigned char *>(macOut));
}

} // namespace Marblewick
