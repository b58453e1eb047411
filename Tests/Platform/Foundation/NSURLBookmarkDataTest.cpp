#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include "Tests/Platform/Foundation/BookmarkTest.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype versionPlace = 4;
constexpr qsizetype firstRecord = 5;
constexpr qsizetype checksumSize = 8;

QByteArray record(char tag, const QByteArray &value, qsizetype length)
{
    QByteArray bytes(1, tag);
    bytes += static_cast<char>(length >> 8);
    bytes += static_cast<char>(length & 0xff);
    return bytes + value;
}

QByteArray record(char tag, const QByteArray &value) { return record(tag, value, value.size()); }

/*! A whole bookmark of those records. */
QByteArray bookmarkOf(const QByteArray &records, char version = 1)
{
    return sealed("MBWB" + QByteArray(1, version) + records);
}

NSError failure(const QByteArray &data)
{
    NSError error;
    EXPECT_FALSE(NSURL::URLByResolvingBookmarkData(data, quietly, nullptr, &error))
        << data.toHex().constData();
    return error;
}

class NSURLBookmarkData : public testing::Test
{
protected:
    NSURLBookmarkData()
    {
        writeFile(home.path() + u"/a.txt"_s, "contents");
        writeFile(home.path() + u"/b.txt"_s, "contents");
        data = NSURL::bookmarkDataWithOptions(url, NSURLBookmarkCreationWithSecurityScope)
                   .value_or(QByteArray());
    }

    const TemporaryHome home;
    const QUrl url = NSURL::fileURLWithPath(home.path() + u"/a.txt"_s);
    QByteArray data;
};

const QByteArray identity(32, '\1');

} // namespace

TEST_F(NSURLBookmarkData, IsSmallAndBeginsWithItsMarkAndVersion)
{
    EXPECT_TRUE(data.startsWith("MBWB\1"));
    EXPECT_LT(data.size(), 8192);
    EXPECT_EQ(sealed(data.chopped(checksumSize)), data);
}

TEST_F(NSURLBookmarkData, OfTheLongestPathIsSmallToo)
{
    QString folder = home.path();
    while (folder.size() + 256 < 4093)
        folder += u'/' + QString(199, u'f');
    folder += u'/' + QString(4092 - folder.size(), u'g');
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString file = folder + u"/a"_s;
    ASSERT_EQ(file.size(), 4095);
    writeFile(file, "contents");
    const auto longest = NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(file), {});
    ASSERT_TRUE(longest);
    EXPECT_LT(longest->size(), 8192);
    EXPECT_EQ(NSURL::URLByResolvingBookmarkData(*longest, quietly), NSURL::fileURLWithPath(file));
}

TEST_F(NSURLBookmarkData, IsRefusedWhenItIsTruncatedAnywhere)
{
    for (qsizetype size = 0; size < data.size(); ++size)
        EXPECT_EQ(failure(data.left(size)).code(), NSFileReadCorruptFileError) << size;
}

TEST_F(NSURLBookmarkData, IsRefusedWhenAnyBitIsFlipped)
{
    for (qsizetype i = 0; i < data.size() * 8; ++i) {
        QByteArray flipped = data;
        flipped[i / 8] = static_cast<char>(flipped[i / 8] ^ (1 << (i % 8)));
        EXPECT_EQ(failure(flipped).code(), NSFileReadCorruptFileError) << i;
    }
}

TEST_F(NSURLBookmarkData, IsRefusedWhenAnyByteIsChangedToAnyOther)
{
    for (qsizetype i = 0; i < data.size(); ++i) {
        for (int change = 1; change < 256; ++change) {
            QByteArray changed = data;
            changed[i] = static_cast<char>(changed[i] ^ change);
            EXPECT_FALSE(NSURL::URLByResolvingBookmarkData(changed, quietly)) << i << ' ' << change;
        }
    }
}

TEST_F(NSURLBookmarkData, IsRefusedWithMoreBytesAfterIt)
{
    EXPECT_EQ(failure(data + '\0').code(), NSFileReadCorruptFileError);
    EXPECT_EQ(failure(data + data).code(), NSFileReadCorruptFileError);
}

