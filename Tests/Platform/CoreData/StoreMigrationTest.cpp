#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gtest/gtest.h>

#include <QFile>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

class StoreMigrationTest : public ::testing::Test
{
protected:
    StoreMigrationTest() { makeStoreOfLayout1(m_path, {u"a"_s, u"b"_s}); }

    QByteArray layout() const { return OtherConnection(m_path).result("PRAGMA user_version"); }

    TemporaryHome m_home;
    const QString m_path = m_home.path() + u"/store"_s;
};

} // namespace

TEST_F(StoreMigrationTest, AnOlderLayoutIsMigratedInPlaceWhereTheOptionAsksForIt)
{
    BookmarkStore store(m_path);
    ASSERT_TRUE(store.isOpen()) << qPrintable(store.error().description());
    EXPECT_EQ(layout(), "2");
    EXPECT_EQ(store.urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    const NSManagedObject *const first = store.bookmarks().first();
    EXPECT_EQ(first->value(u"data"_s), QVariant(QByteArray("\0\xff", 2)));
    EXPECT_EQ(first->value(u"isDirectory"_s), QVariant(true));
    EXPECT_EQ(first->value(u"isReadOnly"_s), QVariant(false));
    EXPECT_EQ(first->value(u"isUnresolvable"_s), QVariant(false));
    OtherConnection other(m_path);
    EXPECT_EQ(other.result("SELECT count(*) FROM Bookmark WHERE isReadOnly = 0 AND isUnresolvable = 0"), "2");
    EXPECT_EQ(other.result("PRAGMA integrity_check"), "ok");
}

TEST_F(StoreMigrationTest, AMigratedStoreIsSavedToAsANewOneIs)
{
    BookmarkStore store(m_path);
    store.insert(u"c"_s)->setValue(u"isReadOnly"_s, true);
    store.context().deleteObject(store.bookmarks().first());
    ASSERT_TRUE(store.save()) << qPrintable(store.error().description());
    BookmarkStore again(m_path);
    EXPECT_EQ(again.urlStrings(), (QStringList{u"b"_s, u"c"_s}));
    EXPECT_EQ(again.bookmarks().last()->value(u"isReadOnly"_s), QVariant(true));
}

TEST_F(StoreMigrationTest, AnOlderLayoutIsRefusedWithoutTheOptionAndLeftAsItIs)
{
    const QByteArray before = readFile(m_path);
    for (const QVariantMap &options :
         {QVariantMap(), QVariantMap{{NSMigratePersistentStoresAutomaticallyOption, false}}}) {
        const BookmarkStore store(m_path, options);
        EXPECT_FALSE(store.isOpen());
        EXPECT_EQ(store.error().code(), NSPersistentStoreIncompatibleVersionHashError);
    }
    EXPECT_EQ(readFile(m_path), before);
}

TEST_F(StoreMigrationTest, ANewerLayoutIsRefusedAndLeftAsItIs)
{
    OtherConnection(m_path).execute("PRAGMA user_version = 3");
    const QByteArray before = readFile(m_path);
    const BookmarkStore store(m_path);
    EXPECT_FALSE(store.isOpen());
    EXPECT_EQ(store.error().code(), NSPersistentStoreIncompatibleVersionHashError);
    EXPECT_EQ(store.error().localizedDescription(),
              u"The store has the layout 3, but 2 is the newest that is known."_s);
    EXPECT_EQ(readFile(m_path), before);
}

TEST_F(StoreMigrationTest, ALayoutThatBecomesNewerWhileTheStoreIsOpenIsNotWrittenTo)
{
    BookmarkStore store(m_path);
    EXPECT_EQ(store.urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    OtherConnection(m_path).execute("PRAGMA user_version = 3");
    const QByteArray before = readFile(m_path);
    EXPECT_FALSE(store.canFetch());
    EXPECT_EQ(store.error().code(), NSPersistentStoreIncompatibleVersionHashError);
    store.insert(u"c"_s);
    EXPECT_FALSE(store.save());
    EXPECT_EQ(store.error().code(), NSPersistentStoreIncompatibleVersionHashError);
    EXPECT_EQ(readFile(m_path), before);
}

TEST_F(StoreMigrationTest, AnOlderLayoutThatIsReadOnlyIsFetchedAsItIs)
{
    ASSERT_TRUE(QFile::setPermissions(m_path, QFile::ReadOwner));
    EXPECT_TRUE(resultInUnprivilegedChild(m_home.path(), [this] {
        BookmarkStore store(m_path);
        return store.isOpen() && store.urlStrings() == (QStringList{u"a"_s, u"b"_s})
               && store.bookmarks().first()->value(u"isReadOnly"_s) == QVariant(false);
    }));
    EXPECT_EQ(layout(), "1");
}
