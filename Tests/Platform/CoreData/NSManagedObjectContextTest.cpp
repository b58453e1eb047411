#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QFile>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

NSFetchRequest unresolvableOnes()
{
    NSFetchRequest request(u"Bookmark"_s);
    request.setPredicate(NSPredicate::predicateWithFormat(u"isUnresolvable == YES"_s));
    return request;
}

class NSManagedObjectContextTest : public ::testing::Test
{
protected:
    TemporaryHome m_home;
    const QString m_path = m_home.path() + u"/store"_s;
    BookmarkStore m_store{m_path};
    NSManagedObjectContext &m_context = m_store.context();
};

} // namespace

TEST(NSManagedObjectContextWithoutStore, FetchesWhatIsInMemoryAndSavesNothing)
{
    NSManagedObjectContext context(NSMainQueueConcurrencyType);
    context.setPersistentStoreCoordinator(std::make_shared<NSPersistentStoreCoordinator>(bookmarkModel()));
    const NSFetchRequest all(u"Bookmark"_s);
    EXPECT_EQ(context.executeFetchRequest(all), QList<NSManagedObject *>());
    NSError error;
    EXPECT_FALSE(context.save(&error));
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), NSPersistentStoreSaveError);

    NSManagedObject *const bookmark = NSManagedObject::initWithEntity(
        *NSEntityDescription::entityForName(u"Bookmark"_s, context), context);
    EXPECT_EQ(context.executeFetchRequest(all), QList{bookmark});
    EXPECT_FALSE(context.save());
    EXPECT_EQ(context.executeFetchRequest(all), QList{bookmark});
    context.deleteObject(bookmark);
    EXPECT_EQ(context.executeFetchRequest(all), QList<NSManagedObject *>());
}

TEST(NSManagedObjectContextWithoutStore, HasNoEntitiesWithoutAModelOrACoordinator)
{
    NSManagedObjectContext context(NSMainQueueConcurrencyType);
    EXPECT_EQ(NSEntityDescription::entityForName(u"Bookmark"_s, context), nullptr);
    EXPECT_FALSE(context.executeFetchRequest(NSFetchRequest(u"Bookmark"_s)));
    EXPECT_FALSE(context.save());
    context.setPersistentStoreCoordinator(std::make_shared<NSPersistentStoreCoordinator>(nullptr));
    EXPECT_EQ(NSEntityDescription::entityForName(u"Bookmark"_s, context), nullptr);
    EXPECT_FALSE(context.executeFetchRequest(NSFetchRequest(u"Bookmark"_s)));
    EXPECT_FALSE(context.save());
}

TEST(NSManagedObjectContextWithoutStore, TheMainQueueTypeIsTwo) { EXPECT_EQ(NSMainQueueConcurrencyType, 2); }

TEST_F(NSManagedObjectContextTest, WhatWasSavedIsThereForTheNextContext)
{
    NSManagedObject *const bookmark = m_store.insert(u"file:///K%C3%A4fer"_s);
    bookmark->setValue(u"data"_s, QByteArray("\0\xff bytes", 8));
    bookmark->setValue(u"isDirectory"_s, true);
    bookmark->setValue(u"isReadOnly"_s, true);
    bookmark->setValue(u"isUnresolvable"_s, true);
    ASSERT_TRUE(m_store.save()) << qPrintable(m_store.error().description());

    BookmarkStore again(m_path);
    ASSERT_EQ(again.bookmarks().size(), 1);
    const NSManagedObject *const stored = again.bookmarks().first();
    EXPECT_EQ(stored->value(u"data"_s), QVariant(QByteArray("\0\xff bytes", 8)));
    EXPECT_EQ(stored->value(u"urlString"_s), QVariant(u"file:///K%C3%A4fer"_s));
    for (const QString &key : {u"isDirectory"_s, u"isReadOnly"_s, u"isUnresolvable"_s})
        EXPECT_EQ(stored->value(key), QVariant(true)) << key.toStdString();
}

