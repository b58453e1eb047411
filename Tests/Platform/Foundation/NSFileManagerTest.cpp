#include <Marblewick/NSFileManager.h>

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QScopeGuard>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using ::testing::UnorderedElementsAre;

namespace {

NSFileManager *const manager = NSFileManager::defaultManager();

constexpr qint64 noLimit = std::numeric_limits<qint64>::max();

class NSFileManagerTest : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_home.path() + u'/' + name; }
    QByteArray bytes(const QString &name) const
    {
        return NSFileManager::fileSystemRepresentationWithPath(path(name));
    }
    mode_t mode(const QString &name) const
    {
        struct stat status = {};
        EXPECT_EQ(::lstat(bytes(name).constData(), &status), 0);
        return status.st_mode & 07777;
    }

    TemporaryHome m_home;
};

QByteArray roundTripped(const QByteArray &name)
{
    return NSFileManager::fileSystemRepresentationWithPath(
        NSFileManager::stringWithFileSystemRepresentation(name));
}

/*! The errno value for which a file is not read; 0 where it is. */
qint64 readingFailure(const QString &path, qint64 maximumSize = noLimit)
{
    NSError error;
    return manager->contentsAtPath(path, maximumSize, &error) ? 0 : error.code();
}

} // namespace

TEST_F(NSFileManagerTest, NamesInUTF8AreTheirText)
{
    EXPECT_EQ(NSFileManager::stringWithFileSystemRepresentation("/Zürich 😀"), u"/Zürich 😀"_s);
    EXPECT_EQ(NSFileManager::fileSystemRepresentationWithPath(u"/Zürich 😀"_s), "/Zürich 😀");
    EXPECT_EQ(NSFileManager::stringWithFileSystemRepresentation(""), QString());
}

TEST_F(NSFileManagerTest, AByteThatIsNotUTF8IsAnUnpairedSurrogate)
{
    EXPECT_EQ(NSFileManager::stringWithFileSystemRepresentation("caf\xe9s"), u"caf\xdce9s"_s);
    EXPECT_EQ(NSFileManager::stringWithFileSystemRepresentation("😀\x80"), u"😀\xdc80"_s);
    EXPECT_EQ(NSFileManager::fileSystemRepresentationWithPath(u"caf\xdce9s"_s), "caf\xe9s");
}

TEST_F(NSFileManagerTest, TheSecondHalfOfAPairStandsForNoByte)
{
    // U+10480 is D801 DC80 in UTF-16.
    EXPECT_EQ(NSFileManager::fileSystemRepresentationWithPath(u"\U00010480\xdc80"_s), "\xf0\x90\x92\x80\x80");
}

TEST_F(NSFileManagerTest, EveryByteOfANameComesBack)
{
    for (int first = 1; first < 256; ++first) {
        const QByteArray one(1, static_cast<char>(first));
        EXPECT_EQ(roundTripped(one), one);
        for (int second = 1; second < 256; ++second) {
            const QByteArray two = one + static_cast<char>(second);
            ASSERT_EQ(roundTripped(two), two);
            ASSERT_EQ(roundTripped("a" + two + "/é"), "a" + two + "/é");
        }
    }
}

TEST_F(NSFileManagerTest, RandomNamesComeBack)
{
    const std::vector<QByteArray> pieces{"a",
                                         "/",
                                         "é",
                                         "€",
                                         "😀",
                                         "\xef\xbb\xbf",
                                         "\xf0\x90\x92\x80",
                                         "\xed\xb2\x80",
                                         "\xed\xa0\x81",
                                         "\xf0\x9f\x98",
                                         "\xc3",
                                         "\x80",
                                         "\xff",
                                         "\xc0\xaf",
                                         "\xf4\x90\x80\x80",
                                         "\xef\xbf\xbd"};
    std::mt19937 random(20261121);
    for (int round = 0; round < 20000; ++round) {
        QByteArray name;
        for (auto length = random() % 12; length > 0; --length) {
            name += random() % 2 ? pieces[random() % pieces.size()]
                                 : QByteArray(1, static_cast<char>(1 + random() % 255));
        }
        ASSERT_EQ(roundTripped(name), name) << name.toHex().constData();
    }
}

