#include <Marblewick/CommonKeyDerivation.h>

#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/RefusedCall.h"

#include <gtest/gtest.h>

using namespace Marblewick;

namespace {

QByteArray derive(const QByteArray &password, const QByteArray &salt, uint32_t rounds, qsizetype size)
{
    QByteArray key(size, '\0');
    EXPECT_EQ(CCKeyDerivationPBKDF(kCCPBKDF2, password.constData(), static_cast<size_t>(password.size()),
                                   reinterpret_cast<const uint8_t *>(salt.constData()),
                                   static_cast<size_t>(salt.size()), kCCPRFHmacAlgSHA1, rounds,
                                   reinterpret_cast<uint8_t *>(key.data()), static_cast<size_t>(size)),
              kCCSuccess);
    return key.toHex();
}

int statusFor(const char *password, size_t passwordLength, const uint8_t *salt, size_t saltLength,
              uint32_t rounds, size_t size)
{
    uint8_t key[32];
    return CCKeyDerivationPBKDF(kCCPBKDF2, password, passwordLength, salt, saltLength, kCCPRFHmacAlgSHA1,
                                rounds, key, size);
}

} // namespace

TEST(CCKeyDerivationPBKDF, DerivesThePublishedKeys)
{
    // RFC 6070, section 2, but for the one of 16,777,216 rounds, which takes seconds.
    EXPECT_EQ(derive("password", "salt", 1, 20), "0c60c80f961f0e71f3a9b524af6012062fe037a6");
    EXPECT_EQ(derive("password", "salt", 2, 20), "ea6c014dc72d6f8ccd1ed92ace1d41f0d8de8957");
    EXPECT_EQ(derive("password", "salt", 4096, 20), "4b007901b765489abead49d926f721d065a429c1");
    EXPECT_EQ(derive("passwordPASSWORDpassword", "saltSALTsaltSALTsaltSALTsaltSALTsalt", 4096, 25),
              "3d2eec4fe41c849b80c8d83662c0e44a8b291a964cf2f07038");
    EXPECT_EQ(derive(QByteArray("pass\0word", 9), QByteArray("sa\0lt", 5), 4096, 16),
              "56fa6aa75548099dcc37d7f03425e0c3");
}

TEST(CCKeyDerivationPBKDF, TakesAnEmptyPasswordAndAnEmptySalt)
{
    // As computed by Python: hashlib.pbkdf2_hmac("sha1", b"", b"salt", 1, 20) and the same with b"password",
    // b"".
    EXPECT_EQ(derive("", "salt", 1, 20), "a33dddc30478185515311f8752895d36ea4363a2");
    EXPECT_EQ(derive("password", "", 1, 20), "8754c32c64b0f524fc50c00f788135de2d2dd767");
    EXPECT_EQ(statusFor(nullptr, 0, nullptr, 0, 1, 32), kCCSuccess);
}

TEST(CCKeyDerivationPBKDF, RefusesWhatMakesNoSense)
{
    const uint8_t salt[] = {1, 2, 3, 4};
    EXPECT_EQ(kCCParamError, -4300);
    EXPECT_EQ(statusFor(nullptr, 1, salt, sizeof salt, 1, 32), kCCParamError);
    EXPECT_EQ(statusFor("p", 1, nullptr, 1, 1, 32), kCCParamError);
    EXPECT_EQ(statusFor("p", 1, salt, sizeof salt, 0, 32), kCCParamError);
    EXPECT_EQ(statusFor("p", 1, salt, sizeof salt, 1, 0), kCCParamError);
}

TEST(CCKeyDerivationPBKDF, FailsWhereTheLibraryRefuses)
{
    const RefusedCall refused(RefusedCall::KeyDerivation);
    EXPECT_EQ(kCCUnspecifiedError, -4308);
    EXPECT_EQ(statusFor("p", 1, nullptr, 0, 1, 32), kCCUnspecifiedError);
}
