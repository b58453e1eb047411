#include "Sandbox/FileURLSet.h"

#include "Platform/Foundation/NSURL.h"

#include <algorithm>
#include <iterator>

using namespace Marblewick;

namespace {

/*! The place of a URL among those of its path; where it is not there, the end of these. */
template <typename URLsByPath>
auto find(URLsByPath &urls, const QUrl &url, const QString &path)
{
    auto place = urls.lower_bound(path);
    for (; place != urls.end() && place->first == path; ++place) {
        if (place->second == url)
            return std::pair(place, true);
    }
    return std::pair(place, false);
}

} // namespace

void FileURLSet::insert(const QUrl &url)
{
    const QString path = NSURL::path(url);
    const auto [place, isThere] = find(m_urls, url, path);
    if (!isThere)
        m_urls.emplace_hint(place, path, url);
}

void FileURLSet::remove(const QUrl &url)
{
    const auto [place, isThere] = find(m_urls, url, NSURL::path(url));
    if (isThere)
        m_urls.erase(place);
}

bool FileURLSet::contains(const QUrl &url) const { return find(m_urls, url, NSURL::path(url)).second; }

std::optional<QUrl> FileURLSet::urlThatIsPrefixOfPath(const QString &path) const
{
    // Of the paths in order, the last one that is not behind `path` is the longest beginning of it, or
    // differs from it at some place. No beginning then reaches beyond that place, as it would lie between the
    // two.
    QString rest = path;
    while (!rest.isEmpty()) {
        const auto behind = m_urls.upper_bound(rest);
        if (behind == m_urls.begin())
            return std::nullopt;
        const auto &[candidate, url] = *std::prev(behind);
        if (candidate.isEmpty())
            return std::nullopt;
        if (rest.startsWith(candidate))
            return url;
        const auto difference = std::ranges::mismatch(rest, candidate).in1;
        rest.truncate(difference - rest.cbegin());
    }
    return std::nullopt;
}

std::optional<QUrl> FileURLSet::urlThatMatches(const QUrl &url) const
{
    const QString path = NSURL::path(url);
    const auto member = m_urls.find(path);
    return member != m_urls.end() && NSURL::fileURLWithPath(path) == url ? std::optional(member->second)
                                                                         : std::nullopt;
}

QList<QUrl> FileURLSet::urls() const
{
    QList<QUrl> urls;
    for (const auto &[path, url] : m_urls)
        urls.append(url);
    return urls;
}
