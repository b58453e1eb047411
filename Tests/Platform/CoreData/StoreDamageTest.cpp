#include "Tests/Platform/CoreData/BookmarkStore.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <random>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype headerSize = 100;
constexpr qsizetype pageSize = 4096;

class StoreDamageTest : public ::testing::Test
{
protected:
    /*! The bytes of a good store with so many bookmarks that its table has several pages. */
    QByteArray goodStore() const
    {
        BookmarkStore store(m_path);
        for (int i = 0; i < 100; ++i)
            store.insert(QString::number(i))->setValue(u"data"_s, QByteArray(300, 'x'));
        EXPECT_TRUE(store.save());
        return readFile(m_path);
    }
    /*! Where in the file of goodStore() the first page of the table is. */
    qsizetype placeOfTable() const
    {
        return (OtherConnection(m_path)
                    .result("SELECT rootpage FROM sqlite_schema WHERE name = 'Bookmark'")
                    .toLongLong()
                - 1)
               * pageSize;
    }
    /*! That a file cannot be opened, for this reason, and is left as it is. */
    void expectRefusal(const QByteArray &contents, qint64 code, const std::string &what) const
    {
        writeFile(m_path, contents);
        const BookmarkStore store(m_path);
        EXPECT_FALSE(store.isOpen()) << what;
        EXPECT_EQ(store.error().code(), code) << what;
        EXPECT_EQ(readFile(m_path), contents) << what;
    }
    void expectRefusal(qint64 code) const { expectRefusal(readFile(m_path), code, "the file"); }

    TemporaryHome m_home;
    const QString m_folder = m_home.path() + u"/folder"_s;
    const QString m_path = m_folder + u"/store"_s;

    void SetUp() override { ASSERT_TRUE(QDir().mkpath(m_folder)); }
};

} // namespace

TEST_F(StoreDamageTest, AStoreThatIsCutOffWithinItsHeaderIsRefused)
{
    const QByteArray good = goodStore();
    for (qsizetype size = 1; size <= headerSize; ++size)
        expectRefusal(good.left(size), NSFileReadCorruptFileError, std::to_string(size) + " bytes");
}

TEST_F(StoreDamageTest, AStoreThatIsCutOffAfterAPageIsRefused)
{
    const QByteArray good = goodStore();
    ASSERT_GT(good.size(), 5 * pageSize);
    for (qsizetype size = pageSize; size < good.size(); size += pageSize)
        expectRefusal(good.left(size), NSFileReadCorruptFileError, std::to_string(size) + " bytes");
}

