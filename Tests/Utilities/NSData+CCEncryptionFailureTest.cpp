#include <Marblewick/NSData+CCEncryption.h>
#include <Marblewick/NSException.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/RefusedCall.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>

#include <sys/mman.h>
#include <unistd.h>

using namespace CCEncryption;
using namespace Marblewick;
using namespace Qt::StringLiterals;
using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace {

constexpr qint64 parameterError = -4300;
constexpr qint64 alignmentError = -4303;
constexpr qint64 decodeError = -4304;
constexpr qint64 unspecifiedError = -4308;

const QByteArray salt = "saltsalt";
const QByteArray vector = "0123456789abcdef";

void expectError(const NSError &error, qint64 code, const QString &description)
{
    EXPECT_EQ(error.domain(), u"MWCommonCryptoErrorDomain"_s);
    EXPECT_EQ(error.code(), code);
    EXPECT_EQ(error.userInfo(), (QVariantMap{{NSLocalizedDescriptionKey, description}}));
}

/*! The ciphertext of "text" under `salt`, `vector` and the password "secret". */
QByteArray ciphertext()
{
    // echo -n text | openssl enc -aes-256-cbc -pbkdf2 -iter 10000 -md sha1 -pass pass:secret
    //     -S 73616c7473616c74 -iv 30313233343536373839616263646566
    return QByteArray::fromHex("4ae9e91d2d56ac7a7ef0eeb1cf7e0488");
}

void expectDecryptionError(const QByteArray &data, const QByteArray &initializationVector, qint64 code)
{
    const CapturedStandardError log;
    NSError error;
    EXPECT_EQ(decryptWithPassword(data, u"secret"_s, salt, initializationVector, &error), std::nullopt);
    expectError(error, code, u"Cannot decrypt data: %1"_s.arg(code));
    EXPECT_EQ(log.text(), QString());
    EXPECT_EQ(decryptWithPassword(data, u"secret"_s, salt, initializationVector), std::nullopt);
}

/*! Knows the one text. */
class Translation : public QTranslator
{
public:
    explicit Translation(const char *source, QString text)
        : m_source(source)
        , m_text(std::move(text))
    {
        QCoreApplication::installTranslator(this);
    }
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        return qstrcmp(context, "Localizable") == 0 && m_source == source ? m_text : QString();
    }

private:
    const QByteArray m_source;
    const QString m_text;
};

template <typename Function>
NSException exceptionOf(Function function)
{
    try {
        function();
    } catch (const NSException &exception) {
        return exception;
    }
    ADD_FAILURE() << "nothing was thrown";
    return {QString(), QString()};
}

} // namespace

TEST(CCEncryptionFailure, OfTheRandomSourceIsLoggedAndStoredAndTheBytesAreReturned)
{
    const CapturedStandardError log;
    const RefusedCall refused(RefusedCall::GetRandom);
    NSError error;
    EXPECT_EQ(randomDataOfLength(5, &error), QByteArray(5, '\0'));
    expectError(error, 10001, u"Unable to generate random data for encryption: 38"_s);
    EXPECT_THAT(log.text().toStdString(), EndsWith("Unable to generate random bytes: 38\n"));
    EXPECT_EQ(randomDataOfLength(5), QByteArray(5, '\0'));
    EXPECT_EQ(log.text().count(u"Unable to generate random bytes: 38\n"_s), 2);
}

TEST(CCEncryptionFailure, OfTheRandomSourceDoesNotStopTheEncryption)
{
    const CapturedStandardError log;
    const RefusedCall refused(RefusedCall::GetRandom);
    QByteArray newSalt;
    QByteArray newVector;
    NSError error;
    const auto encrypted = encryptWithPassword("text", u"secret"_s, &newSalt, &newVector, &error);
    EXPECT_EQ(newSalt, QByteArray(8, '\0'));
    EXPECT_EQ(newVector, QByteArray(16, '\0'));
    expectError(error, 10001, u"Unable to generate random data for encryption: 38"_s);
    ASSERT_TRUE(encrypted.has_value());
    EXPECT_EQ(decryptWithPassword(*encrypted, u"secret"_s, newSalt, newVector), "text");
}

