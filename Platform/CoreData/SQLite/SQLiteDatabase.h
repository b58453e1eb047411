#pragma once

#include "Platform/CoreData/PersistentStore.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <memory>
#include <sqlite3.h>

namespace Marblewick {

/*! The code for a file that the system refused to open or to make: NSPersistentStoreOpenError only where that
    says something against the file, and not against the process, the machine or the file system.
*/
qint64 codeOfRefusedOpening(int systemError);

/*! A connection to an SQLite file that may be anyone's: its schema runs no code. What fails throws a
    StoreFailure. One thread.
*/
class SQLiteDatabase
{
public:
    /*! Of a value, and of a record with all its values, in bytes. */
    static constexpr int maximumSize = 1024 * 1024;

    /*! Opens a file that is there. Where that is refused, codeOfRefusedOpening() is the failure's. */
    SQLiteDatabase(const QByteArray &path, bool isReadOnly);

    void execute(const QByteArray &sql);
    /*! The first column of the first row, as a number. */
    qint64 integer(const QByteArray &sql);
    qint64 lastInsertedIdentifier() const { return ::sqlite3_last_insert_rowid(m_handle.get()); }
    /*! Whether the path now leads to another file, or to none. */
    bool isMoved() const;

private:
    friend class SQLiteStatement;

    struct Close
    {
        void operator()(sqlite3 *handle) const { ::sqlite3_close_v2(handle); }
    };
    std::unique_ptr<sqlite3, Close> m_handle;
};

/*! A statement with its parameters, counted from 1, and the row it has come to, whose columns count from 0.
 */
class SQLiteStatement
{
public:
    SQLiteStatement(const SQLiteDatabase &database, const QByteArray &sql);

    /*! Binds an attribute's value; one that is not of its type becomes what QVariant converts it to. */
    void bind(int parameter, NSAttributeType type, const QVariant &value);
    void bind(int parameter, qint64 value);
    void bindNull(int parameter);

    enum class Step { Row, Done, TooLarge };
    /*! Goes to the next row. TooLarge: that one is larger than maximumSize, and the statement has ended. */
    Step step();
    /*! Carries out a statement that has no rows, which can then be carried out again. */
    void run();

    qint64 integer(int column) const { return ::sqlite3_column_int64(m_handle.get(), column); }
    /*! Nil where the column holds another type. Adds to `size` what the bytes or the text take. */
    QVariant value(int column, NSAttributeType type, qint64 &size) const;

private:
    struct Finalize
    {
        void operator()(sqlite3_stmt *handle) const { ::sqlite3_finalize(handle); }
    };
    sqlite3 *m_database;
    std::unique_ptr<sqlite3_stmt, Finalize> m_handle;
};

/*! A transaction, rolled back at its end unless commit() has returned. */
class SQLiteTransaction
{
public:
    enum class Kind { Reading, Writing };
    SQLiteTransaction(SQLiteDatabase &database, Kind kind);
    ~SQLiteTransaction();
    SQLiteTransaction(const SQLiteTransaction &) = delete;
    SQLiteTransaction &operator=(const SQLiteTransaction &) = delete;

    void commit();

private:
    SQLiteDatabase &m_database;
    bool m_isOpen = true;
};

} // namespace Marblewick
