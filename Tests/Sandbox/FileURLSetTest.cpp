#include "Sandbox/FileURLSet.h"

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <random>

using namespace Qt::StringLiterals;

namespace {

QUrl urlOf(const QString &path) { return QUrl::fromLocalFile(path); }

FileURLSet setOf(const QStringList &paths)
{
    FileURLSet set;
    for (const QString &path : paths)
        set.insert(urlOf(path));
    return set;
}

} // namespace

TEST(FileURLSet, HoldsAURLOnce)
{
    FileURLSet set = setOf({u"/maps"_s, u"/maps"_s});
    EXPECT_EQ(set.urls(), QList<QUrl>{urlOf(u"/maps"_s)});
    set.remove(urlOf(u"/maps"_s));
    EXPECT_FALSE(set.contains(urlOf(u"/maps"_s)));
}

TEST(FileURLSet, TellsURLsOfOnePathApart)
{
    const QUrl withSlash(u"file:///maps/"_s);
    FileURLSet set = setOf({u"/maps"_s});
    EXPECT_FALSE(set.contains(withSlash));
    set.insert(withSlash);
    set.remove(urlOf(u"/maps"_s));
    EXPECT_TRUE(set.contains(withSlash));
    EXPECT_FALSE(set.contains(urlOf(u"/maps"_s)));
}

TEST(FileURLSet, FindsAPrefixCharacterByCharacter)
{
    const FileURLSet set = setOf({u"/maps/of"_s, u"/maps/ofMars/north"_s, u"/maps/zoo"_s});
    EXPECT_EQ(set.urlThatIsPrefixOfPath(u"/maps/ofVenus"_s), urlOf(u"/maps/of"_s));
    EXPECT_EQ(set.urlThatIsPrefixOfPath(u"/maps/ofMars/south"_s), urlOf(u"/maps/of"_s));
    EXPECT_EQ(set.urlThatIsPrefixOfPath(u"/maps/of"_s), urlOf(u"/maps/of"_s));
    EXPECT_EQ(set.urlThatIsPrefixOfPath(u"/maps/o"_s), std::nullopt);
    EXPECT_EQ(set.urlThatIsPrefixOfPath(u"/Maps/of"_s), std::nullopt);
    EXPECT_EQ(set.urlThatIsPrefixOfPath(u""_s), std::nullopt);
}

TEST(FileURLSet, DoesNotTakeAnEmptyPathForAPrefix)
{
    FileURLSet set;
    set.insert(QUrl());
    EXPECT_EQ(set.urlThatIsPrefixOfPath(u"/maps"_s), std::nullopt);
}

TEST(FileURLSet, FindsAPrefixWhereverComparingOneByOneFindsOne)
{
    // Few letters, so that many paths are beginnings of others.
    std::mt19937 random(5);
    const auto randomPath = [&] {
        QString path = u"/a"_s;
        for (int left = std::uniform_int_distribution(0, 8)(random); left > 0; --left)
            path += u"ab/"[std::uniform_int_distribution(0, 2)(random)];
        return path + u'c';
    };
    int found = 0;
    for (int round = 0; round < 200; ++round) {
        FileURLSet set;
        QStringList paths;
        for (int i = 0; i < 20; ++i) {
            paths.append(randomPath());
            set.insert(urlOf(paths.last()));
        }
        for (int i = 0; i < 20; ++i) {
            const QString path = randomPath() + u"/more"_s;
            const bool isExpected = std::ranges::any_of(
                paths, [&](const QString &prefix) { return path.startsWith(prefix); });
            const std::optional<QUrl> url = set.urlThatIsPrefixOfPath(path);
            ASSERT_EQ(url.has_value(), isExpected) << qPrintable(path);
            ASSERT_TRUE(!url || path.startsWith(url->path())) << qPrintable(path);
            found += isExpected ? 1 : 0;
        }
    }
    EXPECT_GT(found, 100);
}

TEST(FileURLSet, MatchesAURLByThePathOfAMemberButNotAnotherSpellingOfTheURL)
{
    FileURLSet set;
    set.insert(QUrl(u"file:///maps/Iceland/"_s));
    EXPECT_EQ(set.urlThatMatches(urlOf(u"/maps/Iceland"_s)), QUrl(u"file:///maps/Iceland/"_s));
    EXPECT_EQ(set.urlThatMatches(QUrl(u"file:///maps/Iceland/"_s)), std::nullopt);
    EXPECT_EQ(set.urlThatMatches(urlOf(u"/maps/Ireland"_s)), std::nullopt);
}
