#include "Platform/CoreData/SQLite/SQLiteDatabase.h"

#include "Platform/CoreData/CoreDataErrors.h"

#include <cerrno>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! How long a step waits for another process: a window must not seem to hang. */
constexpr int busyTimeout = 250; // ms

bool isWantOfSpace(int systemError)
{
    return systemError == ENOSPC || systemError == EDQUOT || systemError == EFBIG;
}

qint64 codeOf(sqlite3 *handle)
{
    const int systemError = ::sqlite3_system_errno(handle);
    switch (::sqlite3_errcode(handle)) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return NSFileReadCorruptFileError;
    case SQLITE_ERROR: // A statement of ours does not fit the tables.
        return NSPersistentStoreIncompatibleSchemaError;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return NSPersistentStoreTimeoutError;
    case SQLITE_FULL:
        return NSFileWriteOutOfSpaceError;
    case SQLITE_READONLY:
        return NSFileWriteNoPermissionError;
    case SQLITE_CANTOPEN: // the journal
    case SQLITE_IOERR:
        if (isWantOfSpace(systemError))
            return NSFileWriteOutOfSpaceError;
        return systemError == EACCES || systemError == EROFS ? NSFileWriteNoPermissionError
                                                             : NSPersistentStoreOperationError;
    default:
        return NSPersistentStoreOperationError;
    }
}

QString sentence(qint64 code)
{
    switch (code) {
    case NSFileReadCorruptFileError:
        return u"The file is damaged, or no store"_s;
    case NSPersistentStoreIncompatibleSchemaError:
        return u"The file is no store of this kind"_s;
    case NSPersistentStoreTimeoutError:
        return u"Another process has locked the store"_s;
    case NSFileWriteOutOfSpaceError:
        return u"There is no space left for the store"_s;
    case NSFileWriteNoPermissionError:
        return u"The store cannot be written to"_s;
    case NSPersistentStoreOpenError:
        return u"The store cannot be opened"_s;
    default:
        return u"The store does not work"_s;
    }
}

[[noreturn]] void fail(sqlite3 *handle, qint64 code)
{
    const bool isInterrupted = ::sqlite3_extended_errcode(handle) == SQLITE_READONLY_ROLLBACK;
    const QString reason = isInterrupted
                               ? u"A save was interrupted, which the next opening for writing takes back"_s
                               : sentence(code);
    throw StoreFailure{code, u"%1 (SQLite: %2)."_s.arg(reason, QString::fromUtf8(::sqlite3_errmsg(handle)))};
}

[[noreturn]] void fail(sqlite3 *handle) { fail(handle, codeOf(handle)); }

/*! The file may be a stranger's: nothing in its schema is to be carried out. */
void distrustSchema(sqlite3 *handle)
{
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    // A column that is missing would otherwise pass for a text.
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
}

} // namespace

qint64 codeOfRefusedOpening(int systemError)
{
    switch (systemError) {
    case ENOSPC:
    case EDQUOT:
        return NSFileWriteOutOfSpaceError;
    case EMFILE: // of the process
    case ENFILE: // of the machine
    case ENOMEM:
    case EIO:
    case ESTALE: // of a file system that is away
    case ENOTCONN:
    case ETIMEDOUT:
        return NSPersistentStoreOperationError;
    default:
        return NSPersistentStoreOpenError;
    }
}

SQLiteDatabase::SQLiteDatabase(const QByteArray &path, bool isReadOnly)
{
    sqlite3 *handle = nullptr;
    const int access = isReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE;
    const int result = ::sqlite3_open_v2(path.constData(), &handle, access | SQLITE_OPEN_NOMUTEX, nullptr);
    m_handle.reset(handle);
    if (result != SQLITE_OK) {
        fail(handle, codeOfRefusedOpening(handle ? ::sqlite3_system_errno(handle) : ENOMEM));
    }
    distrustSchema(handle);
    ::sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, maximumSize);
    ::sqlite3_busy_timeout(handle, busyTimeout);
    execute("PRAGMA cell_size_check = ON");
    // FULL would leave open whether the removal of the journal, which is the commit, outlives a power cut.
    execute("PRAGMA synchronous = EXTRA");
}

void SQLiteDatabase::execute(const QByteArray &sql) { SQLiteStatement(*this, sql).run(); }

qint64 SQLiteDatabase::integer(const QByteArray &sql)
{
    SQLiteStatement statement(*this, sql);
    statement.step();
    return statement.integer(0);
}

