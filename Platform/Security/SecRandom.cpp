#include "Platform/Security/SecRandom.h"

#include <cerrno>
#include <sys/random.h>

namespace Marblewick {

int SecRandomCopyBytes(SecRandomRef /*source*/, size_t count, uint8_t *bytes)
{
    // The kernel gives up to 32 MiB at once, and fewer where a signal comes.
    while (count > 0) {
        const ssize_t filled = ::getrandom(bytes, count, 0);
        if (filled < 0 && errno == EINTR)
            continue;
        if (filled < 0)
            return -1;
        bytes += filled;
        count -= static_cast<size_t>(filled);
    }
    return errSecSuccess;
}

} // namespace Marblewick
