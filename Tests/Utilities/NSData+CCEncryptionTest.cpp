#include <Marblewick/NSData+CCEncryption.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <array>
#include <dlfcn.h>
#include <fstream>
#include <string>

using namespace CCEncryption;
using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

struct Encrypted
{
    QByteArray ciphertext;
    QByteArray salt;
    QByteArray vector;
};

Encrypted encrypt(const QByteArray &data, const QString &password)
{
    Encrypted encrypted;
    NSError error;
    const auto ciphertext = encryptWithPassword(data, password, &encrypted.salt, &encrypted.vector, &error);
    EXPECT_TRUE(ciphertext.has_value()) << error.description().toStdString();
    EXPECT_EQ(error.code(), 0);
    encrypted.ciphertext = ciphertext.value_or(QByteArray());
    return encrypted;
}

std::optional<QByteArray> decrypt(const Encrypted &encrypted, const QString &password)
{
    return decryptWithPassword(encrypted.ciphertext, password, encrypted.salt, encrypted.vector);
}

QByteArray opensslOutput(const QStringList &arguments)
{
    ChildProgram openssl(QStringList(u"openssl"_s) + arguments);
    EXPECT_EQ(openssl.exitStatus(), 0) << arguments.join(u' ').toStdString();
    return openssl.output();
}

/*! What the openssl command makes of a file's bytes; `direction` is "-e" or "-d". */
QByteArray opensslCipher(const QString &direction, const QByteArray &input, const QString &password,
                         const Encrypted &parameters)
{
    const TemporaryHome home;
    const QString file = home.path() + u"/input"_s;
    writeFile(file, input);
    return opensslOutput({u"enc"_s, direction, u"-aes-256-cbc"_s, u"-pbkdf2"_s, u"-iter"_s, u"10000"_s,
                          u"-md"_s, u"sha1"_s, u"-pass"_s, u"pass:"_s + password, u"-S"_s,
                          QString::fromLatin1(parameters.salt.toHex()), u"-iv"_s,
                          QString::fromLatin1(parameters.vector.toHex()), u"-in"_s, file});
}

QByteArray opensslKey(const QByteArray &passwordBytes, const QByteArray &salt)
{
    return opensslOutput({u"kdf"_s, u"-keylen"_s, u"32"_s, u"-binary"_s, u"-kdfopt"_s, u"digest:SHA1"_s,
                          u"-kdfopt"_s, u"iter:10000"_s, u"-kdfopt"_s,
                          u"hexpass:"_s + QString::fromLatin1(passwordBytes.toHex()), u"-kdfopt"_s,
                          u"hexsalt:"_s + QString::fromLatin1(salt.toHex()), u"PBKDF2"_s});
}

template <typename Value>
Value symbol(const char *name)
{
    const void *const address = ::dlsym(RTLD_DEFAULT, name);
    EXPECT_NE(address, nullptr) << name;
    return address ? *static_cast<const Value *>(address) : Value();
}

/*! How often these bytes, each given inverted so that they do not lie in memory themselves, occur in what
   this process can write to. Mappings of a gibibyte and more are the sanitizers' own.
*/
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] int occurrencesInMemory(const unsigned char *inverted,
                                                                              size_t size)
{
    int count = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char mode[5] = "";
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, mode) != 3
            || std::string_view(mode) != "rw-p" || end - begin >= 1UL << 30)
            continue;
        const auto *const last = reinterpret_cast<const unsigned char *>(end) - size;
        for (const auto *at = reinterpret_cast<const unsigned char *>(begin); at <= last; ++at) {
            size_t equal = 0;
            while (equal < size && at[equal] == static_cast<unsigned char>(~inverted[equal]))
                ++equal;
            count += equal == size;
        }
    }
    return count;
}

} // namespace

TEST(CCEncryption, HasItsConstantsAsPlainSymbols)
{
    EXPECT_EQ(symbol<QLatin1StringView>("MWCommonCryptoErrorDomain"), "MWCommonCryptoErrorDomain"_L1);
    EXPECT_EQ(symbol<qint64>("MWCCCannotGenerateRandomDataErrorCode"), 10001);
    EXPECT_EQ(symbol<qint64>("MWCCCannotDerivePasswordKeyErrorCode"), 10002);
    EXPECT_EQ(symbol<qint64>("MWPBKDFRounds"), 10000);
    EXPECT_EQ(symbol<qint64>("MWPBKDFSaltSize"), 8);
}