TEST_F(NSFileManagerTest, AByteOrderMarkIsAPartOfTheName)
{
    EXPECT_EQ(roundTripped("\xef\xbb\xbfname"), "\xef\xbb\xbfname");
    EXPECT_EQ(roundTripped("\xef\xbb\xbfname\xff"), "\xef\xbb\xbfname\xff");
}

TEST_F(NSFileManagerTest, LongNamesTakeLinearTime)
{
    // Quadratic time would be hours.
    const QByteArray name = QByteArray("\xff").repeated(1 << 20) + QByteArray("é\x80").repeated(1 << 19);
    EXPECT_EQ(roundTripped(name), name);
}

TEST_F(NSFileManagerTest, APathWithANULNamesNothing)
{
    writeFile(path(u"a"_s), "contents");
    EXPECT_EQ(readingFailure(path(u"a"_s)), 0);
    EXPECT_EQ(readingFailure(path(u"a"_s) + QChar(0) + u"b"_s), ENOENT);
    EXPECT_FALSE(manager->isRegularFileAtPath(path(u"a"_s) + QChar(0)));
}

TEST_F(NSFileManagerTest, ListsEveryEntryWithItsBytes)
{
    const QByteArray odd = "caf\xe9";
    ASSERT_TRUE(QDir().mkpath(path(u"folder/sub"_s)));
    writeFile(path(u"folder/.hidden"_s), "");
    ASSERT_EQ(::symlink("nowhere", bytes(u"folder/link"_s).constData()), 0);
    ASSERT_TRUE(manager->createFileAtPath(
        path(u"folder/"_s) + NSFileManager::stringWithFileSystemRepresentation(odd), "odd"));
    QByteArrayList names;
    const bool isListed = manager->enumerateContentsOfDirectoryAtPath(
        path(u"folder"_s), [&](QByteArrayView name) { names.append(name.toByteArray()); });
    EXPECT_TRUE(isListed);
    EXPECT_THAT(names, UnorderedElementsAre("sub", ".hidden", "link", odd));
}

TEST_F(NSFileManagerTest, ListsAnEmptyFolder)
{
    ASSERT_TRUE(QDir().mkpath(path(u"empty"_s)));
    int count = 0;
    EXPECT_TRUE(
        manager->enumerateContentsOfDirectoryAtPath(path(u"empty"_s), [&](QByteArrayView) { ++count; }));
    EXPECT_EQ(count, 0);
}

TEST_F(NSFileManagerTest, DoesNotListWhatIsMissingOrNoFolder)
{
    writeFile(path(u"file"_s), "");
    ASSERT_EQ(::mkfifo(bytes(u"fifo"_s).constData(), 0600), 0);
    const auto failure = [&](const QString &name) {
        NSError error;
        EXPECT_FALSE(manager->enumerateContentsOfDirectoryAtPath(
            path(name), [](QByteArrayView) { FAIL(); }, &error));
        return error.code();
    };
    EXPECT_EQ(failure(u"missing"_s), ENOENT);
    EXPECT_EQ(failure(u"file"_s), ENOTDIR);
    EXPECT_EQ(failure(u"fifo"_s), ENOTDIR);
}

TEST_F(NSFileManagerTest, DoesNotListAnUnreadableFolder)
{
    writeFile(path(u"locked/file"_s), "");
    ASSERT_EQ(::chmod(bytes(u"locked"_s).constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        NSError error;
        return !manager->enumerateContentsOfDirectoryAtPath(
                   path(u"locked"_s), [](QByteArrayView) {}, &error)
               && error.code() == EACCES;
    }));
}

