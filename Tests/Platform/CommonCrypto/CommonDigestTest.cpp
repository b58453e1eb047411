#include <Marblewick/CommonDigest.h>
#include <Marblewick/NSException.h>

#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/RefusedCall.h"

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <thread>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

QByteArray sha1(const QByteArrayList &pieces)
{
    CC_SHA1_CTX context;
    CC_SHA1_Init(&context);
    for (const QByteArray &piece : pieces)
        CC_SHA1_Update(&context, piece.constData(), static_cast<CC_LONG>(piece.size()));
    QByteArray digest(CC_SHA1_DIGEST_LENGTH, '\0');
    CC_SHA1_Final(reinterpret_cast<unsigned char *>(digest.data()), &context);
    return digest.toHex();
}

QByteArray sha256(const QByteArrayList &pieces)
{
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    for (const QByteArray &piece : pieces)
        CC_SHA256_Update(&context, piece.constData(), static_cast<CC_LONG>(piece.size()));
    QByteArray digest(CC_SHA256_DIGEST_LENGTH, '\0');
    CC_SHA256_Final(reinterpret_cast<unsigned char *>(digest.data()), &context);
    return digest.toHex();
}

} // namespace

TEST(CommonDigest, TakesTheMessageInPieces)
{
    // FIPS 180-2, appendices A.1 and B.1: the message "abc".
    EXPECT_EQ(sha1({"a", "", "bc"}), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(sha256({"ab", "c"}), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(CommonDigest, BeginsAnewWhateverTheContextHeld)
{
    CC_SHA1_CTX context;
    CC_SHA1_Init(&context);
    CC_SHA1_Update(&context, "left over", 9);
    CC_SHA1_Init(&context);
    QByteArray digest(CC_SHA1_DIGEST_LENGTH, '\0');
    CC_SHA1_Final(reinterpret_cast<unsigned char *>(digest.data()), &context);
    EXPECT_EQ(digest.toHex(), sha1({}));
}

TEST(CommonDigest, ThrowsWhereNothingWasBegunOrTheEndHasPassed)
{
    CC_SHA256_CTX context;
    unsigned char digest[CC_SHA256_DIGEST_LENGTH];
    EXPECT_THROW(CC_SHA256_Update(&context, "a", 1), NSException);
    EXPECT_THROW(CC_SHA256_Final(digest, &context), NSException);
    CC_SHA256_Init(&context);
    CC_SHA256_Final(digest, &context);
    EXPECT_THROW(CC_SHA256_Final(digest, &context), NSException);
}

TEST(CommonDigest, ThrowsWhereTheLibraryRefuses)
{
    const RefusedCall refused(RefusedCall::DigestInit);
    CC_SHA1_CTX context;
    try {
        CC_SHA1_Init(&context);
        FAIL() << "nothing was thrown";
    } catch (const NSException &exception) {
        EXPECT_EQ(exception.name(), u"NSInternalInconsistencyException"_s);
        EXPECT_EQ(exception.reason(), u"The digest could not be computed."_s);
    }
}

TEST(CommonDigest, MayBeUsedFirstByManyThreadsAtOnce)
{
    std::vector<QByteArray> digests(8);
    {
        std::vector<std::jthread> threads;
        for (QByteArray &digest : digests)
            threads.emplace_back([&digest] { digest = sha1({"abc"}); });
    }
    for (const QByteArray &digest : digests)
        EXPECT_EQ(digest, "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(CommonDigest, DoesNotDependOnTheSystemsOpenSSLConfiguration)
{
    // The program's own OpenSSL is told to load nothing that exists.
    qputenv("OPENSSL_CONF", "/nonexistent");
    qputenv("OPENSSL_MODULES", "/nonexistent");
    EXPECT_EQ(sha1({"abc"}), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(::ERR_peek_error(), 0UL);
}
