#include "Tests/Platform/Foundation/BookmarkTest.h"

#include <Marblewick/NSURL.h>

#include "Tests/Support/TemporaryHome.h"

#include <QDir>
#include <QFile>
#include <QtEndian>

#include <linux/magic.h>
#include <sys/vfs.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

const QString gone = u"The bookmarked item is not there any more."_s;

QByteArray bookmark(const QString &path)
{
    NSError error;
    const auto data = NSURL::bookmarkDataWithOptions(NSURL::fileURLWithPath(path),
                                                     NSURLBookmarkCreationWithSecurityScope, &error);
    EXPECT_TRUE(data) << qPrintable(error.description());
    return data.value_or(QByteArray());
}

QString resolved(const QByteArray &data)
{
    NSError error;
    bool isStale = false;
    const auto url = NSURL::URLByResolvingBookmarkData(data, quietly, &isStale, &error);
    if (!url)
        return error.localizedDescription();
    return NSURL::path(*url) + (isStale ? u" (stale)"_s : QString());
}

QByteArray sealed(QByteArray bytes)
{
    quint64 sum = 14695981039346656037U; // FNV-1a
    for (const char byte : bytes) {
        sum ^= static_cast<uchar>(byte);
        sum *= 1099511628211U;
    }
    sum = qToBigEndian(sum);
    return bytes.append(reinterpret_cast<const char *>(&sum), sizeof sum);
}

void saveAtomically(const QString &path, const QByteArray &contents)
{
    writeFile(path + u".new"_s, contents);
    EXPECT_EQ(::rename(QFile::encodeName(path + u".new"_s).constData(), QFile::encodeName(path).constData()),
              0);
}

QString NSURLBookmarks::newFile(const QString &name, const QByteArray &contents) const
{
    writeFile(path(name), contents);
    return path(name);
}

QString NSURLBookmarks::newFolder(const QString &name) const
{
    EXPECT_TRUE(QDir().mkpath(path(name)));
    return path(name);
}

QString NSURLBookmarks::folder()
{
    struct statfs status = {};
    ::statfs(QFile::encodeName(QDir::tempPath()).constData(), &status);
    return status.f_type == OVERLAYFS_SUPER_MAGIC ? u"/dev/shm"_s : QDir::tempPath();
}

} // namespace Marblewick