TEST_F(NSFileManagerTest, TellsTypeSizeAndDate)
{
    writeFile(path(u"file"_s), "12345", 700000000.25);
    const auto file = manager->attributesOfItemAtPath(path(u"file"_s));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->type, NSFileType::Regular);
    EXPECT_EQ(file->size, 5);
    EXPECT_DOUBLE_EQ(file->modificationDate.timeIntervalSinceReferenceDate, 700000000.25);

    const auto folder = manager->attributesOfItemAtPath(m_home.path());
    ASSERT_TRUE(folder);
    EXPECT_EQ(folder->type, NSFileType::Directory);
    EXPECT_EQ(manager->attributesOfItemAtPath(u"/dev/null"_s)->type, NSFileType::Other);
}

TEST_F(NSFileManagerTest, TellsTheDateOfAFileOlderThanTheReferenceDate)
{
    writeFile(path(u"file"_s), "", -1000000.5);
    const auto file = manager->attributesOfItemAtPath(path(u"file"_s));
    ASSERT_TRUE(file);
    EXPECT_DOUBLE_EQ(file->modificationDate.timeIntervalSinceReferenceDate, -1000000.5);
}

TEST_F(NSFileManagerTest, TellsTheAttributesOfALinkItself)
{
    writeFile(path(u"file"_s), "12345", 700000000);
    ASSERT_EQ(::symlink("file", bytes(u"link"_s).constData()), 0);
    ASSERT_EQ(::symlink("nowhere", bytes(u"dangling"_s).constData()), 0);
    setModified(path(u"link"_s), 600000000);
    const auto link = manager->attributesOfItemAtPath(path(u"link"_s));
    ASSERT_TRUE(link);
    EXPECT_EQ(link->type, NSFileType::SymbolicLink);
    EXPECT_EQ(link->size, 4);
    EXPECT_DOUBLE_EQ(link->modificationDate.timeIntervalSinceReferenceDate, 600000000);
    EXPECT_TRUE(manager->attributesOfItemAtPath(path(u"dangling"_s)));
}

TEST_F(NSFileManagerTest, TellsNoAttributesOfWhatIsMissing)
{
    NSError error;
    EXPECT_FALSE(manager->attributesOfItemAtPath(path(u"missing"_s), &error));
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_EQ(error.userInfo().value(NSFilePathErrorKey), path(u"missing"_s));
}

TEST_F(NSFileManagerTest, TellsRegularFilesFromOtherItems)
{
    writeFile(path(u"file"_s), "");
    ASSERT_EQ(::symlink("file", bytes(u"link"_s).constData()), 0);
    ASSERT_EQ(::symlink("nowhere", bytes(u"dangling"_s).constData()), 0);
    ASSERT_EQ(::mkfifo(bytes(u"fifo"_s).constData(), 0600), 0);
    EXPECT_TRUE(manager->isRegularFileAtPath(path(u"file"_s)));
    EXPECT_TRUE(manager->isRegularFileAtPath(path(u"link"_s)));
    EXPECT_FALSE(manager->isRegularFileAtPath(path(u"dangling"_s)));
    EXPECT_FALSE(manager->isRegularFileAtPath(path(u"fifo"_s)));
    EXPECT_FALSE(manager->isRegularFileAtPath(m_home.path()));
}

TEST_F(NSFileManagerTest, ReadsAFileUpToTheLimit)
{
    for (const qsizetype size : {0, 1, 4095, 4096, 4097, 100000}) {
        const QByteArray contents(size, 'x');
        writeFile(path(u"file"_s), contents);
        EXPECT_EQ(manager->contentsAtPath(path(u"file"_s), size), contents);
        EXPECT_EQ(manager->contentsAtPath(path(u"file"_s), noLimit), contents);
        EXPECT_EQ(readingFailure(path(u"file"_s), size - 1), EFBIG);
    }
}

TEST_F(NSFileManagerTest, ReadsFilesOfTheSystemThatClaimToBeEmpty)
{
    EXPECT_EQ(manager->contentsAtPath(u"/proc/sys/kernel/ostype"_s, noLimit), "Linux\n");
    EXPECT_EQ(readingFailure(u"/proc/self/maps"_s), 0);
    EXPECT_EQ(readingFailure(u"/proc/self/maps"_s, 100), EFBIG);
}

