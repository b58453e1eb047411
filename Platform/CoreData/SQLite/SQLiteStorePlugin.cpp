#include "Platform/CoreData/SQLite/SQLiteStore.h"

extern "C" Q_DECL_EXPORT Marblewick::PersistentStore *marblewickOpenSQLiteStore(
    const Marblewick::NSManagedObjectModel &model, const QByteArray &path, Marblewick::StoreOptions options,
    Marblewick::StoreFailure &failure);

Marblewick::PersistentStore *marblewickOpenSQLiteStore(const Marblewick::NSManagedObjectModel &model,
                                                       const QByteArray &path,
                                                       Marblewick::StoreOptions options,
                                                       Marblewick::StoreFailure &failure)
{
    return Marblewick::SQLiteStore::open(model, path, options, failure).release();
}
