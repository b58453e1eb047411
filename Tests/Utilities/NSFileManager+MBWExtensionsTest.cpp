#include <Marblewick/NSFileManager+MBWExtensions.h>
#include <Marblewick/NSWorkspace.h>

#include "Tests/Support/PeakMemory.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QThread>

#include <array>
#include <atomic>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <random>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using ::testing::AnyOf;
using ::testing::Each;

namespace {

using Checksum = std::optional<QByteArray>;

NSFileManager *const manager = NSFileManager::defaultManager();

constexpr qint64 fourGiB = qint64(1) << 32;

/*! The digest of a library other than the one under test. */
QByteArray sha1(const QByteArray &bytes) { return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1); }

/*! The SHA-1 of no bytes, as FIPS 180 has it. */
const QByteArray sha1OfNothing = QByteArray::fromHex("da39a3ee5e6b4b0d3255bfef95601890afd80709");

/*! What a package's serialised form is made of. */
QByteArray number(quint64 value)
{
    QByteArray bytes;
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift & 0xff);
    return bytes;
}

QByteArray sized(const QByteArray &bytes) { return number(static_cast<quint64>(bytes.size())) + bytes; }

class FileChecksum : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_home.path() + u'/' + name; }
    QByteArray bytes(const QString &name) const { return path(name).toUtf8(); }
    void makeFolder(const QString &name) const { ASSERT_TRUE(QDir().mkpath(path(name))); }
    void makeFile(const QString &name, const QByteArray &contents) const { writeFile(path(name), contents); }
    void makeLink(const QString &name, const QByteArray &target) const
    {
        ASSERT_EQ(::symlink(target.constData(), bytes(name).constData()), 0);
    }
    void makeSparseFile(const QString &name, const QByteArray &start, qint64 size) const
    {
        makeFile(name, start);
        ASSERT_EQ(::truncate(bytes(name).constData(), size), 0);
    }
    Checksum checksum(const QString &name) const
    {
        return MBWExtensions::checksumForFileAtPath(manager, path(name));
    }
    /*! The names in a folder that are not hidden, in the file system's order. */
    QStringList names(const QString &folder) const
    {
        QStringList found;
        DIR *const directory = ::opendir(bytes(folder).constData());
        while (const dirent *entry = ::readdir(directory)) {
            if (entry->d_name[0] != '.')
                found.append(QString::fromUtf8(entry->d_name));
        }
        ::closedir(directory);
        return found;
    }
    QByteArray inOrderOf(const QString &folder, const QMap<QString, QByteArray> &parts) const
    {
        QByteArray joined;
        for (const QString &name : names(folder))
            joined += parts.value(name);
        return joined;
    }

    /*! The checksum as it is defined: every item by itself, again and again, each by its own path. For trees
        without loops.
    */
    Checksum naiveChecksum(const QString &name) const
    {
        const QString item = QFileInfo(path(name)).canonicalFilePath().mid(m_home.path().size() + 1);
        if (item.isEmpty())
            return std::nullopt;
        if (!QFileInfo(path(item)).isDir())
            return sha1(readFile(path(item)));
        return sha1(naiveEnumeration(item));
    }
    QByteArray naiveEnumeration(const QString &folder) const
    {
        QByteArray checksums;
        for (const QString &name : names(folder)) {
            const QString item = folder + u'/' + name;
            checksums += naiveChecksum(item).value_or(QByteArray());
            struct stat status = {};
            if (::lstat(bytes(item).constData(), &status) == 0 && S_ISDIR(status.st_mode))
                checksums += naiveEnumeration(item);
        }
        return checksums;
    }
    /*! Makes `folder`, and in it folders 0 to `count` - 1 with a link from each to the next. */
    void makeChain(const QString &folder, int count) const
    {
        makeFile(folder + u"/%1/file"_s.arg(count - 1), "abc");
        for (int i = 0; i < count - 1; ++i) {
            makeFolder(folder + u"/%1"_s.arg(i));
            makeLink(folder + u"/%1/next"_s.arg(i), "../" + QByteArray::number(i + 1));
        }
    }

    TemporaryHome m_home;
};

