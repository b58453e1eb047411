#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <cstddef>
#include <memory>

namespace Marblewick {

class CryptoDigest;

/*! What the contexts of digests and message authentication codes have in common. It is moved, not copied, and
    belongs to one thread at a time. One that is dropped unfinished leaves nothing behind.
*/
class MARBLEWICK_CORE_EXPORT CCContext
{
public:
    CCContext();
    ~CCContext();
    CCContext(CCContext &&) noexcept;
    CCContext &operator=(CCContext &&) noexcept;

    /*! For the functions that take a context. Each throws an NSException named
        NSInternalInconsistencyException where nothing was begun or the library fails.
    */
    void begin(std::unique_ptr<CryptoDigest> digest);
    void update(const void *bytes, size_t count);
    void finish(unsigned char *result);

private:
    std::unique_ptr<CryptoDigest> m_digest;
};

} // namespace Marblewick