TEST_F(NSURLBookmarkData, ThatIsNoneSaysSo)
{
    for (const QByteArray &bytes : {QByteArray(), QByteArray("MBWB"), QByteArray("bplist00 and more of it"),
                                    QByteArray(200'000, '\0'), sealed("MBWC\1")}) {
        const NSError error = failure(bytes);
        EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
        EXPECT_EQ(error.code(), NSFileReadCorruptFileError);
        EXPECT_EQ(error.localizedDescription(), u"The bookmark is damaged, or is none."_s);
    }
}

TEST_F(NSURLBookmarkData, OfMoreThan64KiBIsRefusedEvenIfItIsWhole)
{
    const auto padded = [&](qsizetype size) {
        const qsizetype room = size - data.size() - 3;
        return sealed(data.chopped(checksumSize) + record(100, QByteArray(room, 'x')));
    };
    EXPECT_EQ(padded(65536).size(), 65536);
    EXPECT_EQ(NSURL::URLByResolvingBookmarkData(padded(65536), quietly), url);
    EXPECT_EQ(failure(padded(65537)).code(), NSFileReadCorruptFileError);
}

TEST_F(NSURLBookmarkData, OfANewerVersionIsRefusedAndSaysSo)
{
    QByteArray newer = data.chopped(checksumSize);
    newer[versionPlace] = 2;
    const NSError error = failure(sealed(newer));
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), NSFeatureUnsupportedError);
    EXPECT_EQ(error.localizedDescription(), u"A newer version of this software made the bookmark."_s);
}

TEST_F(NSURLBookmarkData, OfAVersionThatNeverWasIsRefused)
{
    QByteArray older = data.chopped(checksumSize);
    older[versionPlace] = 0;
    EXPECT_EQ(failure(sealed(older)).code(), NSFileReadCorruptFileError);
}

TEST_F(NSURLBookmarkData, IsReadPastRecordsThatAreNotKnown)
{
    const QByteArray head = data.left(firstRecord);
    const QByteArray records = data.mid(firstRecord).chopped(checksumSize);
    const QByteArray unknown = record(99, "what a later version adds") + record(0, {});
    EXPECT_EQ(NSURL::URLByResolvingBookmarkData(sealed(head + unknown + records + unknown), quietly), url);
}

TEST_F(NSURLBookmarkData, WithoutAPathOrIdentityIsRefused)
{
    const QByteArray path = record(1, "/tmp");
    const QByteArray item = record(4, identity);
    const QByteArray folder = record(5, identity);
    for (const QByteArray &records : {QByteArray(), path, path + item, path + folder, item + folder})
        EXPECT_EQ(failure(bookmarkOf(records)).code(), NSFileReadCorruptFileError);
    EXPECT_EQ(failure(bookmarkOf(path + item + folder)).code(), NSFileNoSuchFileError);
}

TEST_F(NSURLBookmarkData, WithAPathThatIsNotAbsoluteOrHoldsANULIsRefused)
{
    const QByteArray identities = record(4, identity) + record(5, identity);
    for (const QByteArray &path : {QByteArray(), QByteArray("tmp"), QByteArray("/tmp/"),
                                   QByteArray("/a\0b", 4), '/' + QByteArray(4095, 'a')})
        EXPECT_EQ(failure(bookmarkOf(record(1, path) + identities)).code(), NSFileReadCorruptFileError)
            << path.constData();
}

TEST_F(NSURLBookmarkData, WithARecordOfTheWrongLengthIsRefused)
{
    const QByteArray whole = record(1, "/tmp") + record(4, identity) + record(5, identity);
    for (const QByteArray &records :
         {whole + record(1, "/tmp", 5), whole + QByteArray("\1"), whole + QByteArray("\1\0", 2),
          whole + record(4, identity.chopped(1)), whole + record(3, {}), whole + record(3, "\1\1"),
          whole + record(3, "\3"), whole + record(2, "\1"), whole + record(2, QByteArray("\1\0\1\0", 4)),
          whole + record(2, QByteArray("\3\0\1", 3)), whole + record(2, QByteArray("\0\0\1", 3))})
        EXPECT_EQ(failure(bookmarkOf(records)).code(), NSFileReadCorruptFileError)
            << records.toHex().constData();
}