TEST_F(NSFileManagerTest, ReadsAFileThatGrowsMeanwhile)
{
    writeFile(path(u"log"_s), "");
    std::atomic_bool isDone = false;
    std::jthread writer([&] {
        const int file = ::open(bytes(u"log"_s).constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
        const QByteArray block(10000, 'x');
        for (int i = 0; i < 1000; ++i)
            EXPECT_EQ(::write(file, block.constData(), 10000), 10000);
        ::close(file);
        isDone = true;
    });
    qsizetype size = 0;
    while (!isDone) {
        const auto contents = manager->contentsAtPath(path(u"log"_s), noLimit);
        ASSERT_TRUE(contents);
        ASSERT_GE(contents->size(), size);
        ASSERT_EQ(contents->count('x'), contents->size());
        size = contents->size();
    }
    EXPECT_EQ(manager->contentsAtPath(path(u"log"_s), noLimit)->size(), 10000000);
}

TEST_F(NSFileManagerTest, ReadsThroughALink)
{
    writeFile(path(u"file"_s), "contents");
    ASSERT_EQ(::symlink("file", bytes(u"link"_s).constData()), 0);
    EXPECT_EQ(manager->contentsAtPath(path(u"link"_s), noLimit), "contents");
}

TEST_F(NSFileManagerTest, ReadsNothingButRegularFiles)
{
    EXPECT_EQ(readingFailure(path(u"missing"_s)), ENOENT);
    EXPECT_EQ(readingFailure(m_home.path()), EISDIR);
    EXPECT_EQ(readingFailure(u"/dev/zero"_s), EINVAL);
    ASSERT_EQ(::symlink("/dev/zero", bytes(u"link"_s).constData()), 0);
    EXPECT_EQ(readingFailure(path(u"link"_s)), EINVAL);

    const int server = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto closing = qScopeGuard([server] { ::close(server); });
    sockaddr_un address{AF_UNIX, {}};
    qstrncpy(address.sun_path, bytes(u"socket"_s).constData(), sizeof address.sun_path);
    ASSERT_EQ(::bind(server, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(readingFailure(path(u"socket"_s)), EINVAL);
}

TEST_F(NSFileManagerTest, DoesNotEvenOpenAFIFO)
{
    ASSERT_EQ(::mkfifo(bytes(u"fifo"_s).constData(), 0600), 0);
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    const auto closing = qScopeGuard([watch] { ::close(watch); });
    ASSERT_GE(::inotify_add_watch(watch, bytes(u"fifo"_s).constData(), IN_OPEN), 0);
    EXPECT_EQ(readingFailure(path(u"fifo"_s)), EINVAL);
    inotify_event event = {};
    EXPECT_LT(::read(watch, &event, sizeof event), 0);
    EXPECT_EQ(errno, EAGAIN);
}

TEST_F(NSFileManagerTest, DoesNotReadAnUnreadableFile)
{
    writeFile(path(u"locked"_s), "secret");
    ASSERT_EQ(::chmod(bytes(u"locked"_s).constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(),
                                          [&] { return readingFailure(path(u"locked"_s)) == EACCES; }));
}

TEST_F(NSFileManagerTest, CreatesAFileForTheUserAloneWhateverTheUmask)
{
    const mode_t original = ::umask(0);
    for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
        ::umask(mask);
        const QString name = QString::number(mask, 8);
        EXPECT_TRUE(manager->createFileAtPath(path(name), "contents"));
        EXPECT_EQ(mode(name), 0600U) << mask;
        EXPECT_EQ(readFile(path(name)), "contents");
    }
    ::umask(original);
}

TEST_F(NSFileManagerTest, CreatesNoFileWhereSomethingIs)
{
    NSError error;
    writeFile(path(u"file"_s), "old");
    EXPECT_FALSE(manager->createFileAtPath(path(u"file"_s), "new", &error));
    EXPECT_EQ(error.code(), EEXIST);
    EXPECT_EQ(readFile(path(u"file"_s)), "old");

    ASSERT_EQ(::symlink("elsewhere", bytes(u"dangling"_s).constData()), 0);
    EXPECT_FALSE(manager->createFileAtPath(path(u"dangling"_s), "new", &error));
    EXPECT_EQ(error.code(), EEXIST);
    EXPECT_FALSE(QFile::exists(path(u"elsewhere"_s)));

    EXPECT_FALSE(manager->createFileAtPath(path(u"missing/file"_s), "new", &error));
    EXPECT_EQ(error.code(), ENOENT);
}

TEST_F(NSFileManagerTest, LeavesNoPartOfAFileThatDoesNotFit)
{
    rlimit original = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &original), 0);
    const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10000, original.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    NSError error;
    const bool isCreated = manager->createFileAtPath(path(u"file"_s), QByteArray(20000, 'x'), &error);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &original), 0);
    std::signal(SIGXFSZ, formerHandler);
    EXPECT_FALSE(isCreated);
    EXPECT_EQ(error.code(), EFBIG);
    EXPECT_FALSE(QFile::exists(path(u"file"_s)));
}