TEST(CCEncryptionFailure, OfTheKeyDerivationHasTheCodeOfRandomDataAndTheKeyIsReturned)
{
    const CapturedStandardError log;
    const RefusedCall refused(RefusedCall::KeyDerivation);
    NSError error;
    EXPECT_EQ(AESKeyForPassword(u"secret"_s, salt, &error), QByteArray(32, '\0'));
    expectError(error, 10001, u"Unable to create AES key for password: -4308"_s);
    EXPECT_THAT(log.text().toStdString(), EndsWith("Unable to create AES key for password: -4308\n"));
    EXPECT_EQ(AESKeyForPassword(u"secret"_s, salt).size(), 32);
}

TEST(CCEncryptionFailure, OfTheKeyDerivationDoesNotStopTheEncryption)
{
    const CapturedStandardError log;
    const RefusedCall refused(RefusedCall::KeyDerivation);
    QByteArray newSalt;
    QByteArray newVector;
    NSError error;
    EXPECT_TRUE(encryptWithPassword("text", u"secret"_s, &newSalt, &newVector, &error).has_value());
    expectError(error, 10001, u"Unable to create AES key for password: -4308"_s);
}

TEST(CCEncryptionFailure, OfTheKeyDerivationDoesNotStopTheDecryption)
{
    const CapturedStandardError log;
    const RefusedCall refused(RefusedCall::KeyDerivation);
    QByteArray newSalt;
    QByteArray newVector;
    const auto encrypted = encryptWithPassword("text", u"secret"_s, &newSalt, &newVector);
    ASSERT_TRUE(encrypted.has_value());
    NSError error;
    // Both worked with the key that is returned all the same.
    EXPECT_EQ(decryptWithPassword(*encrypted, u"secret"_s, newSalt, newVector, &error), "text");
    expectError(error, 10001, u"Unable to create AES key for password: -4308"_s);
    EXPECT_EQ(log.text().count(u"Unable to create AES key for password: -4308\n"_s), 2);
}

TEST(CCEncryptionFailure, OfTheCipherEndsTheEncryptionWithTheStatusAndKeepsSaltAndVector)
{
    const CapturedStandardError log;
    const RefusedCall refused(RefusedCall::CipherInit);
    QByteArray newSalt;
    QByteArray newVector;
    NSError error;
    EXPECT_EQ(encryptWithPassword("text", u"secret"_s, &newSalt, &newVector, &error), std::nullopt);
    expectError(error, unspecifiedError, u"Cannot encrypt data: -4308"_s);
    EXPECT_EQ(newSalt.size(), 8);
    EXPECT_EQ(newVector.size(), 16);
    EXPECT_EQ(encryptWithPassword("text", u"secret"_s, &newSalt, &newVector), std::nullopt);
    EXPECT_EQ(log.text(), QString());
}

TEST(CCEncryptionFailure, OfTheCipherReplacesAnEarlierError)
{
    const CapturedStandardError log;
    const RefusedCall random(RefusedCall::GetRandom);
    const RefusedCall cipher(RefusedCall::CipherUpdate);
    QByteArray newSalt;
    QByteArray newVector;
    NSError error;
    EXPECT_EQ(encryptWithPassword("text", u"secret"_s, &newSalt, &newVector, &error), std::nullopt);
    expectError(error, unspecifiedError, u"Cannot encrypt data: -4308"_s);
}

TEST(CCEncryptionFailure, IsAWrongPasswordThatThePaddingShows)
{
    NSError error;
    ASSERT_EQ(decryptWithPassword(ciphertext(), u"secret"_s, salt, vector, &error), "text");
    // One in 256 wrong passwords passes; these do not.
    for (const QString &password : {u"Secret"_s, u"secret "_s, QString()}) {
        EXPECT_EQ(decryptWithPassword(ciphertext(), password, salt, vector, &error), std::nullopt);
        expectError(error, decodeError, u"Cannot decrypt data: -4304"_s);
    }
}

TEST(CCEncryptionFailure, IsAWrongSaltThatThePaddingShows)
{
    NSError error;
    EXPECT_EQ(decryptWithPassword(ciphertext(), u"secret"_s, "other123", vector, &error), std::nullopt);
    expectError(error, decodeError, u"Cannot decrypt data: -4304"_s);
}

TEST(CCEncryptionFailure, IsAWrongVectorThatThePaddingShows)
{
    // "text" is followed by twelve bytes of the value twelve; the vector's last byte changes the last of
    // them.
    expectDecryptionError(ciphertext(), "0123456789abcde!", decodeError);
}