class FolderTest : public FileChecksum
{
protected:
    bool isDirectory(const QString &name) const
    {
        return MBWExtensions::isDirectoryAtPath(manager, path(name));
    }
};

} // namespace

TEST_F(FolderTest, IsTrueForAnOrdinaryFolderAndALinkToOne)
{
    makeFolder(u"folder"_s);
    makeLink(u"link"_s, "folder");
    EXPECT_TRUE(isDirectory(u"folder"_s));
    EXPECT_TRUE(isDirectory(u"folder/"_s));
    EXPECT_TRUE(isDirectory(u"link"_s));
}

TEST_F(FolderTest, IsFalseForAPackage)
{
    makeFolder(u"Map.app"_s);
    EXPECT_FALSE(isDirectory(u"Map.app"_s));
}

TEST_F(FolderTest, IsFalseForFilesAndWhatIsMissing)
{
    makeFile(u"file"_s, "");
    makeLink(u"dangling"_s, "nowhere");
    for (const QString &name : {u"file"_s, u"missing"_s, u"dangling"_s, u"file/below"_s})
        EXPECT_FALSE(isDirectory(name)) << name.toStdString();
    EXPECT_FALSE(MBWExtensions::isDirectoryAtPath(manager, {}));
}

TEST_F(FileChecksum, OfAFileIsTheDigestOfItsContents)
{
    makeFile(u"file"_s, "abc");
    // FIPS 180-2, appendix A.1.
    EXPECT_EQ(checksum(u"file"_s), QByteArray::fromHex("a9993e364706816aba3e25717850c26c9cd0d89d"));
    for (const qsizetype size : {1, 65535, 65536, 65537, 200000}) {
        const QByteArray contents(size, 'x');
        makeFile(u"file"_s, contents);
        EXPECT_EQ(checksum(u"file"_s), sha1(contents));
    }
}

TEST_F(FileChecksum, OfAnEmptyFileAndAnEmptyFolderIsTheDigestOfNoBytes)
{
    makeFile(u"file"_s, "");
    makeFolder(u"folder"_s);
    EXPECT_EQ(checksum(u"file"_s), sha1OfNothing);
    EXPECT_EQ(checksum(u"folder"_s), sha1OfNothing);
}

TEST_F(FileChecksum, IsNilWhereThereIsNothing)
{
    makeLink(u"dangling"_s, "nowhere");
    makeLink(u"self"_s, "self");
    EXPECT_EQ(checksum(u"missing"_s), std::nullopt);
    EXPECT_EQ(checksum(u"dangling"_s), std::nullopt);
    EXPECT_EQ(checksum(u"self"_s), std::nullopt);
    EXPECT_EQ(MBWExtensions::checksumForFileAtPath(manager, {}), std::nullopt);
}

TEST_F(FileChecksum, CountsAFileOnceInEachFolderAboveItAndOnceByItself)
{
    // folder/middle/inner/file, with one item at each depth, so that the order is known.
    makeFile(u"folder/middle/inner/file"_s, "abc");
    const QByteArray file = QByteArray::fromHex("a9993e364706816aba3e25717850c26c9cd0d89d");
    const QByteArray inner = sha1(file);
    const QByteArray middle = sha1(inner + file);
    EXPECT_EQ(checksum(u"folder/middle/inner"_s), inner);
    EXPECT_EQ(checksum(u"folder/middle"_s), middle);
    EXPECT_EQ(checksum(u"folder"_s), sha1(middle + inner + file));
}