TEST_F(NSFileManagerTest, MakesAFolderWithThoseAboveIt)
{
    EXPECT_TRUE(manager->createDirectoryAtPath(path(u"a/b//c/"_s)));
    for (const auto &name : {u"a"_s, u"a/b"_s, u"a/b/c"_s})
        EXPECT_EQ(mode(name), 0700U);
    EXPECT_TRUE(manager->createDirectoryAtPath(path(u"a/b/c"_s)));
    EXPECT_TRUE(manager->createDirectoryAtPath(u"/"_s));
}

TEST_F(NSFileManagerTest, TakesALinkToAFolderForAFolder)
{
    ASSERT_TRUE(QDir().mkpath(path(u"real"_s)));
    ASSERT_EQ(::symlink("real", bytes(u"link"_s).constData()), 0);
    EXPECT_TRUE(manager->createDirectoryAtPath(path(u"link/sub"_s)));
    EXPECT_TRUE(QDir(path(u"real/sub"_s)).exists());
    EXPECT_TRUE(manager->createDirectoryAtPath(path(u"link"_s)));
}

TEST_F(NSFileManagerTest, MakesNoFolderWhereItCannot)
{
    writeFile(path(u"file"_s), "");
    NSError error;
    EXPECT_FALSE(manager->createDirectoryAtPath(path(u"file"_s), &error));
    EXPECT_EQ(error.code(), EEXIST);
    EXPECT_FALSE(manager->createDirectoryAtPath(path(u"file/sub"_s), &error));
    EXPECT_EQ(error.code(), ENOTDIR);
    EXPECT_FALSE(manager->createDirectoryAtPath({}, &error));
    EXPECT_EQ(error.code(), ENOENT);
}

TEST_F(NSFileManagerTest, TellsWhenAnItemWasMadeWhateverItsModificationDate)
{
    const NSDate before = NSDate::date();
    writeFile(path(u"file"_s), "", 700000000);
    const auto file = manager->attributesOfItemAtPath(path(u"file"_s));
    ASSERT_TRUE(file);
    constexpr double clockTick = 0.01; // The kernel stamps files with the time of its last tick.
    EXPECT_GE(file->creationDate.timeIntervalSinceReferenceDate,
              before.timeIntervalSinceReferenceDate - clockTick);
    EXPECT_LE(file->creationDate, NSDate::date());
}

TEST_F(NSFileManagerTest, TellsTheModificationDateWhereTheFileSystemKeepsNoCreationDates)
{
    const auto file = manager->attributesOfItemAtPath(u"/proc/self/status"_s);
    ASSERT_TRUE(file);
    EXPECT_GT(file->modificationDate, NSDate());
    EXPECT_EQ(file->creationDate, file->modificationDate);
}