TEST_F(NSManagedObjectContextTest, NilAndEmptyAreStoredApart)
{
    m_store.insert(u""_s)->setValue(u"data"_s, QByteArray(""));
    NSManagedObject *const second = m_store.insert(u"second"_s);
    second->setValue(u"urlString"_s, {});
    second->setValue(u"isDirectory"_s, {});
    ASSERT_TRUE(m_store.save());

    BookmarkStore again(m_path);
    const QList<NSManagedObject *> stored = again.bookmarks();
    ASSERT_EQ(stored.size(), 2);
    EXPECT_EQ(stored[0]->value(u"data"_s), QVariant(QByteArray("")));
    EXPECT_EQ(stored[0]->value(u"urlString"_s), QVariant(u""_s));
    for (const QString &key : {u"data"_s, u"urlString"_s, u"isDirectory"_s})
        EXPECT_FALSE(stored[1]->value(key).isValid()) << key.toStdString();
}

TEST_F(NSManagedObjectContextTest, FetchesInTheOrderOfInsertionThenWhatIsNotSaved)
{
    m_store.insert(u"c"_s);
    m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    m_store.insert(u"d"_s);
    m_store.insert(u"b"_s);
    EXPECT_EQ(m_store.urlStrings(), (QStringList{u"c"_s, u"a"_s, u"d"_s, u"b"_s}));
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_store.urlStrings(), (QStringList{u"c"_s, u"a"_s, u"d"_s, u"b"_s}));
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), (QStringList{u"c"_s, u"a"_s, u"d"_s, u"b"_s}));
}

TEST_F(NSManagedObjectContextTest, APredicateSeesChangesThatAreNotSaved)
{
    NSManagedObject *const first = m_store.insert(u"a"_s);
    m_store.insert(u"b"_s);
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_context.executeFetchRequest(unresolvableOnes()).value().size(), 0);
    first->setValue(u"isUnresolvable"_s, true);
    EXPECT_EQ(m_context.executeFetchRequest(unresolvableOnes()), QList{first});
    NSManagedObject *const third = m_store.insert(u"c"_s);
    third->setValue(u"isUnresolvable"_s, true);
    EXPECT_EQ(m_context.executeFetchRequest(unresolvableOnes()), (QList{first, third}));
}

TEST_F(NSManagedObjectContextTest, AnObjectIsTheSameForTheLifeOfTheContext)
{
    NSManagedObject *const inserted = m_store.insert(u"a"_s);
    EXPECT_EQ(m_store.bookmarks(), QList{inserted});
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_store.bookmarks(), QList{inserted});

    BookmarkStore again(m_path);
    EXPECT_EQ(again.bookmarks(), again.bookmarks());
}

TEST_F(NSManagedObjectContextTest, ADeletedObjectIsFetchedNoMoreAndGoneAfterTheSave)
{
    m_store.insert(u"a"_s);
    m_store.insert(u"b"_s);
    ASSERT_TRUE(m_store.save());
    NSManagedObject *const first = m_store.bookmarks().first();
    m_context.deleteObject(first);
    EXPECT_EQ(m_store.urlStrings(), QStringList{u"b"_s});
    EXPECT_EQ(first->value(u"urlString"_s), QVariant(u"a"_s)) << "it ends with the save only";
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_store.urlStrings(), QStringList{u"b"_s});
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"b"_s});
}

TEST_F(NSManagedObjectContextTest, WhatIsInsertedAndDeletedIsNotStored)
{
    NSManagedObject *const bookmark = m_store.insert(u"a"_s);
    m_context.deleteObject(bookmark);
    m_context.deleteObject(bookmark);
    EXPECT_EQ(m_store.urlStrings(), QStringList());
    EXPECT_TRUE(m_store.save());
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList());
}

