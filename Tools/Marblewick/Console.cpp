#include "Tools/Marblewick/Console.h"

#include <Marblewick/NSData+MBWExtensions.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSString.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <vector>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

QString systemText(int code) { return QString::fromStdString(std::generic_category().message(code)); }

QByteArray escaped(const std::string &name)
{
    return QByteArray::fromStdString(name).replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r");
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

bool readInput(const std::string &fileName, const std::function<void(QByteArrayView piece)> &take,
               size_t maximumSize)
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
    while (const size_t count = std::fread(piece.data(), 1, std::min(piece.size(), maximumSize), file)) {
        take({piece.data(), static_cast<qsizetype>(count)});
        maximumSize -= count;
    }
    if (std::ferror(file)) {
        complainAbout(fileName, systemText(errno));
        return false;
    }
    return true;
}

bool finishOutput()
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return true;
    complain(u"standard output: "_s + systemText(errno));
    return false;
}
