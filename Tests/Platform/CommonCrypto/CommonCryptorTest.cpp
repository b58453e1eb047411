#include <Marblewick/CommonCryptor.h>

#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/RefusedCall.h"

#include <gtest/gtest.h>

#include <openssl/err.h>

using namespace Marblewick;

namespace {

// NIST SP 800-38A, F.2.5: CBC-AES256.
const QByteArray key = QByteArray::fromHex("603deb1015ca71be2b73aef0857d7781"
                                           "1f352c073b6108d72d9810a30914dff4");
const QByteArray vector = QByteArray::fromHex("000102030405060708090a0b0c0d0e0f");
const QByteArray plaintext = QByteArray::fromHex("6bc1bee22e409f96e93d7e117393172a"
                                                 "ae2d8a571e03ac9c9eb76fac45af8e51"
                                                 "30c81c46a35ce411e5fbc1191a0a52ef"
                                                 "f69f2445df4f9b17ad2b417be66c3710");
const QByteArray ciphertext = QByteArray::fromHex("f58c4c04d6e5f1ba779eabfb5f7bfbd6"
                                                  "9cfc4e967edb808d679f777bc6702c7d"
                                                  "39f23369a9d9bacfa530e26304231461"
                                                  "b2eb05e2c39be9fcda6c19078c6a9d1b");

struct Result
{
    CCCryptorStatus status = kCCSuccess;
    QByteArray output;
};

Result crypt(CCOperation operation, const QByteArray &input)
{
    Result result;
    result.output.resize(input.size() + 16);
    size_t moved = 0;
    result.status = CCCrypt(operation, kCCAlgorithmAES, kCCOptionPKCS7Padding, key.constData(),
                            kCCKeySizeAES256, vector.constData(), input.constData(),
                            static_cast<size_t>(input.size()), result.output.data(),
                            static_cast<size_t>(result.output.size()), &moved);
    result.output.truncate(static_cast<qsizetype>(moved));
    return result;
}

CCCryptorStatus statusFor(CCOptions options, size_t keyLength, const void *iv, size_t available)
{
    char output[64];
    size_t moved = 0;
    return CCCrypt(kCCEncrypt, kCCAlgorithmAES, options, key.constData(), keyLength, iv, "plain", 5, output,
                   available, &moved);
}

} // namespace

TEST(CCCrypt, EncryptsAsPublishedAndAddsABlockOfPadding)
{
    const Result result = crypt(kCCEncrypt, plaintext);
    EXPECT_EQ(result.status, kCCSuccess);
    EXPECT_EQ(result.output.size(), plaintext.size() + 16);
    EXPECT_EQ(result.output.first(ciphertext.size()).toHex(), ciphertext.toHex());
}

TEST(CCCrypt, DecryptsAsPublished)
{
    const Result whole = crypt(kCCDecrypt, crypt(kCCEncrypt, plaintext).output);
    EXPECT_EQ(whole.status, kCCSuccess);
    EXPECT_EQ(whole.output.toHex(), plaintext.toHex());
}

TEST(CCCrypt, RefusesToDecryptWhatIsNoWholeNumberOfBlocks)
{
    EXPECT_EQ(kCCAlignmentError, -4303);
    for (const qsizetype size : {1, 15, 17, 63})
        EXPECT_EQ(crypt(kCCDecrypt, ciphertext.first(size)).status, kCCAlignmentError) << size;
}

TEST(CCCrypt, RefusesToDecryptWhatHasNoPadding)
{
    EXPECT_EQ(kCCDecodeError, -4304);
    EXPECT_EQ(crypt(kCCDecrypt, ciphertext).status, kCCDecodeError);
    EXPECT_EQ(crypt(kCCDecrypt, {}).status, kCCDecodeError);
}

TEST(CCCrypt, LeavesNoErrorInTheQueueOfAHostThatUsesOpenSSLItself)
{
    ::ERR_clear_error();
    ASSERT_EQ(crypt(kCCDecrypt, ciphertext).status, kCCDecodeError);
    EXPECT_EQ(::ERR_peek_error(), 0UL);
}

TEST(CCCrypt, RefusesWhatItDoesNotOffer)
{
    EXPECT_EQ(kCCUnimplemented, -4305);
    EXPECT_EQ(statusFor(0, 32, vector.constData(), 64), kCCUnimplemented);
    EXPECT_EQ(statusFor(kCCOptionPKCS7Padding | 2, 32, vector.constData(), 64), kCCUnimplemented);
    EXPECT_EQ(kCCKeySizeError, -4310);
    EXPECT_EQ(statusFor(kCCOptionPKCS7Padding, 16, vector.constData(), 64), kCCKeySizeError);
    EXPECT_EQ(statusFor(kCCOptionPKCS7Padding, 33, vector.constData(), 64), kCCKeySizeError);
    EXPECT_EQ(statusFor(kCCOptionPKCS7Padding, 32, nullptr, 64), kCCParamError);
}

TEST(CCCrypt, RefusesABufferThatMayBeTooSmall)
{
    EXPECT_EQ(kCCBufferTooSmall, -4301);
    for (const size_t available : {0U, 15U, 16U, 20U})
        EXPECT_EQ(statusFor(kCCOptionPKCS7Padding, 32, vector.constData(), available), kCCBufferTooSmall)
            << available;
    EXPECT_EQ(statusFor(kCCOptionPKCS7Padding, 32, vector.constData(), 21), kCCSuccess);
}

TEST(CCCrypt, FailsWhereTheLibraryRefuses)
{
    for (const auto function : {RefusedCall::CipherInit, RefusedCall::CipherUpdate}) {
        const RefusedCall refused(function);
        EXPECT_EQ(crypt(kCCEncrypt, plaintext).status, kCCUnspecifiedError);
        EXPECT_EQ(crypt(kCCDecrypt, ciphertext).status, kCCUnspecifiedError);
    }
}
