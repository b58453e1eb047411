#include <Marblewick/NSPredicate.h>

#include "Platform/Foundation/NSException.h"
#include "Tests/Platform/CoreData/BookmarkStore.h"

#include <gtest/gtest.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! Resolves its URL when it is asked for it, as a bookmark does. */
class ResolvingBookmark : public NSManagedObject
{
public:
    using NSManagedObject::NSManagedObject;

    QVariant valueForKey(const QString &key) override
    {
        return key == "resolvedURL"_L1 ? QVariant(QUrl(u"file:///resolved"_s))
                                       : NSManagedObject::valueForKey(key);
    }
};

class NSPredicateTest : public ::testing::Test
{
protected:
    bool hasPath(const QVariant &path)
    {
        return NSPredicate::predicateWithFormat(u"resolvedURL.path == %@"_s, path)
            .evaluateWithObject(m_bookmark);
    }
    bool isUnresolvable()
    {
        return NSPredicate::predicateWithFormat(u"isUnresolvable == YES"_s).evaluateWithObject(m_bookmark);
    }

    const std::shared_ptr<const NSManagedObjectModel> m_model = bookmarkModel();
    NSManagedObject m_bookmark{m_model->entities().first()};
};

} // namespace

TEST_F(NSPredicateTest, HoldsForABooleanThatIsYES)
{
    EXPECT_FALSE(isUnresolvable());
    m_bookmark.setValue(u"isUnresolvable"_s, true);
    EXPECT_TRUE(isUnresolvable());
    const auto isResolvable = NSPredicate::predicateWithFormat(u"isUnresolvable == NO"_s);
    EXPECT_FALSE(isResolvable.evaluateWithObject(m_bookmark));
}

TEST_F(NSPredicateTest, ABooleanThatIsNilIsNeitherYESNorNO)
{
    m_bookmark.setValue(u"isUnresolvable"_s, {});
    EXPECT_FALSE(isUnresolvable());
    EXPECT_FALSE(NSPredicate::predicateWithFormat(u"isUnresolvable == NO"_s).evaluateWithObject(m_bookmark));
}

TEST_F(NSPredicateTest, ComparesThePathOfAURL)
{
    m_bookmark.setValue(u"resolvedURL"_s, QUrl::fromLocalFile(u"/home/Käfer & Co"_s));
    EXPECT_TRUE(hasPath(u"/home/Käfer & Co"_s));
    EXPECT_FALSE(hasPath(u"/home"_s));
    EXPECT_FALSE(hasPath(u""_s));
}

TEST_F(NSPredicateTest, APathHasNoSlashAtItsEndButTheRootHas)
{
    m_bookmark.setValue(u"resolvedURL"_s, QUrl(u"file:///home/folder/"_s));
    EXPECT_TRUE(hasPath(u"/home/folder"_s));
    m_bookmark.setValue(u"resolvedURL"_s, QUrl(u"file:///"_s));
    EXPECT_TRUE(hasPath(u"/"_s));
}

TEST_F(NSPredicateTest, NilIsEqualToNilOnly)
{
    EXPECT_TRUE(hasPath({}));
    EXPECT_FALSE(hasPath(u""_s));
    m_bookmark.setValue(u"resolvedURL"_s, QUrl(u"file:///home"_s));
    EXPECT_FALSE(hasPath({}));
}

TEST_F(NSPredicateTest, AsksTheGetterOfTheRecordClass)
{
    ResolvingBookmark bookmark(m_model->entities().first());
    EXPECT_TRUE(NSPredicate::predicateWithFormat(u"resolvedURL.path == %@"_s, u"/resolved"_s)
                    .evaluateWithObject(bookmark));
}

TEST_F(NSPredicateTest, AnotherFormatRaisesAnException)
{
    for (const QString &format :
         {u""_s, u"isUnresolvable"_s, u"isUnresolvable != YES"_s, u"a == YES OR b == YES"_s,
          u"a.b.path == %@"_s, u"a == %d"_s, u"a == YES\n"_s})
        EXPECT_THROW(NSPredicate::predicateWithFormat(format), NSException) << format.toStdString();
}

TEST_F(NSPredicateTest, AnAttributeThatTheObjectDoesNotHaveRaisesAnException)
{
    const auto predicate = NSPredicate::predicateWithFormat(u"title == %@"_s, u"a"_s);
    EXPECT_THROW(predicate.evaluateWithObject(m_bookmark), NSException);
}
