#include <Marblewick/NSURL.h>

#include "Tests/Platform/Foundation/BookmarkTest.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <ctime>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! Bookmarks where the system does not answer. */
class NSURLBookmarkFailure : public NSURLBookmarks
{
protected:
    ~NSURLBookmarkFailure() override { setMode(u"folder"_s, 0700); }

    void setMode(const QString &name, mode_t mode) const
    {
        EXPECT_EQ(::chmod(QFile::encodeName(path(name)).constData(), mode), 0);
    }

    /*! Waits until what is in a folder is remembered when it is searched. */
    void waitUntilSettled(const QString &name) const
    {
        struct stat folder = {};
        EXPECT_EQ(::stat(QFile::encodeName(path(name)).constData(), &folder), 0);
        EXPECT_TRUE(QTest::qWaitFor([&] { return ::time(nullptr) > folder.st_ctim.tv_sec + 2; }));
    }

    const QString file = newFile(u"folder/a.txt"_s);
    const QByteArray data = bookmark(file);
};

/*! The process can open no file more, from construction to destruction. */
class NoMoreFiles
{
public:
    NoMoreFiles()
    {
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &m_former), 0);
        const rlimit none{.rlim_cur = 0, .rlim_max = m_former.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    }
    ~NoMoreFiles() { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &m_former), 0); }
    NoMoreFiles(const NoMoreFiles &) = delete;
    NoMoreFiles &operator=(const NoMoreFiles &) = delete;

private:
    rlimit m_former = {};
};

} // namespace

TEST_F(NSURLBookmarkFailure, ToOpenFilesLeavesTheBookmarkItsPath)
{
    const NoMoreFiles noMoreFiles;
    EXPECT_EQ(resolved(data), file);
}

TEST_F(NSURLBookmarkFailure, ToOpenFilesDoesNotProveThatAnItemIsGone)
{
    EXPECT_TRUE(QFile::remove(file));
    {
        const NoMoreFiles noMoreFiles;
        EXPECT_EQ(resolved(data), file);
    }
    EXPECT_EQ(resolved(data), gone);
}

TEST_F(NSURLBookmarkFailure, ToLookIntoAFolderLeavesTheBookmarkItsPathAndAccessDoesNotStart)
{
    setMode(u"folder"_s, 0);
    EXPECT_TRUE(resultInUnprivilegedChild(path(u"."_s), [this] {
        return resolved(data) == file
               && !NSURL::startAccessingSecurityScopedResource(NSURL::fileURLWithPath(file));
    }));
}

TEST_F(NSURLBookmarkFailure, ToReadAFolderDoesNotProveThatARenamedItemIsGone)
{
    EXPECT_TRUE(QFile::rename(file, path(u"folder/b.txt"_s)));
    setMode(u"folder"_s, 0300);
    EXPECT_TRUE(resultInUnprivilegedChild(path(u"."_s), [this] { return resolved(data) == file; }));
    setMode(u"folder"_s, 0700);
    EXPECT_EQ(resolved(data), path(u"folder/b.txt"_s) + u" (stale)"_s);
}

TEST_F(NSURLBookmarkFailure, ToLookIntoTheOldHomeFolderDoesNotKeepTheItemInTheNewOneFromBeingFound)
{
    qputenv("HOME", newFolder(u"old/home"_s).toUtf8());
    const QByteArray inHome = bookmark(newFile(u"old/home/a.txt"_s));
    EXPECT_TRUE(QDir().rename(path(u"old/home"_s), path(u"home"_s)));
    qputenv("HOME", path(u"home"_s).toUtf8());
    setMode(u"old"_s, 0);
    EXPECT_TRUE(resultInUnprivilegedChild(
        path(u"."_s), [&] { return resolved(inHome) == path(u"home/a.txt"_s) + u" (stale)"_s; }));
    setMode(u"old"_s, 0700);
}

TEST_F(NSURLBookmarkFailure, ToSearchAFolderOfMoreThan250000EntriesDoesNotProveThatAnItemIsGone)
{
    constexpr int maximumEntryCount = 250'000;
    constexpr int namesPerFile = 50'000; // Some file systems allow 65,000.
    const QByteArray folder = QFile::encodeName(path(u"folder/"_s));
    QByteArray original;
    for (int i = 0; i < maximumEntryCount - 2; ++i) { // "." and ".." are two more.
        const QByteArray name = folder + QByteArray::number(i);
        if (i % namesPerFile == 0) {
            writeFile(QFile::decodeName(name), "contents");
            original = name;
        } else {
            ASSERT_EQ(::link(original.constData(), name.constData()), 0);
        }
    }
    EXPECT_TRUE(QFile::remove(file));
    EXPECT_EQ(resolved(data), gone);
    newFile(u"folder/one too many"_s);
    EXPECT_EQ(resolved(data), file);
    waitUntilSettled(u"folder"_s);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(resolved(data), file);
}

TEST_F(NSURLBookmarkFailure, ToFindAnItemInAFolderIsForgottenWhenTheFolderChanges)
{
    EXPECT_TRUE(QFile::rename(file, path(u"moved.txt"_s)));
    waitUntilSettled(u"folder"_s);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(resolved(data), gone);
    EXPECT_TRUE(QFile::rename(path(u"moved.txt"_s), path(u"folder/b.txt"_s)));
    waitUntilSettled(u"folder"_s);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(resolved(data), path(u"folder/b.txt"_s) + u" (stale)"_s);
}
