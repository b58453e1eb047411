#include "Platform/Foundation/NSFileManager.h"

#include "Platform/Foundation/NSFileHandle.h"

#include <QByteArrayList>
#include <QScopeGuard>
#include <QStringConverter>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace Marblewick {

namespace {

constexpr char16_t firstByteSurrogate = 0xdc80;
constexpr char16_t lastByteSurrogate = 0xdcff;

bool isByteSurrogate(QChar c)
{
    return c.unicode() >= firstByteSurrogate && c.unicode() <= lastByteSurrogate;
}

void set(NSError *error, int code, const QString &path)
{
    if (error)
        *error = NSError::posixError(code, path);
}

NSFileType fileType(mode_t mode)
{
    if (S_ISREG(mode))
        return NSFileType::Regular;
    if (S_ISDIR(mode))
        return NSFileType::Directory;
    return S_ISLNK(mode) ? NSFileType::SymbolicLink : NSFileType::Other;
}

bool isDirectory(const QByteArray &name)
{
    struct stat status = {};
    return ::stat(name.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

NSDate date(const statx_timestamp &time)
{
    return {static_cast<double>(time.tv_sec) - NSTimeIntervalSince1970
            + static_cast<double>(time.tv_nsec) * 1e-9};
}

std::optional<NSFileAttributes> attributes(const QString &path, int flags, NSError *error)
{
    struct statx status = {};
    const QByteArray name = NSFileManager::fileSystemRepresentationWithPath(path);
    if (::statx(AT_FDCWD, name.constData(), flags, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
        set(error, errno, path);
        return std::nullopt;
    }
    const bool hasCreationDate = (status.stx_mask & STATX_BTIME) != 0;
    return NSFileAttributes{fileType(status.stx_mode),
                            static_cast<qint64>(status.stx_size),
                            date(hasCreationDate ? status.stx_btime : status.stx_mtime),
                            date(status.stx_mtime),
                            makedev(status.stx_dev_major, status.stx_dev_minor),
                            status.stx_ino};
}

/*! Calls `visit` for each entry of a folder but "." and "..". Returns the errno value of what broke the
    listing off, or 0.
*/
template <typename Visitor>
int list(const QByteArray &name, const Visitor &visit)
{
    DIR *const folder = ::opendir(name.constData());
    if (!folder)
        return errno;
    const auto closing = qScopeGuard([folder] { ::closedir(folder); });
    for (;;) {
        errno = 0;
        const dirent *entry = ::readdir(folder);
        if (!entry)
            return errno;
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            visit(*entry);
    }
}

/*! Whether an entry of a folder, whose path ends with a slash, is a folder too and no link to one. Not every
    file system says so in its listing.
*/
bool isFolder(const dirent &entry, const QByteArray &folder)
{
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    struct stat status = {};
    return ::lstat((folder + entry.d_name).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

/*! Text from valid UTF-8. QString::fromUtf8(), which is quicker, drops a byte order mark: in a name it is a
    character like any other.
*/
QString decoded(QByteArrayView utf8)
{
    if (!utf8.startsWith("\xef\xbb\xbf"))
        return QString::fromUtf8(utf8);
    return QStringDecoder(QStringConverter::Utf8, QStringConverter::Flag::ConvertInitialBom)(utf8);
}

/*! Length of the valid UTF-8 sequence that `bytes` begins with, or 0. */
qsizetype validSequenceLength(QByteArrayView bytes)
{
    for (qsizetype length = 1; length <= qMin<qsizetype>(4, bytes.size()); ++length) {
        if (bytes.first(length).isValidUtf8())
            return length;
    }
    return 0;
}

} // namespace

NSFileManager *NSFileManager::defaultManager()
{
    static NSFileManager manager;
    return &manager;
}

QString NSFileManager::stringWithFileSystemRepresentation(QByteArrayView bytes)
{
    if (bytes.isValidUtf8())
        return decoded(bytes);
    QString path;
    while (!bytes.isEmpty()) {
        const qsizetype length = validSequenceLength(bytes);
        if (length > 0)
            path += decoded(bytes.first(length));
        else
            path += QChar(static_cast<char16_t>(0xdc00 + static_cast<uchar>(bytes.front())));
        bytes = bytes.sliced(qMax<qsizetype>(1, length));
    }
    return path;
}

QByteArray NSFileManager::fileSystemRepresentationWithPath(const QString &path)
{
    if (path.contains(QChar(0)))
        return {}; // The system would take what is before it for the whole name.
    QByteArray bytes;
    qsizetype start = 0;
    for (qsizetype i = 0; i < path.size(); ++i) {
        // The low half of a proper pair lies in the same range; only an unpaired one stands for a byte.
        const bool isUnpaired = i == 0 || !path[i - 1].isHighSurrogate();
        if (!isByteSurrogate(path[i]) || !isUnpaired)
            continue;
        bytes += QStringView(path).sliced(start, i - start).toUtf8();
        bytes += static_cast<char>(path[i].unicode() - 0xdc00);
        start = i + 1;
    }
    return bytes += QStringView(path).sliced(start).toUtf8();
}

bool NSFileManager::enumerateContentsOfDirectoryAtPath(const QString &path,
                                                       const std::function<void(QByteArrayView name)> &visit,
                                                       NSError *error) const
{
    const int failure = list(fileSystemRepresentationWithPath(path),
                             [&](const dirent &entry) { visit(QByteArrayView(entry.d_name)); });
    if (failure != 0)
        set(error, failure, path);
    return failure == 0;
}

void NSFileManager::enumerateSubpathsAtPath(
    const QString &path, const std::function<void(QByteArrayView relativePath)> &visit) const
{
    const QByteArray top = fileSystemRepresentationWithPath(path);
    if (top.isEmpty())
        return; // With the slash added below it would name the root.
    // A folder is closed before its subfolders are opened: one open at each depth would use up the process's
    // files.
    QByteArrayList pending{{}};
    while (!pending.isEmpty()) {
        const QByteArray subfolder = pending.takeLast();
        const QByteArray folder = top + '/' + subfolder;
        list(folder, [&](const dirent &entry) {
            const QByteArray item = subfolder + entry.d_name;
            visit(item);
            if (isFolder(entry, folder))
                pending.append(item + '/');
        });
    }
}

std::optional<NSFileAttributes> NSFileManager::attributesOfItemAtPath(const QString &path,
                                                                      NSError *error) const
{
    return attributes(path, AT_SYMLINK_NOFOLLOW, error);
}

std::optional<NSFileAttributes> NSFileManager::attributesOfResolvedItemAtPath(const QString &path,
                                                                              NSError *error) const
{
    return attributes(path, 0, error);
}

std::optional<QString> NSFileManager::destinationOfSymbolicLinkAtPath(const QString &path,
                                                                      NSError *error) const
{
    std::array<char, PATH_MAX> destination;
    const ssize_t length = ::readlink(fileSystemRepresentationWithPath(path).constData(), destination.data(),
                                      destination.size());
    if (length < 0) {
        set(error, errno, path);
        return std::nullopt;
    }
    return stringWithFileSystemRepresentation(QByteArrayView(destination.data(), length));
}

bool NSFileManager::fileExistsAtPath(const QString &path, bool *isDirectory) const
{
    const auto item = attributesOfResolvedItemAtPath(path);
    if (isDirectory)
        *isDirectory = item && item->type == NSFileType::Directory;
    return item.has_value();
}

bool NSFileManager::isRegularFileAtPath(const QString &path) const
{
    struct stat status = {};
    return ::stat(fileSystemRepresentationWithPath(path).constData(), &status) == 0
           && S_ISREG(status.st_mode);
}

std::optional<QByteArray> NSFileManager::contentsAtPath(const QString &path, qint64 maximumSize,
                                                        NSError *error) const
{
    const auto tooLarge = [&] {
        set(error, EFBIG, path);
        return std::nullopt;
    };
    const auto file = NSFileHandle::fileHandleForReadingAtPath(path, error);
    if (!file)
        return std::nullopt;
    if (file->size() > maximumSize)
        return tooLarge();

    // The size is a hint only: a log may still grow, and files of /proc say 0, some of which give what they
    // have to the first read alone. One byte more than the hint tells the end from a file that grew.
    constexpr qint64 page = 4096;
    QByteArray contents;
    qsizetype filled = 0;
    contents.resize(qMax(file->size() + 1, page));
    for (;;) {
        const auto room = std::span(contents.data(), static_cast<size_t>(contents.size()));
        const std::optional<qint64> count = file->readInto(room.subspan(static_cast<size_t>(filled)), error);
        if (!count)
            return std::nullopt;
        filled += *count;
        if (filled > maximumSize)
            return tooLarge();
        if (*count == 0)
            break;
        if (filled == contents.size())
            contents.resize(contents.size() * 2);
    }
    contents.truncate(filled);
    return contents;
}

bool NSFileManager::createFileAtPath(const QString &path, QByteArrayView contents, NSError *error) const
{
    const QByteArray name = fileSystemRepresentationWithPath(path);
    const int file = ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) {
        set(error, errno, path);
        return false;
    }
    ::fchmod(file, 0600); // The umask may have taken even the user's own rights.
    int failure = 0;
    while (!contents.isEmpty() && failure == 0) {
        const ssize_t count = ::write(file, contents.data(), static_cast<size_t>(contents.size()));
        if (count >= 0)
            contents = contents.sliced(count);
        else if (errno != EINTR)
            failure = errno;
    }
    if (::close(file) != 0 && failure == 0 && errno != EINTR)
        failure = errno;
    if (failure != 0) {
        ::unlink(name.constData());
        set(error, failure, path);
    }
    return failure == 0;
}

bool NSFileManager::createDirectoryAtPath(const QString &path, NSError *error) const
{
    const QByteArray name = fileSystemRepresentationWithPath(path);
    if (isDirectory(name))
        return true;
    for (qsizetype slash = name.indexOf('/', 1); slash > 0; slash = name.indexOf('/', slash + 1))
        ::mkdir(name.left(slash).constData(), 0700); // What fails here fails once more below.
    if (::mkdir(name.constData(), 0700) == 0)
        return true;
    const int failure = errno;
    if (isDirectory(name))
        return true; // Another process was quicker, or a slash ends the path.
    set(error, failure, path);
    return false;
}

bool NSFileManager::removeItemAtPath(const QString &path, NSError *error) const
{
    const QByteArray name = fileSystemRepresentationWithPath(path);
    if (::unlink(name.constData()) == 0)
        return true;
    std::error_code failure(errno, std::generic_category());
    if (failure.value() == EISDIR) {
        failure.clear();
        std::filesystem::remove_all(name.toStdString(), failure);
    }
    if (failure)
        set(error, failure.value(), path);
    return !failure;
}

} // namespace Marblewick