TEST(CCEncryptionRandomData, HasTheLengthAskedForAndIsOtherEachTime)
{
    NSError error;
    const QByteArray first = randomDataOfLength(24, &error);
    EXPECT_EQ(first.size(), 24);
    EXPECT_NE(first, QByteArray(24, '\0'));
    EXPECT_NE(first, randomDataOfLength(24));
    EXPECT_EQ(error.code(), 0);
}

TEST(CCEncryptionRandomData, OfLengthZeroIsEmpty)
{
    NSError error;
    EXPECT_EQ(randomDataOfLength(0, &error), QByteArray());
    EXPECT_EQ(error.code(), 0);
}

TEST(CCEncryptionRandomData, ThatNoMemoryCanHoldThrows)
{
    EXPECT_THROW(randomDataOfLength(std::numeric_limits<quint64>::max()), std::bad_alloc);
}

TEST(CCEncryptionKey, IsPBKDF2WithTenThousandRounds)
{
    // As computed by Python: hashlib.pbkdf2_hmac("sha1", b"correct horse", b"saltsalt", 10000, 32)
    EXPECT_EQ(AESKeyForPassword(u"correct horse"_s, "saltsalt").toHex(),
              "205e147a33c7e529e2eecec7f3d28b2478b14b0f6bee7e4ed48b3a51ab514e1b");
}

TEST(CCEncryptionKey, IsTheOneThatTheOpensslCommandDerives)
{
    EXPECT_EQ(AESKeyForPassword(u"secret"_s, "saltsalt"), opensslKey("secret", "saltsalt"));
    EXPECT_EQ(AESKeyForPassword(u"secret"_s, "a longer salt than usual"),
              opensslKey("secret", "a longer salt than usual"));
}

TEST(CCEncryptionKey, TakesAsManyBytesOfThePasswordAsItHasUTF16Units)
{
    // Six units, of which the last two are a pair, and nine bytes of UTF-8.
    const QString password = u"Käse😀"_s;
    ASSERT_EQ(password.size(), 6);
    EXPECT_EQ(AESKeyForPassword(password, "saltsalt"), opensslKey("K\xc3\xa4se\xf0", "saltsalt"));
    // So what stands in the cut part makes no difference.
    EXPECT_EQ(AESKeyForPassword(password, "saltsalt"), AESKeyForPassword(u"Käse😁"_s, "saltsalt"));
    EXPECT_NE(AESKeyForPassword(password, "saltsalt"), AESKeyForPassword(u"Käsf😀"_s, "saltsalt"));
}

TEST(CCEncryptionKey, TakesAnUnpairedSurrogateForAQuestionMark)
{
    EXPECT_EQ(AESKeyForPassword(u"ab"_s + QChar(0xd800), "saltsalt"),
              AESKeyForPassword(u"ab?"_s, "saltsalt"));
}

TEST(CCEncryptionKey, ExistsForAnEmptyPasswordAndAnEmptySalt)
{
    // As computed by Python, as above.
    EXPECT_EQ(AESKeyForPassword({}, "saltsalt").toHex(),
              "61d2c14c254f34fdf6980b82cc72bd1276d929d785b960f85b2e9f5eb10a6c75");
    EXPECT_EQ(AESKeyForPassword(u"secret"_s, {}).toHex(),
              "54492a9fa0ec3b59ecef3eb1eaed320be142cf1b807d0f712e1acd0671c538f5");
}

TEST(CCEncryption, MakesASaltOfEightBytesAndAVectorOfSixteen)
{
    const Encrypted encrypted = encrypt("text", u"secret"_s);
    EXPECT_EQ(encrypted.salt.size(), 8);
    EXPECT_EQ(encrypted.vector.size(), 16);
}

TEST(CCEncryption, FillsUpToTheNextMultipleOfSixteen)
{
    const std::pair<qsizetype, qsizetype> sizes[] = {{0, 16},  {1, 16},  {15, 16},
                                                     {16, 32}, {17, 32}, {32, 48}};
    for (const auto &[plain, encrypted] : sizes)
        EXPECT_EQ(encrypt(QByteArray(plain, 'x'), u"secret"_s).ciphertext.size(), encrypted) << plain;
}

