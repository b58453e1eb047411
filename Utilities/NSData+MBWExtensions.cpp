#include "Utilities/NSData+MBWExtensions.h"

#include "Platform/CommonCrypto/CommonDigest.h"
#include "Platform/CommonCrypto/CommonHMAC.h"

#include <array>
#include <cstdlib>

using namespace Marblewick;

namespace MBWExtensions {

namespace {

unsigned char *bytes(QByteArray &data) { return reinterpret_cast<unsigned char *>(data.data()); }

/*! The digit of a number below 16. Computed, not looked up, so that the compiler does many at once. */
constexpr char16_t hexadecimalDigit(unsigned char number)
{
    return static_cast<char16_t>(number + (number < 10 ? u'0' : u'a' - 10));
}

constexpr std::array<int, 256> makeDigitValues()
{
    std::array<int, 256> values{};
    values.fill(-1); // and so is every number made with it negative
    for (size_t i = 0; i < 10; ++i)
        values['0' + i] = static_cast<int>(i);
    for (size_t i = 0; i < 6; ++i)
        values['a' + i] = values['A' + i] = static_cast<int>(10 + i);
    return values;
}

constexpr auto digitValues = makeDigitValues();

/*! The low 8 bits of the number that a pair of characters begins with. */
unsigned char byteOfPair(unsigned char first, unsigned char second)
{
    const int number = digitValues[first] * 16 | digitValues[second];
    if (number >= 0) [[likely]]
        return static_cast<unsigned char>(number);
    const char text[] = {static_cast<char>(first), static_cast<char>(second), '\0'};
    return static_cast<unsigned char>(std::strtol(text, nullptr, 16));
}

unsigned char lowByte(char16_t c) { return static_cast<unsigned char>(c); }

} // namespace

QByteArray SHA1Digest(const QByteArray &data)
{
    QByteArray digest(CC_SHA1_DIGEST_LENGTH, Qt::Uninitialized);
    CC_SHA1_CTX context;
    CC_SHA1_Init(&context);
    CC_SHA1_Update(&context, data.constData(), static_cast<CC_LONG>(data.size()));
    CC_SHA1_Final(bytes(digest), &context);
    return digest;
}

QByteArray SHA256Digest(const QByteArray &data)
{
    QByteArray digest(CC_SHA256_DIGEST_LENGTH, Qt::Uninitialized);
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    CC_SHA256_Update(&context, data.constData(), static_cast<CC_LONG>(data.size()));
    CC_SHA256_Final(bytes(digest), &context);
    return digest;
}

QByteArray SHA256HMACWithKey(const QByteArray &data, const QByteArray &key)
{
    QByteArray code(CC_SHA256_DIGEST_LENGTH, Qt::Uninitialized);
    CCHmacContext context;
    CCHmacInit(&context, kCCHmacAlgSHA256, key.constData(), static_cast<size_t>(key.size()));
    CCHmacUpdate(&context, data.constData(), static_cast<size_t>(data.size()));
    CCHmacFinal(&context, bytes(code));
    return code;
}

QString hexadecimalString(const QByteArray &data)
{
    QString text(2 * data.size(), Qt::Uninitialized);
    auto *pair = reinterpret_cast<char16_t *>(text.data());
    for (const char byte : data) {
        const auto number = static_cast<unsigned char>(byte);
        pair[0] = hexadecimalDigit(number >> 4);
        pair[1] = hexadecimalDigit(number & 0x0f);
        pair += 2;
    }
    return text;
}

QByteArray dataFromHexidecimalString(QStringView string)
{
    QByteArray data(string.size() / 2, Qt::Uninitialized);
    const char16_t *pair = string.utf16();
    for (char &byte : data) {
        byte = static_cast<char>(byteOfPair(lowByte(pair[0]), lowByte(pair[1])));
        pair += 2;
    }
    return data;
}

} // namespace MBWExtensions