TEST_F(NSManagedObjectContextTest, AnObjectCanBeDeletedTwiceAndChangedAfterwards)
{
    NSManagedObject *const bookmark = m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    m_context.deleteObject(bookmark);
    m_context.deleteObject(bookmark);
    bookmark->setValue(u"urlString"_s, u"b"_s);
    EXPECT_TRUE(m_store.save());
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList());
}

TEST_F(NSManagedObjectContextTest, ASaveWithoutChangesWritesNothing)
{
    m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    EXPECT_FALSE(m_context.hasChanges());
    const QByteArray before = readFile(m_path);
    EXPECT_TRUE(m_store.save());
    EXPECT_EQ(readFile(m_path), before) << "SQLite counts the transactions in the file";
}

TEST_F(NSManagedObjectContextTest, AnUnknownEntityIsAnError)
{
    NSError error;
    EXPECT_FALSE(m_context.executeFetchRequest(NSFetchRequest(u"Note"_s), &error));
    EXPECT_EQ(error.code(), NSPersistentStoreOperationError);
    EXPECT_EQ(NSEntityDescription::entityForName(u"Note"_s, m_context), nullptr);
}

TEST_F(NSManagedObjectContextTest, TakesOverWhatAnotherProcessChangedUnlessItIsChangedHere)
{
    NSManagedObject *const first = m_store.insert(u"a"_s);
    NSManagedObject *const second = m_store.insert(u"b"_s);
    ASSERT_TRUE(m_store.save());
    OtherConnection(m_path).execute("UPDATE Bookmark SET urlString = 'theirs', isReadOnly = 1");
    second->setValue(u"urlString"_s, u"ours"_s);
    EXPECT_EQ(m_store.urlStrings(), (QStringList{u"theirs"_s, u"ours"_s}));
    EXPECT_EQ(first->value(u"isReadOnly"_s), QVariant(true));
    EXPECT_EQ(second->value(u"isReadOnly"_s), QVariant(false));
}

TEST_F(NSManagedObjectContextTest, WhatAnotherProcessDeletedLeavesNothingToSave)
{
    m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    OtherConnection(m_path).execute("DELETE FROM Bookmark");
    EXPECT_EQ(m_store.urlStrings(), QStringList());
    EXPECT_FALSE(m_context.hasChanges());
    const QByteArray before = readFile(m_path);
    EXPECT_TRUE(m_store.save());
    EXPECT_EQ(readFile(m_path), before);
}

TEST_F(NSManagedObjectContextTest, FetchesWhatWasSavedBeforeItsFirstFetch)
{
    m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    BookmarkStore again(m_path);
    NSManagedObject *const second = again.insert(u"b"_s);
    ASSERT_TRUE(again.save());
    EXPECT_EQ(again.urlStrings(), (QStringList{u"a"_s, u"b"_s}));
    EXPECT_EQ(again.bookmarks().last(), second);
}

TEST_F(NSManagedObjectContextTest, FetchesWhatAnotherProcessChangedBeforeItsFirstFetch)
{
    m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    BookmarkStore again(m_path);
    OtherConnection(m_path).execute("UPDATE Bookmark SET urlString = 'theirs'");
    EXPECT_EQ(again.urlStrings(), QStringList{u"theirs"_s});
}

TEST_F(NSManagedObjectContextTest, ATransientValueOutlivesWhatAnotherProcessChanged)
{
    NSManagedObject *const bookmark = m_store.insert(u"a"_s);
    bookmark->setValue(u"resolvedURL"_s, QUrl(u"file:///a"_s));
    ASSERT_TRUE(m_store.save());
    OtherConnection(m_path).execute("UPDATE Bookmark SET urlString = 'theirs'");
    EXPECT_EQ(m_store.urlStrings(), QStringList{u"theirs"_s});
    EXPECT_EQ(bookmark->value(u"resolvedURL"_s), QVariant(QUrl(u"file:///a"_s)));
}

