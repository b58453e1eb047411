#include "Tests/Platform/CoreData/BookmarkStore.h"

#include <gtest/gtest.h>

#include <QFile>

#include <sqlite3.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

std::shared_ptr<const NSManagedObjectModel> bookmarkModel()
{
    return NSManagedObjectModel::initWithContentsOfURL(
        QUrl(u"qrc:/Marblewick/SandboxPersistedBookmarks.momd"_s));
}

QVariantMap BookmarkStore::migrating() { return {{NSMigratePersistentStoresAutomaticallyOption, true}}; }

BookmarkStore::BookmarkStore(const QString &path, const QVariantMap &options)
{
    const auto coordinator = std::make_shared<NSPersistentStoreCoordinator>(bookmarkModel());
    m_isOpen = coordinator->addPersistentStoreWithType(NSSQLiteStoreType, std::nullopt,
                                                       QUrl::fromLocalFile(path), options, &m_error);
    m_context.setPersistentStoreCoordinator(coordinator);
    m_context.setMergePolicy(NSOverwriteMergePolicy);
}

NSManagedObject *BookmarkStore::insert(const QString &urlString)
{
    NSManagedObject *const bookmark = NSManagedObject::initWithEntity(
        *NSEntityDescription::entityForName(u"Bookmark"_s, m_context), m_context);
    bookmark->setValue(u"urlString"_s, urlString);
    return bookmark;
}

QList<NSManagedObject *> BookmarkStore::bookmarks()
{
    return m_context.executeFetchRequest(NSFetchRequest(u"Bookmark"_s), &m_error)
        .value_or(QList<NSManagedObject *>());
}

bool BookmarkStore::canFetch()
{
    return m_context.executeFetchRequest(NSFetchRequest(u"Bookmark"_s), &m_error).has_value();
}

QStringList BookmarkStore::urlStrings()
{
    QStringList strings;
    for (const NSManagedObject *bookmark : bookmarks())
        strings.append(bookmark->value(u"urlString"_s).toString());
    return strings;
}

static sqlite3 *database(void *handle) { return static_cast<sqlite3 *>(handle); }

OtherConnection::OtherConnection(const QString &path)
{
    sqlite3 *handle = nullptr;
    EXPECT_EQ(::sqlite3_open(QFile::encodeName(path).constData(), &handle), SQLITE_OK) << qPrintable(path);
    m_handle = handle;
}

OtherConnection::~OtherConnection() { ::sqlite3_close(database(m_handle)); }

void OtherConnection::execute(const QByteArray &sql)
{
    EXPECT_EQ(::sqlite3_exec(database(m_handle), sql.constData(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sql.constData() << ": " << ::sqlite3_errmsg(database(m_handle));
}

QByteArray OtherConnection::result(const QByteArray &sql)
{
    sqlite3_stmt *statement = nullptr;
    EXPECT_EQ(::sqlite3_prepare_v2(database(m_handle), sql.constData(), -1, &statement, nullptr), SQLITE_OK)
        << sql.constData() << ": " << ::sqlite3_errmsg(database(m_handle));
    QByteArray text;
    if (::sqlite3_step(statement) == SQLITE_ROW)
        text = reinterpret_cast<const char *>(::sqlite3_column_text(statement, 0));
    ::sqlite3_finalize(statement);
    return text;
}

void makeStoreOfLayout1(const QString &path, const QStringList &urlStrings)
{
    OtherConnection store(path);
    store.execute("CREATE TABLE Bookmark (_id INTEGER PRIMARY KEY AUTOINCREMENT, data BLOB,"
                  " isDirectory INTEGER, urlString TEXT);"
                  "PRAGMA application_id = 0x4d425753; PRAGMA user_version = 1");
    for (const QString &urlString : urlStrings)
        store.execute("INSERT INTO Bookmark (data, isDirectory, urlString) VALUES (x'00ff', 1, '"
                      + urlString.toUtf8() + "')");
}
