#include "Platform/CommonCrypto/CCContext.h"

#include "Platform/CommonCrypto/CryptoLibrary.h"
#include "Platform/Foundation/NSException.h"

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

void require(bool isDone)
{
    if (!isDone)
        throw NSException(NSInternalInconsistencyException, u"The digest could not be computed."_s);
}

} // namespace

CCContext::CCContext() = default;
CCContext::~CCContext() = default;
CCContext::CCContext(CCContext &&) noexcept = default;
CCContext &CCContext::operator=(CCContext &&) noexcept = default;

void CCContext::begin(std::unique_ptr<CryptoDigest> digest)
{
    require(digest != nullptr);
    m_digest = std::move(digest);
}

void CCContext::update(const void *bytes, size_t count)
{
    require(m_digest && m_digest->update(bytes, count));
}

void CCContext::finish(unsigned char *result)
{
    require(m_digest && m_digest->finish(result));
    m_digest.reset();
}

} // namespace Marblewick
