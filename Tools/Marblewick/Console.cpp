#include "Tools/Marblewick/Console.h"

#include <Marblewick/NSData+MBWExtensions.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSString.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr qsizetype mebibyte = 1024 * 1024;

QString systemText(int code) { return QString::fromStdString(std::generic_category().message(code)); }

QByteArray escaped(const std::string &name)
{
    return QByteArray::fromStdString(name).replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r");
}

/*! Writes all of the bytes to an open file. 0 or an errno value. */
int writeAll(int file, QByteArrayView contents)
{
    while (!contents.isEmpty()) {
        const ssize_t count = ::write(file, contents.data(), static_cast<size_t>(contents.size()));
        if (count < 0 && errno != EINTR)
            return errno;
        contents = contents.sliced(std::max<ssize_t>(count, 0));
    }
    return ::fsync(file) == 0 ? 0 : errno;
}

/*! Puts a new file in the place of one, or of what a symbolic link leads to, with the mode that it had or
   that the umask gives. 0 or an errno value.
*/
int replaceFile(const std::string &fileName, QByteArrayView contents)
{
    const std::unique_ptr<char, void (*)(void *)> resolved(::realpath(fileName.c_str(), nullptr), std::free);
    const std::string target = resolved ? resolved.get() : fileName;
    struct stat former = {};
    const bool exists = ::stat(target.c_str(), &former) == 0;
    std::string temporary = target + ".XXXXXX";
    const int file = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (file < 0)
        return errno;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(file, exists ? former.st_mode & 0777 : 0666 & ~mask);
    int failure = writeAll(file, contents);
    ::close(file);
    if (failure == 0 && std::rename(temporary.c_str(), target.c_str()) != 0)
        failure = errno;
    if (failure != 0)
        ::unlink(temporary.c_str());
    return failure;
}

} // namespace

void printDigest(const QByteArray &digest, const std::string &name)
{
    const QByteArray printedName = escaped(name);
    const char *const mark = printedName == name.c_str() ? "" : "\\";
    std::printf("%s%s  %s\n", mark, qPrintable(MBWExtensions::hexadecimalString(digest)),
                printedName.constData());
}

void complain(const QString &text)
{
    const QString line = u"marblewick: "_s + NSString::escapingControlCharacters(text) + u'\n';
    std::fputs(qUtf8Printable(line), stderr);
}

void complainAbout(const std::string &fileName, const QString &reason)
{
    complain(NSFileManager::stringWithFileSystemRepresentation(fileName) + u": "_s + reason);
}

bool readInput(const std::string &fileName, const std::function<bool(QByteArrayView piece)> &take)
{
    const bool isStandardInput = fileName == "-";
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> opened(
        isStandardInput ? nullptr : std::fopen(fileName.c_str(), "rb"), std::fclose);
    std::FILE *const file = isStandardInput ? stdin : opened.get();
    if (!file) {
        complainAbout(fileName, systemText(errno));
        return false;
    }
    std::vector<char> piece(128 * 1024);
    while (const size_t count = std::fread(piece.data(), 1, piece.size(), file)) {
        if (!take({piece.data(), static_cast<qsizetype>(count)}))
            return true;
    }
    if (std::ferror(file)) {
        complainAbout(fileName, systemText(errno));
        return false;
    }
    return true;
}

std::optional<QByteArray> readWholeInput(const std::string &fileName, qsizetype maximumSize)
{
    QByteArray contents;
    const bool isRead = readInput(fileName, [&](QByteArrayView piece) {
        contents += piece;
        return contents.size() <= maximumSize;
    });
    if (!isRead)
        return std::nullopt;
    if (contents.size() > maximumSize) {
        complainAbout(fileName, u"larger than %1 MiB"_s.arg(maximumSize / mebibyte));
        return std::nullopt;
    }
    return contents;
}

bool writeOutput(const std::string &fileName, QByteArrayView contents)
{
    if (fileName == "-") {
        std::fwrite(contents.data(), 1, static_cast<size_t>(contents.size()), stdout);
        return true; // finishOutput() says whether it arrived.
    }
    const QString path = NSFileManager::stringWithFileSystemRepresentation(fileName);
    const auto *const files = NSFileManager::defaultManager();
    if (files->fileExistsAtPath(path) && !files->isRegularFileAtPath(path)) {
        complainAbout(fileName, u"no regular file"_s);
        return false;
    }
    const int failure = replaceFile(fileName, contents);
    if (failure != 0)
        complainAbout(fileName, systemText(failure));
    return failure == 0;
}

bool finishOutput()
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return true;
    complain(u"standard output: "_s + systemText(errno));
    return false;
}
