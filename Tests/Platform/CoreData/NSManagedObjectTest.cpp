#include "Platform/Foundation/NSException.h"
#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

class Bookmark : public NSManagedObject
{
public:
    using NSManagedObject::NSManagedObject;
};

class NSManagedObjectTest : public ::testing::Test
{
protected:
    TemporaryHome m_home;
    const QString m_path = m_home.path() + u"/store"_s;
    BookmarkStore m_store{m_path};
};

} // namespace

TEST_F(NSManagedObjectTest, HasTheDefaultValuesAtFirst)
{
    const NSManagedObject *const bookmark = m_store.insert(u"file:///a"_s);
    for (const QString &key : {u"isDirectory"_s, u"isReadOnly"_s, u"isUnresolvable"_s})
        EXPECT_EQ(bookmark->value(key), QVariant(false)) << key.toStdString();
    for (const QString &key : {u"data"_s, u"resolvedURL"_s})
        EXPECT_FALSE(bookmark->value(key).isValid()) << key.toStdString();
}

TEST_F(NSManagedObjectTest, IsOfTheClassThatIsRegisteredUnderTheNameInTheModel)
{
    m_store.insert(u"file:///plain"_s);
    NSManagedObject::registerClass<Bookmark>(u"MBWSandboxPersistedBookmark"_s);
    EXPECT_TRUE(dynamic_cast<Bookmark *>(m_store.insert(u"file:///a"_s)));
    ASSERT_TRUE(m_store.save());

    BookmarkStore again(m_path);
    const QList<NSManagedObject *> fetched = again.bookmarks();
    ASSERT_EQ(fetched.size(), 2);
    for (NSManagedObject *bookmark : fetched)
        EXPECT_TRUE(dynamic_cast<Bookmark *>(bookmark));
}

TEST_F(NSManagedObjectTest, IsAPlainOneWhereNobodyRegisteredItsClass)
{
    NSManagedObject *const bookmark = m_store.insert(u"file:///a"_s);
    EXPECT_EQ(typeid(*bookmark), typeid(NSManagedObject));
    EXPECT_EQ(bookmark->entity().name(), u"Bookmark"_s);
}

TEST_F(NSManagedObjectTest, AnEqualValueIsNoChange)
{
    NSManagedObject *const bookmark = m_store.insert(u"file:///a"_s);
    ASSERT_TRUE(m_store.save());
    bookmark->setValue(u"urlString"_s, u"file:///a"_s);
    bookmark->setValue(u"isUnresolvable"_s, false);
    EXPECT_FALSE(m_store.context().hasChanges());
    bookmark->setValue(u"urlString"_s, u"file:///b"_s);
    EXPECT_TRUE(m_store.context().hasChanges());
    EXPECT_TRUE(m_store.save());
    EXPECT_FALSE(m_store.context().hasChanges());
}

TEST_F(NSManagedObjectTest, ATransientValueIsNoChangeAndLivesInMemoryOnly)
{
    const QUrl url(u"file:///a"_s);
    NSManagedObject *const bookmark = m_store.insert(u"file:///a"_s);
    ASSERT_TRUE(m_store.save());
    bookmark->setValue(u"resolvedURL"_s, url);
    EXPECT_FALSE(m_store.context().hasChanges());
    EXPECT_TRUE(m_store.save());
    EXPECT_EQ(bookmark->value(u"resolvedURL"_s).toUrl(), url);
    EXPECT_EQ(m_store.bookmarks().first()->value(u"resolvedURL"_s).toUrl(), url);

    BookmarkStore again(m_path);
    ASSERT_EQ(again.bookmarks().size(), 1);
    EXPECT_FALSE(again.bookmarks().first()->value(u"resolvedURL"_s).isValid());
}

TEST_F(NSManagedObjectTest, APrimitiveValueIsAChangeFromTheSecondNoticeOn)
{
    NSManagedObject *const bookmark = m_store.insert(u"file:///a"_s);
    ASSERT_TRUE(m_store.save());
    const QString key = u"urlString"_s;
    bookmark->willChangeValueForKey(key);
    bookmark->setPrimitiveValue(u"file:///b"_s, key);
    EXPECT_FALSE(m_store.context().hasChanges());
    bookmark->didChangeValueForKey(key);
    EXPECT_TRUE(m_store.context().hasChanges());
    ASSERT_TRUE(m_store.save());

    bookmark->willAccessValueForKey(key);
    EXPECT_EQ(bookmark->primitiveValueForKey(key), u"file:///b"_s);
    bookmark->didAccessValueForKey(key);
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"file:///b"_s});
}

TEST_F(NSManagedObjectTest, AnUnknownAttributeRaisesAnException)
{
    NSManagedObject *const bookmark = m_store.insert(u"file:///a"_s);
    EXPECT_THROW(bookmark->value(u"title"_s), NSException);
    EXPECT_THROW(bookmark->valueForKey(u"title"_s), NSException);
    EXPECT_THROW(bookmark->setValue(u"title"_s, 7), NSException);
    EXPECT_THROW(bookmark->didChangeValueForKey(u"title"_s), NSException);
}
