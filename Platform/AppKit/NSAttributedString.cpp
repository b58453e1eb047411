#include "Platform/AppKit/NSAttributedString.h"

#include "Platform/AppKit/RichText/RTFReader.h"
#include "Platform/Foundation/NSBundle.h"

namespace Marblewick {

namespace {

constexpr qint64 maximumFileSize = 4 * 1024 * 1024;

} // namespace

std::optional<NSAttributedString> NSAttributedString::initWithRTF(const QByteArray &data)
{
    if (!data.startsWith("{\\rtf"))
        return std::nullopt;
    return RTFReader(data).read();
}

std::optional<NSAttributedString> NSAttributedString::initWithContentsOfFile(const QString &path)
{
    const std::optional<QByteArray> data = NSBundle::contentsOfResourceAtPath(path, maximumFileSize);
    return data ? initWithRTF(*data) : std::nullopt;
}

} // namespace Marblewick
