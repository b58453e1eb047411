#include <Marblewick/GetMACAddress.h>

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Tools/MarblewickCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCryptographicHash>

using namespace Qt::StringLiterals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string hexSHA1(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString();
}

} // namespace

// The digests of "abc" are those of FIPS 180-4's examples.

TEST_F(MarblewickCommand, PrintsTheSHA1OfStandardInput)
{
    EXPECT_EQ(output(u"printf abc | marblewick digest sha1"_s),
              "a9993e364706816aba3e25717850c26c9cd0d89d  -\n");
}

TEST_F(MarblewickCommand, PrintsTheSHA256OfStandardInput)
{
    EXPECT_EQ(output(u"printf abc | marblewick digest sha256"_s),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  -\n");
}

TEST_F(MarblewickCommand, PrintsTheHMACUnderTheBytesOfAKeyFile)
{
    // RFC 4231, test case 2.
    EXPECT_EQ(output(u"printf Jefe >key; printf 'what do ya want for nothing?' |"
                     " marblewick digest hmac --key-file key"_s),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843  -\n");
}

TEST_F(MarblewickCommand, TakesAnEmptyKeyFile)
{
    // The HMAC of nothing under an empty key.
    EXPECT_EQ(output(u": >key; marblewick digest hmac --key-file=key </dev/null"_s),
              "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad  -\n");
}

TEST_F(MarblewickCommand, TakesAKeyFromAPipeOrFromStandardInput)
{
    // RFC 4231, test case 2.
    const std::string line = "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843  text\n";
    EXPECT_EQ(output(u"printf 'what do ya want for nothing?' >text;"
                     " marblewick digest hmac --key-file <(printf Jefe) text"_s),
              line);
    EXPECT_EQ(output(u"printf Jefe | marblewick digest hmac --key-file - text"_s), line);
}

TEST_F(MarblewickCommand, RefusesToTakeBothKeyAndContentsFromStandardInput)
{
    for (const QString &files : {u""_s, u"-"_s, u"key -"_s}) {
        const Result result = run(u"printf Jefe | tee key | marblewick digest hmac --key-file - "_s + files);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors,
                  "marblewick: --key-file: standard input is the key, and cannot be FILE as well\n"
                  "Try: marblewick --help\n");
    }
}

TEST_F(MarblewickCommand, TakesADashForStandardInputAmongFiles)
{
    EXPECT_EQ(output(u": >empty; printf abc | marblewick digest sha1 empty - empty"_s),
              "da39a3ee5e6b4b0d3255bfef95601890afd80709  empty\n"
              "a9993e364706816aba3e25717850c26c9cd0d89d  -\n"
              "da39a3ee5e6b4b0d3255bfef95601890afd80709  empty\n");
}

TEST_F(MarblewickCommand, PrintsTheLinesOfSha1sumAndSha256sumWhateverAFilesName)
{
    const QString makeFiles = uR"sh(
        printf 1 >'two words'; printf 2 >$'line\nbreak'; printf 3 >$'back\\slash'; printf 4 >$'return\r'
        printf 5 >$'not \xff UTF-8'; printf 6 >'[a,b]'; printf 7 >'{}'; printf 8 >--help; printf 9 >mac
        printf 10 >digest; printf 11 >ä; printf 12 >'[]'; printf 13 >'%%'; printf 14 >'%s'; printf 15 >'"q"'
        printf 16 >++
        test "$(ls -A | wc -l)" = 17 && )sh"_s; // one name has two lines
    EXPECT_EQ(output(makeFiles + u"diff <(sha1sum -- *) <(marblewick digest sha1 -- *)"_s), "");
    EXPECT_EQ(output(u"diff <(sha256sum -- *) <(marblewick digest sha256 -- *)"_s), "");
    EXPECT_EQ(output(u"marblewick checksum -- * | sha1sum --check --quiet"_s), "");
    EXPECT_EQ(output(u"diff <(marblewick digest sha1 ++ mac '[a,b]') <(sha1sum ++ mac '[a,b]')"_s), "");
    EXPECT_EQ(output(u"cmp <(marblewick digest hmac --key-file '[a,b]' mac)"
                     " <(cp '[a,b]' key; marblewick digest hmac --key-file key mac)"_s),
              "");
}