TEST(CCEncryptionFailure, IsDataThatIsDamagedOrEmpty)
{
    QByteArray damaged = ciphertext();
    damaged[3] = static_cast<char>(damaged[3] ^ 0x10);
    expectDecryptionError(damaged, vector, decodeError);
    expectDecryptionError({}, vector, decodeError);
}

TEST(CCEncryptionFailure, IsDataThatIsNoMultipleOfSixteen)
{
    expectDecryptionError(ciphertext().first(15), vector, alignmentError);
    expectDecryptionError(ciphertext() + 'x', vector, alignmentError);
}

TEST(CCEncryptionFailure, IsAShortVectorWhichIsNotReadPastItsEnd)
{
    for (const qsizetype size : {0, 1, 15})
        expectDecryptionError(ciphertext(), vector.first(size), parameterError);

    // A page that must not be read follows the last of these bytes.
    const auto page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
    void *const pages = ::mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    char *const end = static_cast<char *>(pages) + page;
    ASSERT_EQ(::mprotect(end, page, PROT_NONE), 0);
    expectDecryptionError(ciphertext(), QByteArray::fromRawData(end - 8, 8), parameterError);
    ::munmap(pages, 2 * page);
}

TEST(CCEncryptionFailure, IsDescribedInTheHostsLanguage)
{
    const Translation translation("Cannot decrypt data: %d", u"Daten nicht entschlüsselt (%d)"_s);
    NSError error;
    EXPECT_EQ(decryptWithPassword({}, u"secret"_s, salt, vector, &error), std::nullopt);
    expectError(error, decodeError, u"Daten nicht entschlüsselt (-4304)"_s);
}

TEST(CCEncryptionAssertion, IsThrownAndLoggedWhereTheSaltIsMissing)
{
    const CapturedStandardError log;
    QByteArray newVector;
    const NSException exception = exceptionOf(
        [&] { encryptWithPassword("text", u"secret"_s, nullptr, &newVector); });
    EXPECT_EQ(exception.name(), u"NSInternalInconsistencyException"_s);
    EXPECT_EQ(exception.reason(), u"Salt must not be NULL"_s);
    EXPECT_EQ(exception.userInfo()[u"NSAssertMethod"_s],
              u"encryptWithPassword:salt:initializationVector:error:"_s);
    EXPECT_EQ(exception.userInfo()[u"NSAssertObject"_s], u"NSData of 4 bytes"_s);
    EXPECT_EQ(exception.userInfo()[u"NSAssertFile"_s], u"NSData+CCEncryption"_s);
    EXPECT_GT(exception.userInfo()[u"NSAssertLine"_s].toInt(), 0);
    EXPECT_THAT(log.text().toStdString(), EndsWith(": Salt must not be NULL\n"));
    EXPECT_THAT(log.text().toStdString(), HasSubstr("encryptWithPassword:salt:initializationVector:error:"));
    EXPECT_EQ(newVector, QByteArray());
}

TEST(CCEncryptionAssertion, IsThrownWhereTheVectorIsMissing)
{
    const CapturedStandardError log;
    QByteArray newSalt;
    const NSException exception = exceptionOf(
        [&] { encryptWithPassword("text", u"secret"_s, &newSalt, nullptr); });
    EXPECT_EQ(exception.reason(), u"IV must not be NULL"_s);
    EXPECT_EQ(newSalt, QByteArray());
}

TEST(CCEncryptionAssertion, IsThrownByTheDecryptionToo)
{
    const CapturedStandardError log;
    const NSException noSalt = exceptionOf(
        [] { decryptWithPassword("data", u"secret"_s, std::nullopt, vector); });
    EXPECT_EQ(noSalt.reason(), u"Salt must not be NULL"_s);
    EXPECT_EQ(noSalt.userInfo()[u"NSAssertMethod"_s],
              u"decryptWithPassword:salt:initializationVector:error:"_s);
    const NSException noVector = exceptionOf(
        [] { decryptWithPassword("data", u"secret"_s, salt, std::nullopt); });
    EXPECT_EQ(noVector.reason(), u"IV must not be NULL"_s);
    const NSException neither = exceptionOf(
        [] { decryptWithPassword("data", u"secret"_s, std::nullopt, std::nullopt); });
    EXPECT_EQ(neither.reason(), u"Salt must not be NULL"_s);
}