TEST_F(FileChecksum, TakesItemsInTheFileSystemsOrderAndAFolderBeforeWhatIsInIt)
{
    makeFile(u"folder/a"_s, "contents of a");
    makeFile(u"folder/b"_s, "");
    makeFile(u"folder/sub/c"_s, "contents of c");
    makeFile(u"folder/sub/d"_s, "contents of d");
    const QByteArray inSub = inOrderOf(u"folder/sub"_s,
                                       {{u"c"_s, sha1("contents of c")}, {u"d"_s, sha1("contents of d")}});
    const QByteArray inFolder = inOrderOf(
        u"folder"_s,
        {{u"a"_s, sha1("contents of a")}, {u"b"_s, sha1OfNothing}, {u"sub"_s, sha1(inSub) + inSub}});
    EXPECT_EQ(checksum(u"folder"_s), sha1(inFolder));
}

TEST_F(FileChecksum, IsThatOfTheNaiveRecursion)
{
    std::mt19937 random(20261121);
    for (int tree = 0; tree < 20; ++tree) {
        QStringList folders{u"tree%1"_s.arg(tree)};
        makeFolder(folders.first());
        for (int i = 0; i < 40; ++i) {
            const QString item =
                folders[static_cast<qsizetype>(random() % static_cast<size_t>(folders.size()))]
                + u"/%1"_s.arg(i);
            const auto kind = random() % 8;
            if (kind < 3) {
                makeFolder(item);
                folders.append(item);
            } else if (kind == 3) {
                // Links lead out of the tree or to what was there before and holds no link: no loops.
                makeFile(u"outside/%1/%2"_s.arg(tree).arg(i), QByteArray::number(i));
                makeLink(item, bytes(u"outside/%1"_s.arg(tree)));
            } else {
                makeFile(item, QByteArray::number(static_cast<uint>(random() % 5)));
            }
        }
        EXPECT_EQ(checksum(folders.first()), naiveChecksum(folders.first()));
    }
}

TEST_F(FileChecksum, EndsAtOnceForDeepFolders)
{
    // The naive recursion would compute the innermost folder 2^499 times.
    constexpr int depth = 500;
    makeFile(u"d/"_s.repeated(depth) + u"file"_s, "abc");
    QByteArray below = sha1("abc");
    for (int i = 1; i < depth; ++i)
        below = sha1(below) + below;
    EXPECT_EQ(checksum(u"d"_s), sha1(below));
}

TEST_F(FileChecksum, EndsAtOnceWhereLinksMultiplyThePaths)
{
    constexpr int depth = 35;
    makeFile(u"folder/0/file"_s, "abc");
    QByteArray below = sha1("abc");
    for (int i = 1; i < depth; ++i) {
        makeFolder(u"folder/%1"_s.arg(i));
        for (const QString &name : {u"a"_s, u"b"_s})
            makeLink(u"folder/%1/%2"_s.arg(i).arg(name), "../" + QByteArray::number(i - 1));
        below = sha1(below) + sha1(below);
    }
    EXPECT_EQ(checksum(u"folder/34"_s), sha1(below));
}

TEST_F(FileChecksum, CountsWhatManyLinksOneAfterAnotherLeadTo)
{
    // The system itself follows no more than 40 in one path.
    for (const int count : {20, 39, 40, 41, 42, 60, 100}) {
        const QString folder = u"chain%1"_s.arg(count);
        makeChain(folder, count);
        EXPECT_EQ(checksum(folder), naiveChecksum(folder)) << count;
        EXPECT_EQ(checksum(folder + "/0"_L1), naiveChecksum(folder + "/0"_L1)) << count;
        makeLink(folder + "/0/other"_L1, "../" + QByteArray::number(count / 2));
        EXPECT_EQ(checksum(folder), naiveChecksum(folder)) << count;
    }
}

TEST_F(FileChecksum, CountsALinkWhereThePathToItHoldsAsManyAsTheSystemFollows)
{
    constexpr int most = 40;
    makeChain(u"chain"_s, most + 2);
    EXPECT_EQ(checksum(u"chain/0"_s + u"/next"_s.repeated(most)), naiveChecksum(u"chain/40"_s));
    EXPECT_EQ(checksum(u"chain/0"_s + u"/next"_s.repeated(most + 1)), std::nullopt);
}

