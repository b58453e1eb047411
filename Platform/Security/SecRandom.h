#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <cstddef>
#include <cstdint>

namespace Marblewick {

/*! Stands for a source of random bytes. There is only the system's. */
struct SecRandomSource;
using SecRandomRef = const SecRandomSource *;

/*! The system's source of cryptographically secure random bytes. */
inline constexpr SecRandomRef kSecRandomDefault = nullptr;

inline constexpr int errSecSuccess = 0;

/*! Fills `bytes` with `count` random bytes, which the kernel makes. Returns errSecSuccess, or -1 with `errno`
    set where the system refuses; the bytes are then untouched or partly filled. Any thread.
*/
[[nodiscard]] MARBLEWICK_CORE_EXPORT int SecRandomCopyBytes(SecRandomRef source, size_t count,
                                                            uint8_t *bytes);

} // namespace Marblewick
