#include "Platform/Foundation/NSURL.h"

#include "Platform/Foundation/NSFileManager.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Marblewick::NSURL {

namespace {

bool isASCII(QStringView text)
{
    return std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; });
}

/*! What follows the scheme and the authority of a URL, of which either may be missing. */
QStringView behindAuthority(QStringView text)
{
    const auto endsAuthority = [](QChar c) { return c == u'/' || c == u'?' || c == u'#'; };
    const auto endsScheme = [&](QChar c) { return c == u':' || endsAuthority(c); };
    const auto *const end = std::ranges::find_if(text, endsScheme);
    const bool hasScheme = end != text.end() && *end == u':';
    const QStringView rest = hasScheme ? QStringView(end + 1, text.end()) : text;
    return rest.startsWith(u"//")
               ? QStringView(std::find_if(rest.begin() + 2, rest.end(), endsAuthority), rest.end())
               : rest;
}

/*! Whether square brackets occur in the authority only, where they hold an IP address, and no more than one
    "#" begins a fragment. QUrl lets both pass, and characters beyond ASCII; the rest its strict mode refuses.
*/
bool hasDelimitersInPlace(QStringView text)
{
    int fragments = 0;
    return std::ranges::none_of(behindAuthority(text), [&](QChar c) {
        return c == u'[' || c == u']' || (c == u'#' && ++fragments > 1);
    });
}

} // namespace

std::optional<QUrl> URLWithString(const QString &text)
{
    if (text.isEmpty() || !isASCII(text) || !hasDelimitersInPlace(text))
        return std::nullopt;
    std::optional<QUrl> url(std::in_place, text, QUrl::StrictMode);
    if (!url->isValid())
        url.reset();
    return url;
}

QUrl fileURLWithPath(const QString &path)
{
    static const QUrl withoutPath = [] {
        QUrl url;
        url.setScheme(u"file"_s);
        url.setHost(QString()); // setPath() would take two slashes at the beginning for one
        return url;
    }();
    QUrl url = withoutPath;
    if (!path.isValidUtf16()) {
        const QByteArray bytes = NSFileManager::fileSystemRepresentationWithPath(path);
        url.setPath(QString::fromLatin1(bytes.toPercentEncoding("!$&'()*+,/:;=@[]")), QUrl::TolerantMode);
    } else if (path.contains(u'%')) {
        url.setPath(path, QUrl::DecodedMode);
    } else {
        url.setPath(path, QUrl::TolerantMode); // the same, quicker
    }
    return url;
}

QString path(const QUrl &url)
{
    // In this form every "%" begins an escape, also that of a byte which is not UTF-8.
    QString path = url.path(QUrl::PrettyDecoded);
    if (path.contains(u'%'))
        path = NSFileManager::stringWithFileSystemRepresentation(
            QByteArray::fromPercentEncoding(NSFileManager::fileSystemRepresentationWithPath(path)));
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

QUrl URLByDeletingLastPathComponent(const QUrl &url)
{
    return url.adjusted(QUrl::StripTrailingSlash).adjusted(QUrl::RemoveFilename);
}

} // namespace Marblewick::NSURL
