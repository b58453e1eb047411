#include "Platform/Foundation/NSURL.h"

#include "Platform/Foundation/NSFileManager.h"

#include <algorithm>
#include <array>
#include <string_view>

using namespace Qt::StringLiterals;

namespace Marblewick::NSURL {

namespace {

bool isHexDigit(QChar c)
{
    return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

/*! Unreserved and reserved characters of RFC 3986, 2.2 and 2.3, by their ASCII code. */
constexpr auto urlCharacters = [] {
    std::array<bool, 128> table{};
    for (const char c : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                         "-._~:/?#[]@!$&'()*+,;="))
        table[static_cast<unsigned char>(c)] = true;
    return table;
}();

bool isURLCharacter(QChar c) { return c.unicode() < urlCharacters.size() && urlCharacters[c.unicode()]; }

bool holdsOnlyURLCharacters(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'%') {
            if (i + 2 >= text.size() || !isHexDigit(text[i + 1]) || !isHexDigit(text[i + 2]))
                return false;
            i += 2;
        } else if (!isURLCharacter(text[i])) {
            return false;
        }
    }
    return true;
}

/*! Whether square brackets occur in the authority only, where they hold an IP address, and no more than one
    "#" begins a fragment. QUrl lets both pass.
*/
bool hasDelimitersInPlace(QStringView text)
{
    const qsizetype slashes = text.indexOf(u"//");
    const bool hasAuthority = slashes == 0 || (slashes > 0 && text.indexOf(u':') == slashes - 1);
    const auto endsAuthority = [](QChar c) { return c == u'/' || c == u'?' || c == u'#'; };
    const auto rest = hasAuthority ? std::find_if(text.begin() + slashes + 2, text.end(), endsAuthority)
                                   : text.begin();
    return std::none_of(rest, text.end(), [](QChar c) { return c == u'[' || c == u']'; })
           && text.count(u'#') <= 1;
}

} // namespace

std::optional<QUrl> URLWithString(const QString &text)
{
    if (text.isEmpty() || !holdsOnlyURLCharacters(text) || !hasDelimitersInPlace(text))
        return std::nullopt;
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() ? std::optional(url) : std::nullopt;
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