TEST_F(MarblewickCommand, ReadsAFileOfManyPieces)
{
    EXPECT_EQ(output(u"head -c 3000001 /dev/urandom >file;"
                     " diff <(sha1sum file) <(marblewick digest sha1 file) &&"
                     " diff <(sha256sum file) <(marblewick digest sha256 file)"_s),
              "");
}

TEST_F(MarblewickCommand, SaysWhichFileItCannotReadAndPrintsTheOthers)
{
    const Result result = run(
        u"printf abc >file; mkdir folder; marblewick digest sha1 missing folder file"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "a9993e364706816aba3e25717850c26c9cd0d89d  file\n");
    EXPECT_EQ(result.errors, "marblewick: missing: No such file or directory\n"
                             "marblewick: folder: Is a directory\n");
}

TEST_F(MarblewickCommand, EscapesANameInAComplaint)
{
    EXPECT_EQ(run(uR"(marblewick digest sha1 $'\e[1m\nmarblewick: \xff')"_s).errors,
              "marblewick: \\u{1b}[1m\\nmarblewick: \\u{dcff}: No such file or directory\n");
}

TEST_F(MarblewickCommand, SaysThatTheNameOfNoFileIsMissing)
{
    const Result result = run(u"marblewick digest sha1 ''"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "marblewick: : No such file or directory\n");
}

TEST_F(MarblewickCommand, FailsWhereStandardInputIsClosed)
{
    const Result result = run(u"marblewick digest sha256 <&-"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "marblewick: -: Bad file descriptor\n");
}

TEST_F(MarblewickCommand, FailsWhereItsOutputCannotBeWritten)
{
    for (const QString &arguments : {u"digest sha1"_s, u"--help"_s, u"--version"_s}) {
        const Result result = run(u"marblewick %1 </dev/null >/dev/full"_s.arg(arguments));
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.errors, "marblewick: standard output: No space left on device\n");
    }
}

TEST_F(MarblewickCommand, FailsWhereAKeyFileIsMissingOrTooLarge)
{
    Result result = run(u"marblewick digest hmac --key-file missing </dev/null"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("marblewick: missing: "));

    result = run(u"truncate -s 1048577 large; marblewick digest hmac --key-file large </dev/null"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, StartsWith("marblewick: large: "));
    output(u"truncate -s 1048576 large; marblewick digest hmac --key-file large </dev/null"_s);
}

TEST_F(MarblewickCommand, EndsWhereAKeyFileDoesNot)
{
    const Result result = run(u"marblewick digest hmac --key-file /dev/zero </dev/null"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "marblewick: /dev/zero: larger than 1 MiB\n");
}

TEST_F(MarblewickCommand, FailsWhereAKeyFileIsAFolder)
{
    const Result result = run(u"mkdir folder; marblewick digest hmac --key-file folder </dev/null"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "marblewick: folder: Is a directory\n");
}

TEST_F(MarblewickCommand, FailsWhereItsOutputIsClosed)
{
    for (const QString &arguments : {u"digest sha1 file"_s, u"checksum file"_s, u"--help"_s}) {
        const Result result = run(u": >file; marblewick %1 >&-"_s.arg(arguments));
        EXPECT_EQ(result.status, 1) << qPrintable(arguments);
        EXPECT_EQ(result.errors, "marblewick: standard output: Bad file descriptor\n");
        EXPECT_EQ(output(u"cat file"_s), "");
    }
}