TEST_F(StoreDamageTest, GarbageIsRefused)
{
    for (const QByteArray &garbage :
         {QByteArray("x"), QByteArray("no store"), QByteArray(1, '\0'), QByteArray(pageSize, '\0'),
          QByteArray(100'000, 'x'), QByteArray("SQLite format 3\0", 16),
          QByteArray("SQLite format 3\0", 16) + QByteArray(pageSize, 'x')})
        expectRefusal(garbage, NSFileReadCorruptFileError, garbage.left(20).toStdString());
}

TEST_F(StoreDamageTest, AnotherProgramsDatabaseIsRefused)
{
    OtherConnection(m_path).execute("CREATE TABLE Bookmark (_id INTEGER PRIMARY KEY, data, urlString)");
    expectRefusal(NSPersistentStoreIncompatibleSchemaError);
    OtherConnection(m_path).execute("PRAGMA user_version = 2");
    expectRefusal(NSPersistentStoreIncompatibleSchemaError);
    OtherConnection(m_path).execute("PRAGMA application_id = 7");
    expectRefusal(NSPersistentStoreIncompatibleSchemaError);
}

TEST_F(StoreDamageTest, AStoreWithoutItsTableOrAColumnIsRefused)
{
    OtherConnection other(m_path);
    other.execute("PRAGMA application_id = 0x4d425753; PRAGMA user_version = 2");
    expectRefusal(NSPersistentStoreIncompatibleSchemaError);
    other.execute("CREATE TABLE Bookmark (_id INTEGER PRIMARY KEY, data BLOB)");
    expectRefusal(NSPersistentStoreIncompatibleSchemaError);
}

TEST_F(StoreDamageTest, AStoreWithoutAVersionIsRefused)
{
    OtherConnection(m_path).execute("PRAGMA application_id = 0x4d425753; PRAGMA user_version = 0");
    expectRefusal(NSPersistentStoreIncompatibleVersionHashError);
    OtherConnection(m_path).execute("PRAGMA user_version = -1");
    expectRefusal(NSPersistentStoreIncompatibleVersionHashError);
}

TEST_F(StoreDamageTest, AViewInPlaceOfTheTableIsRefusedNotEvaluated)
{
    OtherConnection(m_path).execute(
        "PRAGMA application_id = 0x4d425753; PRAGMA user_version = 2;"
        "CREATE VIEW Bookmark AS WITH RECURSIVE n(_id) AS (SELECT 1 UNION ALL SELECT _id + 1 FROM n)"
        " SELECT _id, x'' AS data, 0 AS isDirectory, 0 AS isReadOnly, '' AS urlString, 0 AS isUnresolvable "
        "FROM n");
    expectRefusal(NSPersistentStoreIncompatibleSchemaError);
}

TEST_F(StoreDamageTest, ATriggerInTheFileDoesNotRun)
{
    goodStore();
    OtherConnection(m_path).execute(
        "CREATE TRIGGER t AFTER INSERT ON Bookmark BEGIN DELETE FROM Bookmark; END");
    BookmarkStore store(m_path);
    store.insert(u"last"_s);
    ASSERT_TRUE(store.save());
    EXPECT_EQ(BookmarkStore(m_path).urlStrings().size(), 101);
}

TEST_F(StoreDamageTest, AValueOfAnotherTypeIsNil)
{
    goodStore();
    OtherConnection(m_path).execute(
        "UPDATE Bookmark SET data = 'text', isDirectory = x'01', isReadOnly = 'yes',"
        " urlString = x'41', isUnresolvable = 1.5");
    BookmarkStore store(m_path);
    const QList<NSManagedObject *> bookmarks = store.bookmarks();
    ASSERT_EQ(bookmarks.size(), 100);
    for (const QString &key :
         {u"data"_s, u"isDirectory"_s, u"isReadOnly"_s, u"urlString"_s, u"isUnresolvable"_s})
        EXPECT_FALSE(bookmarks.first()->value(key).isValid()) << key.toStdString();
}

TEST_F(StoreDamageTest, AnyNumberButZeroIsTrue)
{
    goodStore();
    OtherConnection(m_path).execute("UPDATE Bookmark SET isDirectory = -7, isReadOnly = 0");
    BookmarkStore store(m_path);
    ASSERT_EQ(store.bookmarks().size(), 100);
    EXPECT_EQ(store.bookmarks().first()->value(u"isDirectory"_s), QVariant(true));
    EXPECT_EQ(store.bookmarks().first()->value(u"isReadOnly"_s), QVariant(false));
}

TEST_F(StoreDamageTest, ARecordThatIsTooLargeHasNilValuesAndTheOthersTheirOwn)
{
    goodStore();
    OtherConnection(m_path).execute(
        "UPDATE Bookmark SET data = zeroblob(20000000) WHERE _id = 1;"
        "UPDATE Bookmark SET urlString = printf('%.*c', 2000000, 'x') WHERE _id IN"
        " (50, 51, 100)");
    BookmarkStore store(m_path);
    const QList<NSManagedObject *> bookmarks = store.bookmarks();
    ASSERT_EQ(bookmarks.size(), 100) << qPrintable(store.error().description());
    for (const int i : {0, 49, 50, 99}) {
        EXPECT_FALSE(bookmarks[i]->value(u"data"_s).isValid()) << i;
        EXPECT_FALSE(bookmarks[i]->value(u"urlString"_s).isValid()) << i;
    }
    for (const int i : {1, 48, 51, 98})
        EXPECT_EQ(bookmarks[i]->value(u"urlString"_s), QVariant(QString::number(i))) << i;

    store.context().deleteObject(bookmarks[0]);
    EXPECT_TRUE(store.save());
    EXPECT_EQ(BookmarkStore(m_path).urlStrings().size(), 99);
}

TEST_F(StoreDamageTest, AStoreThatHoldsMoreThanAProcessShouldTakeInIsNotRead)
{
    goodStore();
    OtherConnection(m_path).execute(
        "PRAGMA synchronous = OFF; INSERT INTO Bookmark (data) WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL "
        "SELECT i + 1 FROM n WHERE i < 300)"
        " SELECT zeroblob(1000000) FROM n");
    BookmarkStore store(m_path);
    EXPECT_TRUE(store.isOpen());
    EXPECT_FALSE(store.canFetch());
    EXPECT_EQ(store.error().code(), NSPersistentStoreOperationError);
    EXPECT_EQ(store.error().localizedDescription(), u"The store is too large to be read."_s);
}

TEST_F(StoreDamageTest, AStoreWithAnErasedPageIsRefused)
{
    const QByteArray good = goodStore();
    const qsizetype place = placeOfTable();
    for (qsizetype page : {place, place + 2 * pageSize})
        expectRefusal(QByteArray(good).replace(page, pageSize, QByteArray(pageSize, '\0')),
                      NSFileReadCorruptFileError, "page at " + std::to_string(page));
}

TEST_F(StoreDamageTest, ATableWhosePagesReferToEachOtherInCirclesIsRefused)
{
    QByteArray contents = goodStore();
    // An inner page of a table: its type, the number of its cells in bytes 3 and 4, and from byte 12 on where
    // in the page each begins, with the number of the page below.
    char *const root = contents.data() + placeOfTable();
    ASSERT_EQ(root[0], 5);
    const auto number = [root](qsizetype offset) {
        return static_cast<quint8>(root[offset]) * 256 + static_cast<quint8>(root[offset + 1]);
    };
    ASSERT_GT(number(3), 2);
    std::copy_n(root + number(12), 4, root + number(14));
    expectRefusal(contents, NSFileReadCorruptFileError, "circles");
}

TEST_F(StoreDamageTest, AChangedByteIsSurvived)
{
    const QByteArray good = goodStore();
    std::mt19937 random(1);
    int countOfRefused = 0;
    for (int round = 0; round < 500; ++round) {
        QByteArray contents = good;
        // Every second one where the pages say what is in them.
        const qsizetype page = static_cast<qsizetype>(random()) % (good.size() / pageSize);
        const qsizetype place = static_cast<qsizetype>(random()) % (round % 2 ? pageSize : headerSize);
        contents[page * pageSize + place] = static_cast<char>(random());
        writeFile(m_path, contents);
        BookmarkStore store(m_path);
        if (!store.isOpen()) {
            ++countOfRefused;
            EXPECT_EQ(readFile(m_path), contents);
            continue;
        }
        store.canFetch();
        store.insert(u"new"_s);
        store.save();
        QFile::remove(m_path + u"-journal"_s);
    }
    EXPECT_GT(countOfRefused, 0);
}
