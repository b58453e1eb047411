#include <Marblewick/CommonHMAC.h>
#include <Marblewick/NSException.h>

#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/RefusedCall.h"

#include <gtest/gtest.h>

using namespace Marblewick;

namespace {

QByteArray hmac(const void *key, size_t keyLength, const QByteArrayList &pieces)
{
    CCHmacContext context;
    CCHmacInit(&context, kCCHmacAlgSHA256, key, keyLength);
    for (const QByteArray &piece : pieces)
        CCHmacUpdate(&context, piece.constData(), static_cast<size_t>(piece.size()));
    QByteArray code(32, '\0');
    CCHmacFinal(&context, code.data());
    return code.toHex();
}

} // namespace

TEST(CommonHMAC, TakesTheMessageInPieces)
{
    // RFC 4231, 4.3, test case 2.
    EXPECT_EQ(hmac("Jefe", 4, {"what do ya want ", "", "for nothing?"}),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
}

TEST(CommonHMAC, TakesAMissingKeyForAnEmptyOne)
{
    EXPECT_EQ(hmac(nullptr, 0, {"message"}), hmac("", 0, {"message"}));
    EXPECT_NE(hmac(nullptr, 0, {"message"}), hmac("k", 1, {"message"}));
}

TEST(CommonHMAC, HasTheNumberThatTheAlgorithmHasEverywhere) { EXPECT_EQ(kCCHmacAlgSHA256, 2U); }

TEST(CommonHMAC, ThrowsWhereTheLibraryRefusesOrNothingWasBegun)
{
    CCHmacContext context;
    EXPECT_THROW(CCHmacUpdate(&context, "a", 1), NSException);
    const RefusedCall refused(RefusedCall::MacInit);
    EXPECT_THROW(CCHmacInit(&context, kCCHmacAlgSHA256, "k", 1), NSException);
}