TEST(CCEncryption, GivesBackWhatWasEncrypted)
{
    QByteArray data(1'000'003, '\0');
    for (qsizetype i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 7919 >> 3);
    for (const qsizetype size :
         {qsizetype(0), qsizetype(1), qsizetype(15), qsizetype(16), qsizetype(17), data.size()})
        EXPECT_EQ(decrypt(encrypt(data.first(size), u"Käse😀"_s), u"Käse😀"_s), data.first(size)) << size;
}

TEST(CCEncryption, DiffersEachTime)
{
    const Encrypted first = encrypt("the same", u"secret"_s);
    const Encrypted second = encrypt("the same", u"secret"_s);
    EXPECT_NE(first.salt, second.salt);
    EXPECT_NE(first.vector, second.vector);
    EXPECT_NE(first.ciphertext, second.ciphertext);
}

TEST(CCEncryption, IsDecryptedByTheOpensslCommand)
{
    for (const QByteArray &data : {QByteArray(), QByteArray("0123456789abcdef"), QByteArray(100'000, 'x')}) {
        const Encrypted encrypted = encrypt(data, u"secret"_s);
        EXPECT_EQ(opensslCipher(u"-d"_s, encrypted.ciphertext, u"secret"_s, encrypted), data);
    }
}

TEST(CCEncryption, DecryptsWhatTheOpensslCommandEncrypted)
{
    Encrypted encrypted{{}, "\x01\x02\x03\x04\x05\x06\x07\x08", "0123456789abcdef"};
    for (const QByteArray &data : {QByteArray(), QByteArray("0123456789abcdef"), QByteArray(100'000, 'x')}) {
        encrypted.ciphertext = opensslCipher(u"-e"_s, data, u"secret"_s, encrypted);
        EXPECT_EQ(decrypt(encrypted, u"secret"_s), data);
    }
}

TEST(CCEncryption, LogsNothingWhereItSucceeds)
{
    const CapturedStandardError log;
    decrypt(encrypt("text", u"secret"_s), u"secret"_s);
    EXPECT_EQ(log.text(), QString());
}

TEST(CCEncryption, CountsTheFirstSixteenBytesOfALongVector)
{
    Encrypted encrypted = encrypt("text", u"secret"_s);
    encrypted.vector += "and more";
    EXPECT_EQ(decrypt(encrypted, u"secret"_s), "text");
}

TEST(CCEncryption, LeavesNeitherKeyNorPasswordInMemory)
{
    // AESKeyForPassword(u"Zürich-密码-längst"_s, "saltsalt") and the bytes of the password in UTF-8,
    // inverted.
    static constexpr std::array<unsigned char, 32> key{
        0x4a, 0x0b, 0xc4, 0xd4, 0x65, 0x17, 0x6b, 0x68, 0x9b, 0xc1, 0x8a, 0xba, 0x67, 0x34, 0x75, 0xc0,
        0xe8, 0xc0, 0x37, 0x14, 0xb6, 0x1d, 0xd8, 0x16, 0x4d, 0x8b, 0x2b, 0xb2, 0x68, 0x64, 0xb1, 0xff};
    static constexpr std::array<unsigned char, 22> utf8{0xa5, 0x3c, 0x43, 0x8d, 0x96, 0x9c, 0x97, 0xd2,
                                                        0x1a, 0x50, 0x79, 0x18, 0x5f, 0x7e, 0xd2, 0x93,
                                                        0x3c, 0x5b, 0x91, 0x98, 0x8c, 0x8b};
    const QString password = u"Zürich-密码-längst"_s;
    const auto occurrences = [](const auto &bytes) {
        return occurrencesInMemory(bytes.data(), bytes.size());
    };
    {
        QByteArray held = AESKeyForPassword(password, "saltsalt");
        QByteArray heldPassword = password.toUtf8();
        ASSERT_EQ(occurrences(key), 1);
        ASSERT_EQ(occurrences(utf8), 1);
        held.fill('\0');
        heldPassword.fill('\0');
    }
    const Encrypted encrypted{QByteArray(64, 'x'), "saltsalt", "0123456789abcdef"};
    decrypt(encrypted, password);
    EXPECT_EQ(occurrences(key), 0);
    EXPECT_EQ(occurrences(utf8), 0);
}
