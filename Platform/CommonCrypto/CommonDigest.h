#pragma once

#include <Marblewick/CCContext.h>

#include <cstdint>

namespace Marblewick {

/*! Count of bytes that one update takes. */
using CC_LONG = uint32_t;

/*! Sizes of the results, in bytes. */
inline constexpr int CC_SHA1_DIGEST_LENGTH = 20;
inline constexpr int CC_SHA256_DIGEST_LENGTH = 32;

/*! A SHA-1 that is being computed. */
struct CC_SHA1_CTX : CCContext
{ };

/*! A SHA-256 that is being computed. */
struct CC_SHA256_CTX : CCContext
{ };

/*! A digest in three steps: Init begins one in the context, whatever was in it; Update takes the next bytes,
    any number of times; Final stores the result and empties the context.

    They cannot fail, and so return nothing. Where they cannot work all the same, because the plugin
    "marblewick-crypto" is missing or nothing was begun, they throw an NSException named
    NSInternalInconsistencyException, whose reason says why. Any thread.
*/
MARBLEWICK_CORE_EXPORT void CC_SHA1_Init(CC_SHA1_CTX *context);
MARBLEWICK_CORE_EXPORT void CC_SHA1_Update(CC_SHA1_CTX *context, const void *data, CC_LONG length);
MARBLEWICK_CORE_EXPORT void CC_SHA1_Final(unsigned char *digest, CC_SHA1_CTX *context);

MARBLEWICK_CORE_EXPORT void CC_SHA256_Init(CC_SHA256_CTX *context);
MARBLEWICK_CORE_EXPORT void CC_SHA256_Update(CC_SHA256_CTX *context, const void *data, CC_LONG length);
MARBLEWICK_CORE_EXPORT void CC_SHA256_Final(unsigned char *digest, CC_SHA256_CTX *context);

} // namespace Marblewick