TEST_F(MarblewickCommand, EndsWithoutAComplaintWhereItsReaderHasSeenEnough)
{
    // As sha1sum and every other command does: by the signal SIGPIPE, of which the shell makes 128 + 13.
    const Result result = run(u": >file; marblewick digest sha1 $(yes file | head -5000) | head -1"_s);
    EXPECT_EQ(result.status, 141);
    EXPECT_EQ(result.output, "da39a3ee5e6b4b0d3255bfef95601890afd80709  file\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(MarblewickCommand, SaysWhatIsMissingWhereThePluginIsNotInstalled)
{
    const QString library = QCoreApplication::applicationDirPath() + u"/../lib/libMarblewickCore.so"_s;
    const Result result = run(
        u"cp '%1'* .; LD_LIBRARY_PATH=. marblewick digest sha1 </dev/null"_s.arg(library));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("marblewick-crypto"));
}

TEST_F(MarblewickCommand, PrintsTheChecksumsOfFilesAndFolders)
{
    writeFile(filePath(u"folder/inside"_s), "abc");
    writeFile(filePath(u"file"_s), "xyz");
    const QByteArray insideChecksum = QByteArray::fromHex("a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(output(u"marblewick checksum folder file folder/inside"_s),
              hexSHA1(insideChecksum) + "  folder\n" + hexSHA1("xyz") + "  file\n" + hexSHA1("abc")
                  + "  folder/inside\n");
}

TEST_F(MarblewickCommand, TakesADashForTheNameOfAFileToChecksum)
{
    EXPECT_EQ(output(u"printf abc >-; marblewick checksum - </dev/null"_s),
              "a9993e364706816aba3e25717850c26c9cd0d89d  -\n");
}

TEST_F(MarblewickCommand, SaysWhichPathHasNoChecksumAndPrintsTheOthers)
{
    const Result result = run(u": >file; mkfifo fifo; marblewick checksum missing fifo file"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "da39a3ee5e6b4b0d3255bfef95601890afd80709  file\n");
    EXPECT_THAT(result.errors, StartsWith("marblewick: missing: no checksum"));
    EXPECT_THAT(result.errors, HasSubstr("\nmarblewick: fifo: no checksum"));
}

TEST_F(MarblewickCommand, PrintsTheAddressOfThePrimaryInterfaceOrSaysThatThereIsNone)
{
    CFStringRef address = nullptr;
    const int32_t found = GetMACAddress(&address, nullptr, true);
    const Result result = run(u"marblewick mac"_s);
    if (found == 0) {
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, std::string(CFStringGetCStringPtr(address, kCFStringEncodingASCII)) + '\n');
        EXPECT_EQ(result.errors, "");
    } else {
        ASSERT_EQ(found, 5);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "marblewick: no primary Ethernet interface\n");
    }
    CFRelease(address);
}

TEST_F(MarblewickCommand, PrintsItsHelpAndThatOfItsCommands)
{
    EXPECT_THAT(output(u"marblewick --help"_s),
                testing::AllOf(HasSubstr("digest"), HasSubstr("checksum"), HasSubstr("mac")));
    EXPECT_THAT(output(u"marblewick digest --help"_s),
                testing::AllOf(HasSubstr("sha1"), HasSubstr("sha256"), HasSubstr("hmac")));
    EXPECT_THAT(output(u"marblewick digest hmac --help"_s), HasSubstr("--key-file"));
    EXPECT_THAT(output(u"marblewick checksum -h"_s), HasSubstr("PATH"));
}

TEST_F(MarblewickCommand, PrintsItsVersion)
{
    EXPECT_EQ(output(u"marblewick --version"_s), "marblewick " MARBLEWICK_VERSION "\n");
}

TEST_F(MarblewickCommand, NamesTheArgumentThatItDoesNotKnow)
{
    EXPECT_EQ(run(u"marblewick digest md5 file"_s).errors,
              "marblewick: unexpected argument: md5\nTry: marblewick --help\n");
    EXPECT_EQ(run(u"marblewick digest hmac --unknown file"_s).errors,
              "marblewick: unexpected argument: --unknown\nTry: marblewick --help\n");
    EXPECT_EQ(run(u"marblewick '[a,b]'"_s).errors,
              "marblewick: unexpected argument: [a,b]\nTry: marblewick --help\n");
}

TEST_F(MarblewickCommand, RefusesAWrongCommandLineWithAStatusOfItsOwn)
{
    for (const QString &arguments :
         {u""_s, u"unknown"_s, u"--unknown"_s, u"digest"_s, u"digest md5"_s, u"digest sha1 --unknown file"_s,
          u"digest hmac file"_s, u"checksum"_s, u"mac extra"_s}) {
        const Result result = run(u"marblewick "_s + arguments);
        EXPECT_EQ(result.status, 2) << qPrintable(arguments);
        EXPECT_EQ(result.output, "") << qPrintable(arguments);
        EXPECT_THAT(result.errors, StartsWith("marblewick: ")) << qPrintable(arguments);
        EXPECT_THAT(result.errors, EndsWith("\nTry: marblewick --help\n")) << qPrintable(arguments);
    }
}
