#include "Sandbox/FileURLSet.h"

#include "Platform/Foundation/NSURL.h"

#include <algorithm>
#include <iterator>

using namespace Marblewick;

void FileURLSet::insert(const QUrl &url)
{
    const QString path = NSURL::path(url);
    if (!m_urls.contains(path, url))
        m_urls.insert(path, url);
}

void FileURLSet::remove(const QUrl &url) { m_urls.remove(NSURL::path(url), url); }

bool FileURLSet::contains(const QUrl &url) const { return m_urls.contains(NSURL::path(url), url); }

std::optional<QUrl> FileURLSet::urlThatIsPrefixOfPath(const QString &path) const
{
    // Of the paths in order, the last one that is not behind `path` is the longest beginning of it, or
    // differs from it at some place. No beginning then reaches beyond that place, as it would lie between the
    // two.
    QString rest = path;
    while (!rest.isEmpty()) {
        const auto behind = m_urls.upperBound(rest);
        if (behind == m_urls.begin())
            return std::nullopt;
        const auto candidate = std::prev(behind);
        if (candidate.key().isEmpty())
            return std::nullopt;
        if (rest.startsWith(candidate.key()))
            return candidate.value();
        const auto difference = std::ranges::mismatch(rest, candidate.key()).in1;
        rest.truncate(difference - rest.cbegin());
    }
    return std::nullopt;
}

std::optional<QUrl> FileURLSet::urlThatMatches(const QUrl &url) const
{
    const QString path = NSURL::path(url);
    const auto [first, last] = m_urls.equal_range(path);
    return first != last && NSURL::fileURLWithPath(path) == url ? std::optional(first.value()) : std::nullopt;
}
