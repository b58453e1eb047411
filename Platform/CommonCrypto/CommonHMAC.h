#pragma once

#include <Marblewick/CCContext.h>

#include <cstdint>

namespace Marblewick {

/*! The digest under a message authentication code. */
enum CCHmacAlgorithm : uint32_t {
    kCCHmacAlgSHA256 = 2,
};

/*! A message authentication code that is being computed. */
struct CCHmacContext : CCContext
{ };

/*! HMAC-SHA-256 in three steps, as the digests of CommonDigest.h, whose way of failing they share. The key
   has any length, in bytes; the result has 32 bytes. Any thread.
*/
MARBLEWICK_CORE_EXPORT void CCHmacInit(CCHmacContext *context, CCHmacAlgorithm algorithm, const void *key,
                                       size_t keyLength);
MARBLEWICK_CORE_EXPORT void CCHmacUpdate(CCHmacContext *context, const void *data, size_t dataLength);
MARBLEWICK_CORE_EXPORT void CCHmacFinal(CCHmacContext *context, void *macOut);

} // namespace Marblewick