bool SQLiteDatabase::isMoved() const
{
    int isMoved = 0;
    ::sqlite3_file_control(m_handle.get(), "main", SQLITE_FCNTL_HAS_MOVED, &isMoved);
    return isMoved != 0;
}

SQLiteStatement::SQLiteStatement(const SQLiteDatabase &database, const QByteArray &sql)
    : m_database(database.m_handle.get())
{
    sqlite3_stmt *handle = nullptr;
    if (::sqlite3_prepare_v2(m_database, sql.constData(), static_cast<int>(sql.size()), &handle, nullptr)
        != SQLITE_OK)
        fail(m_database);
    m_handle.reset(handle);
}

void SQLiteStatement::bind(int parameter, NSAttributeType type, const QVariant &value)
{
    sqlite3_stmt *const handle = m_handle.get();
    int result = SQLITE_OK;
    if (!value.isValid()) {
        result = ::sqlite3_bind_null(handle, parameter);
    } else if (type == NSAttributeType::Boolean) {
        result = ::sqlite3_bind_int(handle, parameter, value.toBool() ? 1 : 0);
    } else if (type == NSAttributeType::BinaryData) {
        const QByteArray bytes = value.toByteArray();
        result = ::sqlite3_bind_blob64(handle, parameter, bytes.constData(),
                                       static_cast<sqlite3_uint64>(bytes.size()), SQLITE_TRANSIENT);
    } else {
        const QByteArray text = value.toString().toUtf8();
        result = ::sqlite3_bind_text64(handle, parameter, text.constData(),
                                       static_cast<sqlite3_uint64>(text.size()), SQLITE_TRANSIENT,
                                       SQLITE_UTF8);
    }
    if (result != SQLITE_OK)
        fail(m_database);
}

void SQLiteStatement::bind(int parameter, qint64 value)
{
    if (::sqlite3_bind_int64(m_handle.get(), parameter, value) != SQLITE_OK)
        fail(m_database);
}

void SQLiteStatement::bindNull(int parameter)
{
    if (::sqlite3_bind_null(m_handle.get(), parameter) != SQLITE_OK)
        fail(m_database);
}

SQLiteStatement::Step SQLiteStatement::step()
{
    switch (::sqlite3_step(m_handle.get())) {
    case SQLITE_ROW:
        return Step::Row;
    case SQLITE_DONE:
        return Step::Done;
    case SQLITE_TOOBIG:
        return Step::TooLarge;
    default:
        fail(m_database);
    }
}

void SQLiteStatement::run()
{
    Step step = Step::Row;
    while (step == Step::Row)
        step = this->step();
    if (step == Step::TooLarge)
        fail(m_database);
    ::sqlite3_reset(m_handle.get());
}

QVariant SQLiteStatement::value(int column, NSAttributeType type, qint64 &size) const
{
    sqlite3_stmt *const handle = m_handle.get();
    const int found = ::sqlite3_column_type(handle, column);
    if (type == NSAttributeType::Boolean)
        return found == SQLITE_INTEGER ? QVariant(::sqlite3_column_int64(handle, column) != 0) : QVariant();
    const bool isData = type == NSAttributeType::BinaryData;
    if (found != (isData ? SQLITE_BLOB : SQLITE_TEXT))
        return {};
    // The pointer, which is null for no bytes, before the size, which is that of what it points to.
    const void *const content = isData ? ::sqlite3_column_blob(handle, column)
                                       : ::sqlite3_column_text(handle, column);
    const int count = ::sqlite3_column_bytes(handle, column);
    const QByteArrayView bytes(static_cast<const char *>(content), count);
    size += count;
    return isData ? QVariant(bytes.toByteArray()) : QVariant(QString::fromUtf8(bytes));
}

SQLiteTransaction::SQLiteTransaction(SQLiteDatabase &database, Kind kind)
    : m_database(database)
{
    m_database.execute(kind == Kind::Writing ? "BEGIN IMMEDIATE" : "BEGIN");
}

SQLiteTransaction::~SQLiteTransaction()
{
    try {
        if (m_isOpen)
            m_database.execute("ROLLBACK");
    } catch (const StoreFailure &) {
        // SQLite has rolled back itself.
    }
}

void SQLiteTransaction::commit()
{
    m_database.execute("COMMIT");
    m_isOpen = false;
}

} // namespace Marblewick
