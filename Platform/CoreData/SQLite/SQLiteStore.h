#pragma once

#include "Platform/CoreData/SQLite/SQLiteDatabase.h"

#include <optional>

namespace Marblewick {

/*! A store in an SQLite file, whose layout SQLiteLayout.h describes. */
class SQLiteStore : public PersistentStore
{
public:
    /*! See MarblewickOpenSQLiteStore. */
    static std::unique_ptr<SQLiteStore> open(const NSManagedObjectModel &model, const QByteArray &path,
                                             StoreOptions options, StoreFailure &failure);

    SQLiteStore(const NSManagedObjectModel &model, const QByteArray &path, StoreOptions options);

    Reading read(std::vector<StoreRecord> &records, StoreFailure &failure) override;
    bool save(const std::vector<StoreRecord> &deleted, std::vector<StoreRecord> &written,
              StoreFailure &failure) override;

private:
    /*! Throws a StoreFailure where the file is no store that can be worked with, now or later. */
    void prepare(bool isNew);
    void checkLayout();
    void migrate();
    /*! The connection, made when there is none yet. */
    SQLiteDatabase &database();

    Reading readAll(std::vector<StoreRecord> &records);
    void readRecords(int storedVersion, std::vector<StoreRecord> &records);
    void saveAll(const std::vector<StoreRecord> &deleted, std::vector<StoreRecord> &written);

    const NSManagedObjectModel &m_model;
    const QByteArray m_path;
    const StoreOptions m_options;
    std::optional<SQLiteDatabase> m_database;
    std::optional<qint64> m_dataVersion; // SQLite's, of what was read last
    std::optional<std::vector<StoreRecord>> m_readAhead; // at the opening, for the first read()
};

} // namespace Marblewick
