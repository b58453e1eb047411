#include "Platform/CoreData/SQLite/SQLiteStore.h"

#include "Platform/CoreData/CoreDataErrors.h"
#include "Platform/CoreData/SQLite/SQLiteLayout.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! What all records may hold together. */
constexpr qint64 maximumStoreSize = 256 * 1024 * 1024;

StoreFailure openFailure(int systemError)
{
    return {codeOfRefusedOpening(systemError),
            u"The store cannot be opened (%1)."_s.arg(QString::fromLocal8Bit(std::strerror(systemError)))};
}

/*! Makes an empty file for the user alone where there is none, and says whether it did. */
bool createMissingFile(const QByteArray &path)
{
    struct stat status = {};
    if (::stat(path.constData(), &status) == 0 || errno != ENOENT)
        return false;
    const int file = ::open(path.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0 && errno != EEXIST)
        throw openFailure(errno);
    if (file >= 0)
        ::close(file);
    return file >= 0;
}

/*! SQLite would also open a device, and takes a file of one byte for an empty one. */
void checkFile(const QByteArray &path)
{
    struct stat status = {};
    if (::stat(path.constData(), &status) != 0)
        throw openFailure(errno);
    if (!S_ISREG(status.st_mode))
        throw openFailure(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    if (status.st_size == 1)
        throw StoreFailure{NSFileReadCorruptFileError, u"The file is damaged, or no store."_s};
}

/*! Whether a failure says nothing against the file: it may be a good store that cannot be used now. */
bool mayPass(const StoreFailure &failure)
{
    return failure.code != NSFileReadCorruptFileError && failure.code != NSPersistentStoreOpenError
           && failure.code != NSPersistentStoreIncompatibleSchemaError
           && failure.code != NSPersistentStoreIncompatibleVersionHashError;
}

/*! The record that a statement has come to, and adds to `size` what its values take. */
StoreRecord record(const SQLiteStatement &select, const NSEntityDescription &entity, int storedVersion,
                   qint64 &size)
{
    StoreRecord record{&entity, select.integer(0), {}};
    record.values.reserve(entity.attributes().size());
    int column = 1;
    for (const NSAttributeDescription &attribute : entity.attributes()) {
        if (!isStored(attribute, storedVersion)) {
            record.values.append(attribute.defaultValue);
            continue;
        }
        record.values.append(select.value(column, attribute.type, size));
        ++column;
    }
    return record;
}

/*! A record that is too large: all its values are nil. */
StoreRecord unreadableRecord(const NSEntityDescription &entity, qint64 identifier)
{
    return {&entity, identifier, QVariantList(entity.attributes().size())};
}

class RecordReader
{
public:
    RecordReader(const SQLiteDatabase &database, int storedVersion, std::vector<StoreRecord> &records)
        : m_database(database)
        , m_storedVersion(storedVersion)
        , m_records(records)
    { }

    void read(const NSEntityDescription &entity)
    {
        qint64 last = 0;
        while (readUpToTooLargeOne(entity, last)) {
            SQLiteStatement next = nextIdentifierStatement(m_database, entity);
            next.bind(1, last);
            next.step();
            append(unreadableRecord(entity, next.integer(0)), last);
        }
    }

private:
    /*! Reads the records behind identifier `last`; false when it has read them all. */
    bool readUpToTooLargeOne(const NSEntityDescription &entity, qint64 &last)
    {
        SQLiteStatement select = selectStatement(m_database, entity, m_storedVersion);
        select.bind(1, last);
        SQLiteStatement::Step step = select.step();
        for (; step == SQLiteStatement::Step::Row; step = select.step())
            append(record(select, entity, m_storedVersion, m_size), last);
        return step == SQLiteStatement::Step::TooLarge;
    }

    /*! Pages of a damaged file may refer to each other in circles. */
    void append(StoreRecord &&record, qint64 &last)
    {
        if (record.identifier <= last)
            throw StoreFailure{NSFileReadCorruptFileError, u"The store is damaged: its order is broken."_s};
        if (m_size > maximumStoreSize)
            throw StoreFailure{NSPersistentStoreOperationError, u"The store is too large to be read."_s};
        last = record.identifier;
        m_records.push_back(std::move(record));
    }

    const SQLiteDatabase &m_database;
    const int m_storedVersion;
    std::vector<StoreRecord> &m_records;
    qint64 m_size = 0; // of the values
};

void deleteRecords(const SQLiteDatabase &database, const NSEntityDescription &entity,
                   const std::vector<StoreRecord> &records)
{
    SQLiteStatement statement = deleteStatement(database, entity);
    for (const StoreRecord &record : records) {
        if (record.entity != &entity)
            continue;
        statement.bind(1, record.identifier);
        statement.run();
    }
}

void writeRecords(const SQLiteDatabase &database, const NSEntityDescription &entity, int version,
                  std::vector<StoreRecord> &records)
{
    SQLiteStatement statement = writeStatement(database, entity, version);
    for (StoreRecord &record : records) {
        if (record.entity != &entity)
            continue;
        int parameter = 1;
        if (record.identifier != 0)
            statement.bind(parameter, record.identifier);
        else
            statement.bindNull(parameter);
        for (qsizetype i = 0; i < record.values.size(); ++i) {
            const NSAttributeDescription &attribute = entity.attributes().at(i);
            if (isStored(attribute, version))
                statement.bind(++parameter, attribute.type, record.values.at(i));
        }
        statement.run();
        record.identifier = database.lastInsertedIdentifier();
    }
}

} // namespace

