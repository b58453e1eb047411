#pragma once

#include <QList>
#include <QString>
#include <QUrl>

#include <map>
#include <optional>

/*! A set of file URLs, as equal as their texts are. What it is asked by path takes a few comparisons, however
    many URLs it holds.
*/
class FileURLSet
{
public:
    void insert(const QUrl &url);
    void remove(const QUrl &url);
    bool contains(const QUrl &url) const;

    /*! A URL in the set whose path, which is not empty, is what `path` begins with, character by character.
     */
    std::optional<QUrl> urlThatIsPrefixOfPath(const QString &path) const;

    /*! A URL in the set for whose path fileURLWithPath() makes `url`. */
    std::optional<QUrl> urlThatMatches(const QUrl &url) const;

    /*! All of them, in the order of their paths. */
    QList<QUrl> urls() const;

private:
    std::multimap<QString, QUrl> m_urls; ///< by path
};