TEST_F(NSManagedObjectContextTest, ASaveOverwritesWhatAnotherProcessChanged)
{
    NSManagedObject *const changed = m_store.insert(u"a"_s);
    m_store.insert(u"b"_s);
    ASSERT_TRUE(m_store.save());
    OtherConnection(m_path).execute("UPDATE Bookmark SET urlString = 'theirs', isReadOnly = 1");
    changed->setValue(u"urlString"_s, u"ours"_s);
    ASSERT_TRUE(m_store.save());

    BookmarkStore again(m_path);
    EXPECT_EQ(again.urlStrings(), (QStringList{u"ours"_s, u"theirs"_s}));
    EXPECT_EQ(again.bookmarks().first()->value(u"isReadOnly"_s), QVariant(false))
        << "an object is written whole";
}

TEST_F(NSManagedObjectContextTest, ASaveStoresAnewWhatAnotherProcessDeletedAndWasChangedHere)
{
    NSManagedObject *const changed = m_store.insert(u"a"_s);
    m_store.insert(u"b"_s);
    ASSERT_TRUE(m_store.save());
    OtherConnection(m_path).execute("DELETE FROM Bookmark");
    changed->setValue(u"urlString"_s, u"ours"_s);
    EXPECT_EQ(m_store.bookmarks(), QList{changed}) << "the other one is gone";
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_store.bookmarks(), QList{changed});
    EXPECT_EQ(BookmarkStore(m_path).urlStrings(), QStringList{u"ours"_s});
}

TEST_F(NSManagedObjectContextTest, FetchesWhatAnotherProcessAdded)
{
    m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    BookmarkStore other(m_path);
    other.insert(u"b"_s);
    ASSERT_TRUE(other.save());
    m_store.insert(u"c"_s);
    EXPECT_EQ(m_store.urlStrings(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_store.urlStrings(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
    EXPECT_EQ(other.urlStrings(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
}

TEST_F(NSManagedObjectContextTest, WhatIsDeletedHereDoesNotComeBackWhenAnotherProcessSaves)
{
    NSManagedObject *const bookmark = m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    m_context.deleteObject(bookmark);
    BookmarkStore other(m_path);
    other.insert(u"b"_s);
    ASSERT_TRUE(other.save());
    EXPECT_EQ(m_store.urlStrings(), QStringList{u"b"_s});
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(other.urlStrings(), QStringList{u"b"_s});
}

TEST_F(NSManagedObjectContextTest, TheIdentifierOfADeletedRecordIsNotUsedAgain)
{
    m_store.insert(u"a"_s);
    ASSERT_TRUE(m_store.save());
    BookmarkStore other(m_path);
    NSManagedObject *const seenByOther = other.bookmarks().value(0);
    ASSERT_TRUE(seenByOther);
    m_context.deleteObject(m_store.bookmarks().first());
    ASSERT_TRUE(m_store.save());
    m_store.insert(u"b"_s);
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(other.urlStrings(), QStringList{u"b"_s});
    EXPECT_NE(other.bookmarks().first(), seenByOther) << "an object would have become another bookmark";
}

TEST_F(NSManagedObjectContextTest, AValueOfMoreThanAMebibyteIsNotSaved)
{
    NSManagedObject *const bookmark = m_store.insert(u"a"_s);
    bookmark->setValue(u"data"_s, QByteArray(1024 * 1024, 'x'));
    EXPECT_FALSE(m_store.save());
    EXPECT_EQ(m_store.error().code(), NSPersistentStoreSaveError);
    bookmark->setValue(u"data"_s, QByteArray(1000 * 1024, 'x'));
    EXPECT_TRUE(m_store.save()) << qPrintable(m_store.error().description());
    EXPECT_EQ(BookmarkStore(m_path).bookmarks().first()->value(u"data"_s).toByteArray().size(), 1000 * 1024);
}