TEST_F(FileChecksum, NeedsNoMoreStackForMoreLinks)
{
    constexpr int count = 5000;
    makeChain(u"chain"_s, count);
    QByteArray expected = sha1("abc");
    for (int i = 0; i < count; ++i)
        expected = sha1(expected);
    Checksum ours;
    const std::unique_ptr<QThread> thread(QThread::create([&] { ours = checksum(u"chain/0"_s); }));
    thread->setStackSize(256 * 1024);
    thread->start();
    ASSERT_TRUE(thread->wait());
    EXPECT_EQ(ours, expected);
}

TEST_F(FileChecksum, ReadsEachFileOnceByWhateverPathsItIsReached)
{
    makeFile(u"folder/a/b/c/file"_s, "abc");
    makeLink(u"folder/link"_s, "a/b/c/file");
    ASSERT_EQ(::link(bytes(u"folder/a/b/c/file"_s).constData(), bytes(u"folder/a/hard"_s).constData()), 0);
    const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    const auto closing = qScopeGuard([watch] { ::close(watch); });
    ASSERT_GE(::inotify_add_watch(watch, bytes(u"folder/a/hard"_s).constData(), IN_CLOSE_NOWRITE), 0);
    const Checksum ours = checksum(u"folder"_s);
    // Equal events that follow one another are reported as one; closing and opening in turn are not.
    inotify_event event = {};
    EXPECT_EQ(::read(watch, &event, sizeof event), ssize_t(sizeof event));
    EXPECT_LT(::read(watch, &event, sizeof event), 0);
    EXPECT_EQ(ours, naiveChecksum(u"folder"_s));
}

TEST_F(FileChecksum, LeavesOutWhatIsHiddenWithAllBelowIt)
{
    makeFile(u"folder/file"_s, "abc");
    makeFile(u"folder/.hidden"_s, "secret");
    makeFile(u"folder/.git/config"_s, "secret");
    EXPECT_EQ(checksum(u"folder"_s), sha1(sha1("abc")));
}

TEST_F(FileChecksum, OfAHiddenPathGivenDirectlyIsAsOfAnyOther)
{
    makeFile(u".hidden/file"_s, "abc");
    EXPECT_EQ(checksum(u".hidden"_s), sha1(sha1("abc")));
    makeFile(u".file"_s, "abc");
    EXPECT_EQ(checksum(u".file"_s), sha1("abc"));
}

TEST_F(FileChecksum, OfALinkIsThatOfWhatItLeadsTo)
{
    makeFile(u"file"_s, "abc");
    makeFile(u"other/a/b"_s, "abc");
    makeLink(u"link"_s, "file");
    makeLink(u"linkToFolder"_s, "other");
    EXPECT_EQ(checksum(u"link"_s), sha1("abc"));
    EXPECT_EQ(checksum(u"linkToFolder"_s), checksum(u"other"_s));
}

TEST_F(FileChecksum, ALinkToAFolderIsNotDescendedInto)
{
    makeFile(u"other/file"_s, "abc");
    makeFolder(u"folder"_s);
    makeLink(u"folder/link"_s, "../other");
    EXPECT_EQ(checksum(u"folder"_s), sha1(sha1(sha1("abc"))));
}

TEST_F(FileChecksum, ADanglingLinkAddsNothing)
{
    makeFile(u"folder/file"_s, "abc");
    makeLink(u"folder/dangling"_s, "nowhere");
    EXPECT_EQ(checksum(u"folder"_s), sha1(sha1("abc")));
}

TEST_F(FileChecksum, ALinkToAFolderThatIsBeingComputedAddsNothing)
{
    makeFile(u"folder/sub/file"_s, "abc");
    makeLink(u"folder/sub/up"_s, "..");
    makeLink(u"folder/sub/top"_s, bytes(u"folder"_s));
    const QByteArray sub = sha1(sha1("abc"));
    EXPECT_EQ(checksum(u"folder"_s), sha1(sub + sha1("abc")));
}