std::unique_ptr<SQLiteStore> SQLiteStore::open(const NSManagedObjectModel &model, const QByteArray &path,
                                               StoreOptions options, StoreFailure &failure)
{
    bool isNew = false;
    try {
        isNew = !options.isReadOnly && createMissingFile(path);
        auto store = std::make_unique<SQLiteStore>(model, path, options);
        store->prepare(isNew);
        return store;
    } catch (const StoreFailure &thrown) {
        failure = thrown;
    }
    if (isNew) {
        ::unlink(path.constData());
        ::unlink((path + "-journal").constData());
    }
    return nullptr;
}

SQLiteStore::SQLiteStore(const NSManagedObjectModel &model, const QByteArray &path, StoreOptions options)
    : m_model(model)
    , m_path(path)
    , m_options(options)
{ }

void SQLiteStore::prepare(bool isNew)
{
    try {
        checkLayout();
        migrate();
    } catch (const StoreFailure &failure) {
        // Another process may be filling the file that was made here.
        const bool isLocked = failure.code == NSPersistentStoreTimeoutError;
        if (!mayPass(failure) || (isNew && !isLocked))
            throw;
    }
}

SQLiteDatabase &SQLiteStore::database()
{
    if (!m_database) {
        checkFile(m_path);
        m_database.emplace(m_path, m_options.isReadOnly);
    }
    return *m_database;
}

void SQLiteStore::checkLayout()
{
    const SQLiteTransaction transaction(database(), SQLiteTransaction::Kind::Reading);
    const int version = layoutVersion(database(), m_model);
    if (version == 0)
        return;
    if (version < m_model.version() && !m_options.isMigrating && !m_options.isReadOnly)
        throw StoreFailure{NSPersistentStoreIncompatibleVersionHashError,
                           u"The store has an older layout, %1."_s.arg(version)};
    // Damage within the file shows only when it is read, and would be there at each later reading, too.
    std::vector<StoreRecord> records;
    readRecords(version, records);
    m_readAhead = std::move(records);
    m_dataVersion = database().integer("PRAGMA data_version");
}

void SQLiteStore::migrate()
{
    if (m_options.isReadOnly || layoutVersion(database(), m_model) == m_model.version())
        return;
    SQLiteTransaction transaction(database(), SQLiteTransaction::Kind::Writing);
    bringUpToDate(database(), m_model);
    transaction.commit();
}

PersistentStore::Reading SQLiteStore::read(std::vector<StoreRecord> &records, StoreFailure &failure)
{
    try {
        return readAll(records);
    } catch (const StoreFailure &thrown) {
        failure = thrown;
        return Reading::Failed;
    }
}

PersistentStore::Reading SQLiteStore::readAll(std::vector<StoreRecord> &records)
{
    const SQLiteTransaction transaction(database(), SQLiteTransaction::Kind::Reading);
    const qint64 dataVersion = database().integer("PRAGMA data_version");
    auto readAhead = std::exchange(m_readAhead, std::nullopt);
    if (m_dataVersion == dataVersion && !readAhead)
        return Reading::Unchanged;
    if (m_dataVersion == dataVersion)
        records = std::move(*readAhead);
    else if (const int version = layoutVersion(database(), m_model); version != 0)
        readRecords(version, records);
    m_dataVersion = dataVersion;
    return Reading::Read;
}

void SQLiteStore::readRecords(int storedVersion, std::vector<StoreRecord> &records)
{
    RecordReader reader(database(), storedVersion, records);
    for (const NSEntityDescription &entity : m_model.entities())
        reader.read(entity);
}

bool SQLiteStore::save(const std::vector<StoreRecord> &deleted, std::vector<StoreRecord> &written,
                       StoreFailure &failure)
{
    std::vector<StoreRecord> withIdentifiers = written;
    try {
        saveAll(deleted, withIdentifiers);
    } catch (const StoreFailure &thrown) {
        failure = thrown;
        if (failure.code == NSPersistentStoreOperationError)
            failure.code = NSPersistentStoreSaveError;
        return false;
    }
    written = std::move(withIdentifiers);
    return true;
}

void SQLiteStore::saveAll(const std::vector<StoreRecord> &deleted, std::vector<StoreRecord> &written)
{
    SQLiteTransaction transaction(database(), SQLiteTransaction::Kind::Writing);
    if (database().isMoved())
        throw StoreFailure{NSPersistentStoreSaveError, u"The file of the store was deleted or replaced."_s};
    if (std::exchange(m_readAhead, std::nullopt))
        m_dataVersion.reset(); // which does not tell of what is saved here
    bringUpToDate(database(), m_model);
    for (const NSEntityDescription &entity : m_model.entities()) {
        deleteRecords(database(), entity, deleted);
        writeRecords(database(), entity, m_model.version(), written);
    }
    transaction.commit();
}

} // namespace Marblewick