TEST_F(NSURLBookmarkData, WithABaseThatIsNotAFolderOfThePathIsRefused)
{
    const QByteArray whole = record(1, "/home/user/a") + record(4, identity) + record(5, identity);
    const auto base = [](char kind, char length) {
        return record(2, QByteArray(1, kind) + QByteArray(1, '\0') + QByteArray(1, length));
    };
    EXPECT_EQ(failure(bookmarkOf(whole + base(1, 10))).code(), NSFileNoSuchFileError);
    EXPECT_EQ(failure(bookmarkOf(whole + base(1, 9))).code(), NSFileReadCorruptFileError);
    EXPECT_EQ(failure(bookmarkOf(whole + base(1, 13))).code(), NSFileReadCorruptFileError);
    EXPECT_EQ(failure(bookmarkOf(whole + base(2, 9))).code(), NSFileReadCorruptFileError);
    EXPECT_EQ(failure(bookmarkOf(whole + base(2, 0))).code(), NSFileReadCorruptFileError);
    EXPECT_EQ(failure(bookmarkOf(whole + base(2, 13))).code(), NSFileReadCorruptFileError);
}

TEST_F(NSURLBookmarkData, OfADocumentCannotLeadOutOfTheDocumentsFolder)
{
    qputenv("XDG_RUNTIME_DIR", "/run/user/4711");
    const QByteArray base = record(2, QByteArray("\2\0\15", 3));
    const auto document = [&](const QByteArray &path) { return bookmarkOf(record(1, path) + base); };
    EXPECT_EQ(resolved(document("/run/user/doc/1a2b3c/map.txt")),
              u"/run/user/4711/doc/1a2b3c/map.txt (stale)"_s);
    for (const QByteArray &path :
         {QByteArray("/run/user/doc/../../../etc/passwd"), QByteArray("/run/user/doc/1a2b3c/..")})
        EXPECT_EQ(failure(document(path)).code(), NSFileNoSuchFileError);
}

TEST_F(NSURLBookmarkData, OfTheDocumentsFolderItselfIsResolvedToItsPlace)
{
    qputenv("XDG_RUNTIME_DIR", "/run/user/4711");
    EXPECT_EQ(resolved(bookmarkOf(record(1, "/run/user/doc") + record(2, QByteArray("\2\0\15", 3)))),
              u"/run/user/4711/doc (stale)"_s);
}

TEST_F(NSURLBookmarkData, OfADocumentIsTheSameWhateverSlashesEndTheRuntimeFolder)
{
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8() + "//");
    const QString document = home.path() + u"/doc/1a2b3c/map.txt"_s;
    EXPECT_EQ(resolved(bookmark(document)), document) << "a portal that is away counts as granting";
}

TEST_F(NSURLBookmarkData, OfADocumentWhosePathIsTooLongForTheSystemIsNotMade)
{
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    const QString longest = (home.path() + u"/doc/1a2b3c"_s).leftJustified(4095, u'a');
    EXPECT_EQ(resolved(bookmark(longest)), longest);
    NSError error;
    EXPECT_FALSE(NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(longest + u'a'), {}, &error));
    EXPECT_EQ(error.domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error.code(), ENAMETOOLONG);
}

TEST_F(NSURLBookmarkData, OfAnItemInTheHomeFolderIsResolvedWhereThatIsTheRootNow)
{
    const QByteArray item = bookmark(u"/usr/bin/env"_s);
    const qsizetype identities = item.indexOf(record(3, "\1"));
    const QByteArray path = record(1, "/missing/bin/env") + record(2, QByteArray("\1\0\10", 3));
    qputenv("HOME", "/");
    EXPECT_EQ(resolved(bookmarkOf(path + item.mid(identities).chopped(checksumSize))), u"/bin/env (stale)"_s);
}

TEST_F(NSURLBookmarkData, ThatTheFuzzerFoundWorthKeepingIsRefusedOrResolved)
{
    // The files have no checksum, so that the fuzzer gets past it.
    QDirIterator files(QStringLiteral(MARBLEWICK_FUZZ_CORPUS "/bookmark-data"), QDir::Files);
    int fileCount = 0;
    while (files.hasNext()) {
        const QByteArray bytes = readFile(files.next());
        const bool isGood = files.fileName().startsWith("document"_L1);
        EXPECT_FALSE(NSURL::URLByResolvingBookmarkData(bytes, quietly));
        EXPECT_EQ(NSURL::URLByResolvingBookmarkData(sealed(bytes), quietly).has_value(), isGood)
            << qPrintable(files.fileName());
        ++fileCount;
    }
    EXPECT_EQ(fileCount, 11);
}