TEST_F(FileChecksum, LinksThatLeadToEachOtherEnd)
{
    makeFolder(u"a"_s);
    makeFolder(u"b"_s);
    makeLink(u"a/toB"_s, "../b");
    makeLink(u"b/toA"_s, "../a");
    EXPECT_EQ(checksum(u"a"_s), sha1(sha1OfNothing));
}

TEST_F(FileChecksum, ManyFoldersThatAllLinkToEachOtherEnd)
{
    constexpr int count = 40;
    for (int from = 0; from < count; ++from) {
        makeFolder(u"folder/%1"_s.arg(from));
        for (int to = 0; to < count; ++to)
            makeLink(u"folder/%1/%2"_s.arg(from).arg(to), "../" + QByteArray::number(to));
    }
    EXPECT_EQ(checksum(u"folder"_s)->size(), 20);
}

TEST_F(FileChecksum, SpecialFilesHaveNoneAndAddNothing)
{
    makeFile(u"folder/file"_s, "abc");
    ASSERT_EQ(::mkfifo(bytes(u"folder/fifo"_s).constData(), 0600), 0);
    makeLink(u"folder/zero"_s, "/dev/zero");
    EXPECT_EQ(checksum(u"folder/fifo"_s), std::nullopt);
    EXPECT_EQ(checksum(u"folder/zero"_s), std::nullopt);
    EXPECT_EQ(checksum(u"folder"_s), sha1(sha1("abc")));
}

TEST_F(FileChecksum, OfAFileThatCannotBeReadIsNilAndAddsNothing)
{
    makeFile(u"folder/file"_s, "abc");
    makeFile(u"folder/locked"_s, "secret");
    ASSERT_EQ(::chmod(bytes(u"folder/locked"_s).constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        return !checksum(u"folder/locked"_s) && checksum(u"folder"_s) == sha1(sha1("abc"));
    }));
}

TEST_F(FileChecksum, AFolderThatCannotBeListedCountsAsEmpty)
{
    makeFile(u"folder/locked/file"_s, "secret");
    ASSERT_EQ(::chmod(bytes(u"folder/locked"_s).constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        return checksum(u"folder/locked"_s) == sha1OfNothing && checksum(u"folder"_s) == sha1(sha1OfNothing);
    }));
}

TEST_F(FileChecksum, ItemsThatCannotBeReachedAddNothing)
{
    makeFile(u"folder/file"_s, "secret");
    ASSERT_EQ(::chmod(bytes(u"folder"_s).constData(), 0400), 0);
    EXPECT_TRUE(
        resultInUnprivilegedChild(m_home.path(), [&] { return checksum(u"folder"_s) == sha1OfNothing; }));
}

TEST_F(FileChecksum, AReadThatFailsMidwayLeavesNone)
{
    // Reading a process's memory from address 0 is an error of the file, not of opening it.
    EXPECT_EQ(MBWExtensions::checksumForFileAtPath(manager, u"/proc/self/mem"_s), std::nullopt);
}

TEST_F(FileChecksum, FilesOfTheSystemThatClaimToBeEmptyAreRead)
{
    EXPECT_EQ(MBWExtensions::checksumForFileAtPath(manager, u"/proc/sys/kernel/ostype"_s), sha1("Linux\n"));
}

TEST_F(FileChecksum, ItemsMayComeAndGoMeanwhile)
{
    makeFile(u"folder/stays"_s, "abc");
    makeFile(u"outside"_s, "xyz");
    std::atomic_bool isDone = false;
    const std::jthread mover([&] {
        while (!isDone) {
            ::rename(bytes(u"outside"_s).constData(), bytes(u"folder/comes"_s).constData());
            ::rename(bytes(u"folder/comes"_s).constData(), bytes(u"outside"_s).constData());
        }
    });
    const auto stop = qScopeGuard([&] { isDone = true; });
    const QByteArray stays = sha1("abc");
    const QByteArray comes = sha1("xyz");
    for (int i = 0; i < 2000; ++i)
        ASSERT_THAT(checksum(u"folder"_s), AnyOf(sha1(stays), sha1(stays + comes), sha1(comes + stays)));
}

