#include "Utilities/NSData+MBWExtensions.h"

#include "Platform/CommonCrypto/CommonDigest.h"
#include "Platform/CommonCrypto/CommonHMAC.h"

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>

using namespace Marblewick;

namespace MBWExtensions {

namespace {

unsigned char *bytes(QByteArray &data) { return reinterpret_cast<unsigned char *>(data.data()); }

/*! Two characters as they lie in memory, so that one instruction stores both. */
using CharacterPair = quint32;

constexpr std::array<CharacterPair, 256> makeHexadecimalPairs()
{
    constexpr char16_t digits[] = u"0123456789abcdef";
    std::array<CharacterPair, 256> pairs{};
    for (size_t byte = 0; byte < pairs.size(); ++byte)
        pairs[byte] = std::bit_cast<CharacterPair>(std::array{digits[byte / 16], digits[byte % 16]});
    return pairs;
}

constexpr unsigned char notADigit = 0xff;

constexpr std::array<unsigned char, 256> makeDigitValues()
{
    std::array<unsigned char, 256> values{};
    values.fill(notADigit);
    for (unsigned char i = 0; i < 10; ++i)
        values['0' + i] = i;
    for (unsigned char i = 0; i < 6; ++i)
        values['a' + i] = values['A' + i] = static_cast<unsigned char>(10 + i);
    return values;
}

constexpr auto hexadecimalPairs = makeHexadecimalPairs();
constexpr auto digitValues = makeDigitValues();

/*! The low 8 bits of the number that a pair of characters begins with. */
unsigned char byteOfPair(unsigned char first, unsigned char second)
{
    const unsigned char high = digitValues[first];
    const unsigned char low = digitValues[second];
    if (high != notADigit && low != notADigit) [[likely]]
        return static_cast<unsigned char>(high << 4 | low);
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
    QChar *end = text.data();
    for (const char byte : data) {
        std::memcpy(static_cast<void *>(end), &hexadecimalPairs[static_cast<unsigned char>(byte)],
                    sizeof(CharacterPair));
        end += 2;
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
