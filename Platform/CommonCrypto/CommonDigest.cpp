#include "Platform/CommonCrypto/CommonDigest.h"

#include "Platform/CommonCrypto/CryptoLibrary.h"

namespace Marblewick {

void CC_SHA1_Init(CC_SHA1_CTX *context) { context->begin(requiredCryptoLibrary().createSHA1()); }

void CC_SHA1_Update(CC_SHA1_CTX *context, const void *data, CC_LONG length) { context->update(data, length); }

void CC_SHA1_Final(unsigned char *digest, CC_SHA1_CTX *context) { context->finish(digest); }

void CC_SHA256_Init(CC_SHA256_CTX *context) { context->begin(requiredCryptoLibrary().createSHA256()); }

void CC_SHA256_Update(CC_SHA256_CTX *context, const void *data, CC_LONG length)
{
    context->update(data, length);
}

void CC_SHA256_Final(unsigned char *digest, CC_SHA256_CTX *context) { context->finish(digest); }

} // namespace Marblewick
