#include <Marblewick/NSData+MBWExtensions.h>

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sys/mman.h>

using namespace MBWExtensions;
using namespace Qt::StringLiterals;

namespace {

constexpr size_t fourGibibytes = size_t(1) << 32;

/*! Zero bytes that take no memory until they are written, and hardly any when they are read. */
class SparseBytes
{
public:
    SparseBytes(size_t size, const char *beginning)
        : m_size(size)
        , m_bytes(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                         -1, 0))
    {
        if (m_bytes == MAP_FAILED)
            std::abort();
        std::memcpy(m_bytes, beginning, std::strlen(beginning));
    }
    ~SparseBytes() { ::munmap(m_bytes, m_size); }
    SparseBytes(const SparseBytes &) = delete;
    SparseBytes &operator=(const SparseBytes &) = delete;

    QByteArray first(size_t size) const
    {
        return QByteArray::fromRawData(static_cast<const char *>(m_bytes), static_cast<qsizetype>(size));
    }
    QByteArray data() const { return first(m_size); }

private:
    const size_t m_size;
    void *const m_bytes;
};

struct MessageDigests
{
    QByteArray message;
    QByteArray sha1;
    QByteArray sha256;
};

// FIPS 180-4's examples: the empty, the one-block and the two-block messages, and the million letters "a".
const MessageDigests published[] = {
    {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709",
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d",
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", "84983e441c3bd26ebaae4aa1f95129e5e54670f1",
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrs"
     "t"
     "nopqrstu",
     "a49b2446a02c645bf419f995b67091253a04a259",
     "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
    {QByteArray(1'000'000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f",
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
};

QByteArray randomBytes(qsizetype size)
{
    static std::mt19937 generator(20261121);
    std::uniform_int_distribution<int> byte(0, 255);
    QByteArray bytes;
    for (qsizetype i = 0; i < size; ++i)
        bytes.append(static_cast<char>(byte(generator)));
    return bytes;
}

/*! What strtol() makes of the low bytes of a pair of characters. */
char byteByStrtol(char16_t first, char16_t second)
{
    const char text[] = {static_cast<char>(first), static_cast<char>(second), '\0'};
    return static_cast<char>(std::strtol(text, nullptr, 16));
}

} // namespace

TEST(MBWExtensionsDigests, AreThePublishedOnesAndRaw)
{
    for (const MessageDigests &example : published) {
        EXPECT_EQ(SHA1Digest(example.message), QByteArray::fromHex(example.sha1))
            << example.message.left(20).constData();
        EXPECT_EQ(SHA256Digest(example.message), QByteArray::fromHex(example.sha256))
            << example.message.left(20).constData();
    }
    EXPECT_EQ(SHA1Digest({}).size(), 20);
    EXPECT_EQ(SHA256Digest({}).size(), 32);
}

TEST(MBWExtensionsDigests, CountTheBytesInThirtyTwoBits)
{
    const SparseBytes bytes(fourGibibytes + 3, "abc");
    EXPECT_EQ(SHA1Digest(bytes.data()), SHA1Digest("abc"));
    EXPECT_EQ(SHA256Digest(bytes.data()), SHA256Digest("abc"));
    EXPECT_EQ(SHA1Digest(bytes.first(fourGibibytes)), SHA1Digest({}));
    EXPECT_EQ(SHA256Digest(bytes.first(fourGibibytes)), SHA256Digest({}));
}

TEST(MBWExtensionsDigests, TakeAllButTheLastByteOfFourGibibytes)
{
    // As computed by: head -c 4294967295 /dev/zero | sha1sum
    const SparseBytes bytes(fourGibibytes - 1, "");
    EXPECT_EQ(SHA1Digest(bytes.data()).toHex(), "d9e8f567727bab9a388f695b6cf6a0977028c959");
}

TEST(MBWExtensionsHMAC, IsThePublishedOne)
{
    // RFC 4231, 4.2 to 4.8. The result of the fifth test case is published in its first 16 bytes.
    const QByteArray long131(131, '\xaa');
    EXPECT_EQ(SHA256HMACWithKey("Hi There", QByteArray(20, '\x0b')).toHex(),
              "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7");
    EXPECT_EQ(SHA256HMACWithKey("what do ya want for nothing?", "Jefe").toHex(),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
    EXPECT_EQ(SHA256HMACWithKey(QByteArray(50, '\xdd'), QByteArray(20, '\xaa')).toHex(),
              "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe");
    EXPECT_EQ(SHA256HMACWithKey(QByteArray(50, '\xcd'),
                                QByteArray::fromHex("0102030405060708090a0b0c0d0e0f10111213141516171819"))
                  .toHex(),
              "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b");
    EXPECT_EQ(SHA256HMACWithKey("Test With Truncation", QByteArray(20, '\x0c')).first(16).toHex(),
              "a3b6167473100ee06e0c796c2955552b");
    EXPECT_EQ(SHA256HMACWithKey("Test Using Larger Than Block-Size Key - Hash Key First", long131).toHex(),
              "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54");
    EXPECT_EQ(SHA256HMACWithKey("This is a test using a larger than block-size key and a larger than "
                                "block-size data. The key needs to be hashed before being used by the "
                                "HMAC algorithm.",
                                long131)
                  .toHex(),
              "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2");
}

TEST(MBWExtensionsHMAC, TakesAnEmptyMessageAndAnEmptyKey)
{
    // As computed by Python: hmac.new(b"", b"", "sha256")
    EXPECT_EQ(SHA256HMACWithKey({}, {}).toHex(),
              "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad");
}

TEST(MBWExtensionsHMAC, CountsTheBytesInSixtyFourBits)
{
    // As computed by: head -c 4294967299 /dev/zero | openssl dgst -sha256 -hmac key
    const SparseBytes bytes(fourGibibytes + 3, "");
    EXPECT_EQ(SHA256HMACWithKey(bytes.data(), "key").toHex(),
              "4f45b2a1ee8bd9bb1b4b17631266b6b4b94d487d76b068394918fb267983515c");
}

TEST(MBWExtensionsHexadecimal, HasTwoLowerCaseDigitsForEachByte)
{
    EXPECT_EQ(hexadecimalString(QByteArray("\x00\xAB\x0F", 3)), u"00ab0f"_s);
    EXPECT_EQ(hexadecimalString({}), QString());
    for (int byte = 0; byte < 256; ++byte) {
        char expected[3];
        std::snprintf(expected, sizeof expected, "%02lx", static_cast<unsigned long>(byte));
        EXPECT_EQ(hexadecimalString(QByteArray(1, static_cast<char>(byte))), QString::fromLatin1(expected));
    }
}

TEST(MBWExtensionsHexadecimal, IsReadInBothCases)
{
    EXPECT_EQ(dataFromHexidecimalString(u"00ab0F"_s), QByteArray("\x00\xAB\x0F", 3));
    EXPECT_EQ(dataFromHexidecimalString(u"aBcDeF"_s), "\xAB\xCD\xEF");
}

TEST(MBWExtensionsHexadecimal, IsReadWithoutAnOddLastCharacter)
{
    EXPECT_EQ(dataFromHexidecimalString(u"abc"_s), "\xAB");
    EXPECT_EQ(dataFromHexidecimalString(u"a"_s), QByteArray());
    EXPECT_EQ(dataFromHexidecimalString(u"00ff8"_s), QByteArray("\x00\xFF", 2));
}

TEST(MBWExtensionsHexadecimal, IsEmptyBytesWhereTheTextIsEmptyOrNil)
{
    EXPECT_EQ(dataFromHexidecimalString(u""_s), QByteArray());
    EXPECT_EQ(dataFromHexidecimalString(QString()), QByteArray());
    EXPECT_EQ(dataFromHexidecimalString(QStringView()), QByteArray());
}

TEST(MBWExtensionsHexadecimal, IsReadAsFarAsItIsANumber)
{
    const std::pair<QString, int> pairs[] = {
        {u"zz"_s, 0}, {u"g1"_s, 0},   {u"1g"_s, 1},   {u"f "_s, 15}, {u" 1"_s, 1}, {u"\tf"_s, 15},
        {u"  "_s, 0}, {u"-1"_s, 255}, {u"-f"_s, 241}, {u"-0"_s, 0},  {u"--"_s, 0}, {u"+f"_s, 15},
        {u"1-"_s, 1}, {u"0x"_s, 0},   {u"0X"_s, 0},   {u"x0"_s, 0},  {u"1."_s, 1}, {u"\n\n"_s, 0},
    };
    for (const auto &[text, expected] : pairs)
        EXPECT_EQ(dataFromHexidecimalString(text), QByteArray(1, static_cast<char>(expected)))
            << text.toStdString();
}

TEST(MBWExtensionsHexadecimal, IsReadByTheLowByteOfEachUTF16Unit)
{
    EXPECT_EQ(dataFromHexidecimalString(u"\u0161\u2142"_s), "\xAB"); // "aB" under other high bytes
    EXPECT_EQ(dataFromHexidecimalString(u"\U0001C431"_s), "\x11"); // D831 DC31, of which 31 31 is "11"
    EXPECT_EQ(dataFromHexidecimalString(u"é1"_s), QByteArray(1, '\0'));
}

TEST(MBWExtensionsHexadecimal, ReadsEveryPairOfBytesAsStrtolDoes)
{
    QString text;
    QByteArray expected;
    for (int pair = 0; pair < 65536; ++pair) {
        // The high bytes vary too, and must not count.
        const auto first = static_cast<char16_t>((pair * 31 & 0xff) << 8 | pair >> 8);
        const auto second = static_cast<char16_t>((pair * 57 & 0xff) << 8 | (pair & 0xff));
        text += QChar(first);
        text += QChar(second);
        expected += byteByStrtol(first, second);
    }
    const QByteArray actual = dataFromHexidecimalString(text);
    ASSERT_EQ(actual.size(), expected.size());
    for (qsizetype pair = 0; pair < actual.size(); ++pair)
        ASSERT_EQ(actual[pair], expected[pair]) << "pair " << std::hex << pair;
}

TEST(MBWExtensionsHexadecimal, GivesBackTheBytesThatItWasMadeOf)
{
    for (qsizetype size = 0; size < 300; ++size) {
        const QByteArray bytes = randomBytes(size);
        const QString text = hexadecimalString(bytes);
        EXPECT_EQ(text.toLatin1(), bytes.toHex());
        EXPECT_EQ(dataFromHexidecimalString(text), bytes);
        EXPECT_EQ(dataFromHexidecimalString(text.toUpper()), bytes);
    }
}