TEST_F(FileChecksum, OfAFileOf4GiBOrMoreCountsItsSizeIn32Bits)
{
    makeSparseFile(u"large"_s, "abcdefgh", fourGiB + 5);
    EXPECT_EQ(checksum(u"large"_s), sha1("abcde"));
    makeSparseFile(u"large"_s, "abcdefgh", fourGiB);
    EXPECT_EQ(checksum(u"large"_s), sha1OfNothing);
}

TEST_F(FileChecksum, OfALargeFileNeedsLittleMemory)
{
    constexpr qint64 size = qint64(256) << 20;
    makeSparseFile(u"large"_s, "abc", size);
    makeFile(u"small"_s, "abc");
    checksum(u"small"_s); // loads what it takes
    Checksum ours;
    EXPECT_LT(peakMemoryAddedBy([&] { ours = checksum(u"large"_s); }), 4 * 1024 * 1024);

    QCryptographicHash hash(QCryptographicHash::Sha1);
    QFile file(path(u"large"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    ASSERT_TRUE(hash.addData(&file));
    EXPECT_EQ(ours, hash.result());
}

TEST_F(FileChecksum, MayBeComputedByManyThreadsAtOnce)
{
    makeChain(u"folder"_s, 20);
    std::array<Checksum, 8> checksums;
    {
        std::vector<std::jthread> threads;
        for (Checksum &result : checksums)
            threads.emplace_back([&] { result = checksum(u"folder"_s); });
    }
    EXPECT_THAT(checksums, Each(naiveChecksum(u"folder"_s)));
}

TEST_F(FileChecksum, NamesNeedNotBeUTF8)
{
    makeFolder(u"folder"_s);
    const QString odd = path(u"folder/"_s) + NSFileManager::stringWithFileSystemRepresentation("caf\xe9");
    ASSERT_TRUE(manager->createFileAtPath(odd, "abc"));
    EXPECT_EQ(checksum(u"folder"_s), sha1(sha1("abc")));
    EXPECT_EQ(MBWExtensions::checksumForFileAtPath(manager, odd), sha1("abc"));
    // QTemporaryDir does not find it.
    EXPECT_EQ(::unlink(NSFileManager::fileSystemRepresentationWithPath(odd).constData()), 0);
}

TEST_F(FileChecksum, OfAPackageIsTheDigestOfItsSerialisedForm)
{
    makeFile(u"Map.app/b"_s, "contents");
    makeFile(u"Map.app/B"_s, "");
    makeFile(u"Map.app/.hidden"_s, "too");
    makeFolder(u"Map.app/sub/empty"_s);
    makeLink(u"Map.app/sub/link"_s, "nowhere");
    const QByteArray sub = "d" + number(2) //
                           + sized("empty") + "d" + number(0) //
                           + sized("link") + "l" + sized("nowhere");
    const QByteArray package = "d" + number(4) //
                               + sized(".hidden") + "f" + sized("too") //
                               + sized("B") + "f" + sized("") //
                               + sized("b") + "f" + sized("contents") //
                               + sized("sub") + sub;
    EXPECT_EQ(checksum(u"Map.app"_s), sha1(package));
    makeLink(u"current"_s, "Map.app");
    EXPECT_EQ(checksum(u"current"_s), sha1(package));
}

TEST_F(FileChecksum, OfAPackageIsThatOfEveryCopy)
{
    const QStringList files{u"z"_s, u"a"_s, u"m/b"_s, u"m/a"_s, u"é"_s};
    for (const QString &name : files)
        writeFile(path(u"one/Map.app/"_s + name), name.toUtf8(), 600000000);
    for (qsizetype i = files.size(); i-- > 0;)
        writeFile(path(u"two/Copy.bundle/"_s + files[i]), files[i].toUtf8());
    ASSERT_EQ(::chmod(bytes(u"two/Copy.bundle/a"_s).constData(), 0700), 0);
    EXPECT_EQ(checksum(u"one/Map.app"_s), checksum(u"two/Copy.bundle"_s));
}

TEST_F(FileChecksum, OfAPackageChangesWithEveryNameAndContent)
{
    makeFile(u"Map.app/a/b"_s, "contents");
    const Checksum first = checksum(u"Map.app"_s);
    makeFile(u"Map.app/a/b"_s, "Contents");
    const Checksum second = checksum(u"Map.app"_s);
    EXPECT_NE(second, first);
    ASSERT_EQ(::rename(bytes(u"Map.app/a/b"_s).constData(), bytes(u"Map.app/a/c"_s).constData()), 0);
    const Checksum third = checksum(u"Map.app"_s);
    EXPECT_NE(third, second);
    ASSERT_EQ(::rename(bytes(u"Map.app/a/c"_s).constData(), bytes(u"Map.app/c"_s).constData()), 0);
    EXPECT_NE(checksum(u"Map.app"_s), third);
}

TEST_F(FileChecksum, APackageInAFolderIsNotDescendedInto)
{
    makeFile(u"folder/Map.app/Contents/file"_s, "abc");
    const Checksum package = checksum(u"folder/Map.app"_s);
    ASSERT_TRUE(package);
    EXPECT_EQ(checksum(u"folder"_s), sha1(*package));
}

TEST_F(FileChecksum, APackageOfTheHostsOwnIsSerialised)
{
    makeFile(u"Zurich.cartograph/map"_s, "abc");
    EXPECT_EQ(checksum(u"Zurich.cartograph"_s), sha1(sha1("abc")));
    NSWorkspace::sharedWorkspace()->addFilePackageExtension(u"cartograph"_s);
    EXPECT_EQ(checksum(u"Zurich.cartograph"_s), sha1("d" + number(1) + sized("map") + "f" + sized("abc")));
}

TEST_F(FileChecksum, SpecialFilesInAPackageAreLeftOut)
{
    makeFile(u"Map.app/file"_s, "abc");
    const Checksum without = checksum(u"Map.app"_s);
    ASSERT_EQ(::mkfifo(bytes(u"Map.app/fifo"_s).constData(), 0600), 0);
    EXPECT_EQ(checksum(u"Map.app"_s), without);
}

TEST_F(FileChecksum, OfAPackageInWhichSomethingCannotBeReadIsNil)
{
    makeFile(u"file/Map.app/locked"_s, "secret");
    makeFile(u"folder/Map.app/locked/file"_s, "secret");
    ASSERT_EQ(::chmod(bytes(u"file/Map.app/locked"_s).constData(), 0), 0);
    ASSERT_EQ(::chmod(bytes(u"folder/Map.app/locked"_s).constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [&] {
        return !checksum(u"file/Map.app"_s) && !checksum(u"folder/Map.app"_s)
               && checksum(u"folder"_s) == sha1OfNothing;
    }));
}

TEST_F(FileChecksum, OfAPackageOf4GiBOrMoreCountsItsSizeIn32Bits)
{
    // One file under many names, which the system keeps in memory once.
    constexpr int count = 16;
    constexpr qint64 size = fourGiB / count;
    const auto name = [](int i) { return QByteArray::number(10 + i); };
    makeSparseFile(u"Map.app/10"_s, "abc", size);
    for (int i = 1; i < count; ++i)
        ASSERT_EQ(::link(bytes(u"Map.app/10"_s).constData(), (bytes(u"Map.app/"_s) + name(i)).constData()),
                  0);
    // The contents make 4 GiB, so as many bytes enter as there are others.
    const qsizetype others = 9 + count * (sized("10").size() + 9);
    const QByteArray start = "d" + number(count) + sized("10") + "f" + number(size) + "abc";
    EXPECT_EQ(checksum(u"Map.app"_s), sha1(start.leftJustified(others, '\0')));
}