TEST_F(NSFileManagerTest, ListsWhatIsInSubfoldersWithItsPathAFolderFirst)
{
    const QByteArray odd = "caf\xe9";
    writeFile(path(u"folder/sub/deep/.hidden"_s), "");
    writeFile(path(u"folder/file"_s), "");
    ASSERT_EQ(::symlink(".", bytes(u"folder/loop"_s).constData()), 0);
    ASSERT_TRUE(manager->createFileAtPath(
        path(u"folder/sub/"_s) + NSFileManager::stringWithFileSystemRepresentation(odd), ""));
    QByteArrayList items;
    manager->enumerateSubpathsAtPath(path(u"folder"_s),
                                     [&](QByteArrayView item) { items.append(item.toByteArray()); });
    EXPECT_THAT(items,
                UnorderedElementsAre("file", "loop", "sub", "sub/" + odd, "sub/deep", "sub/deep/.hidden"));
    EXPECT_LT(items.indexOf("sub"), items.indexOf("sub/deep"));
    EXPECT_LT(items.indexOf("sub/deep"), items.indexOf("sub/deep/.hidden"));
}

TEST_F(NSFileManagerTest, ListsFoldersInFoldersWithoutKeepingThemOpen)
{
    constexpr int depth = 200;
    QString deepest = path(u"top"_s);
    for (int i = 0; i < depth; ++i)
        deepest += u"/x"_s;
    ASSERT_TRUE(manager->createDirectoryAtPath(deepest));
    rlimit original = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &original), 0);
    const rlimit few{100, original.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    int count = 0;
    manager->enumerateSubpathsAtPath(path(u"top"_s), [&](QByteArrayView) { ++count; });
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &original), 0);
    EXPECT_EQ(count, depth);
}

TEST_F(NSFileManagerTest, ListsNothingInWhatIsMissingOrNamesNothing)
{
    writeFile(path(u"file"_s), "");
    for (const QString &nothing : {path(u"missing"_s), path(u"file"_s), QString(), QString(QChar(0))})
        manager->enumerateSubpathsAtPath(nothing, [](QByteArrayView item) { FAIL() << item.data(); });
}

TEST_F(NSFileManagerTest, RemovesAFileALinkAndAFolderWithAllThatIsInIt)
{
    writeFile(path(u"kept/file"_s), "");
    writeFile(path(u"folder/sub/file"_s), "");
    ASSERT_EQ(::symlink("../kept", bytes(u"folder/link"_s).constData()), 0);
    ASSERT_EQ(::symlink("kept", bytes(u"link"_s).constData()), 0);
    writeFile(path(u"file"_s), "");
    for (const QString &name : {u"folder"_s, u"link"_s, u"file"_s}) {
        EXPECT_TRUE(manager->removeItemAtPath(path(name))) << name.toStdString();
        EXPECT_FALSE(manager->attributesOfItemAtPath(path(name))) << name.toStdString();
    }
    EXPECT_TRUE(QFile::exists(path(u"kept/file"_s)));
}

TEST_F(NSFileManagerTest, RemovesNothingWhereItCannot)
{
    NSError error;
    EXPECT_FALSE(manager->removeItemAtPath(path(u"missing"_s), &error));
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_FALSE(manager->removeItemAtPath({}, &error));
    EXPECT_EQ(error.code(), ENOENT);

    writeFile(path(u"locked/file"_s), "");
    writeFile(path(u"locked/folder/file"_s), "");
    ASSERT_EQ(::chmod(bytes(u"locked/folder"_s).constData(), 0500), 0);
    ASSERT_EQ(::chmod(bytes(u"locked"_s).constData(), 0500), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        NSError failure;
        return !manager->removeItemAtPath(path(u"locked/file"_s), &failure) && failure.code() == EACCES
               && !manager->removeItemAtPath(path(u"locked/folder"_s), &failure) && failure.code() == EACCES;
    }));
    EXPECT_TRUE(QFile::exists(path(u"locked/folder/file"_s)));
}
