#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <array>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr int foreignEntries = 100'000;
constexpr int goneItems = 10'000;
constexpr int times = 2'000; ///< how often a measurement does what takes microseconds

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void create(const QString &path)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly));
}

/*! All that the system has to say about what an item is. */
void identify(const QByteArray &path, int flags)
{
    const int item = ::open(path.constData(), O_PATH | O_CLOEXEC | flags);
    struct statx status = {};
    struct statfs fileSystem = {};
    alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> handle = {};
    reinterpret_cast<file_handle *>(handle.data())->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    require(::statx(item, "", AT_EMPTY_PATH, STATX_TYPE | STATX_INO | STATX_BTIME, &status) == 0);
    require(::fstatfs(item, &fileSystem) == 0);
    // Not every file system has handles.
    ::name_to_handle_at(item, "", reinterpret_cast<file_handle *>(handle.data()), &mount, AT_EMPTY_PATH);
    ::close(item);
}

/*! The name of the entry of a folder that has that number. */
QByteArray search(const QByteArray &folder, ino_t number)
{
    DIR *const entries = ::opendir(folder.constData());
    QByteArray name;
    while (name.isEmpty()) {
        const dirent *entry = ::readdir(entries);
        require(entry != nullptr);
        if (entry->d_ino == number)
            name = entry->d_name;
    }
    ::closedir(entries);
    return name;
}

QByteArray bookmark(const QUrl &url)
{
    const auto data = NSURL::bookmarkDataWithOptions(url, NSURLBookmarkCreationWithSecurityScope);
    require(data.has_value());
    return *data;
}

void resolve(const QByteArray &data, const QUrl &expected)
{
    require(NSURL::URLByResolvingBookmarkData(data, NSURLBookmarkResolutionWithSecurityScope) == expected);
}

double microsecondsOf(const std::function<void()> &work)
{
    return 1e6 / times * secondsOf([&] {
               for (int i = 0; i < times; ++i)
                   work();
           });
}

void compareWithoutSearch(const QString &path)
{
    const QUrl url = NSURL::fileURLWithPath(path);
    const QByteArray file = path.toUtf8();
    const QByteArray folder = file.left(file.lastIndexOf('/'));
    const Comparison creation{.ours = [&] { return microsecondsOf([&] { bookmark(url); }); },
                              .peer =
                                  [&] {
                                      return microsecondsOf([&] {
                                          identify(file, O_NOFOLLOW);
                                          identify(folder, O_DIRECTORY);
                                      });
                                  }};
    printRatio("make a bookmark / its system calls", creation.run(), "us", "at most 1.5");

    const QByteArray data = bookmark(url);
    const Comparison hit{.ours = [&] { return microsecondsOf([&] { resolve(data, url); }); },
                         .peer = [&] { return microsecondsOf([&] { identify(file, O_NOFOLLOW); }); }};
    printRatio("resolve a bookmark / its system calls", hit.run(), "us", "at most 1.5");
}

void compareSearch(const QString &folder)
{
    for (int i = 0; i < foreignEntries; ++i)
        create(folder + u"/foreign %1"_s.arg(i));
    const QString oldPath = folder + u"/old"_s;
    const QString newPath = folder + u"/new"_s;
    create(oldPath);
    const QByteArray data = bookmark(NSURL::fileURLWithPath(oldPath));
    require(QFile::rename(oldPath, newPath));
    struct stat status = {};
    require(::stat(newPath.toUtf8().constData(), &status) == 0);

    const QUrl url = NSURL::fileURLWithPath(newPath);
    const QByteArray name = folder.toUtf8();
    const Comparison rename{
        .ours = [&] { return 1e3 * secondsOf([&] { resolve(data, url); }); },
        .peer = [&] { return 1e3 * secondsOf([&] { require(search(name, status.st_ino) == "new"); }); }};
    printRatio("find a renamed file among 100,000 / readdir", rename.run(), "ms", "at most 1.1");
}

/*! Resolves the bookmarks of items that were deleted from a folder with many others, beside looking for each
   item and its folder, and reading the folder once.
*/
void compareGoneItems(const QString &folder)
{
    std::vector<QString> paths;
    std::vector<QByteArray> bookmarks;
    for (int i = 0; i < goneItems; ++i) {
        paths.push_back(folder + u"/gone %1"_s.arg(i));
        create(paths.back());
        bookmarks.push_back(bookmark(NSURL::fileURLWithPath(paths.back())));
    }
    for (const QString &path : paths)
        require(QFile::remove(path));
    QThread::sleep(4); // An application that is launched finds a folder that has not just changed.

    const QByteArray name = folder.toUtf8();
    const Comparison launch{.ours =
                                [&] {
                                    return 1e3 * secondsOf([&] {
                                               for (const QByteArray &data : bookmarks)
                                                   require(!NSURL::URLByResolvingBookmarkData(data, {}));
                                           });
                                },
                            .peer =
                                [&] {
                                    return 1e3 * secondsOf([&] {
                                               for (const QString &path : paths) {
                                                   require(::access(path.toUtf8().constData(), F_OK) != 0);
                                                   identify(name, O_DIRECTORY);
                                               }
                                               struct stat status = {};
                                               require(::stat((name + "/new").constData(), &status) == 0);
                                               search(name, status.st_ino);
                                           });
                                }};
    printRatio("10,000 gone items of a folder of 100,000 / its system calls", launch.run(), "ms",
               "at most 3");
}

} // namespace

void benchmarkBookmarks()
{
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    const QString file = home.path() + u"/a file of ordinary name.txt"_s;
    create(file);
    compareWithoutSearch(file);
    compareSearch(home.path());
    compareGoneItems(home.path());
}
