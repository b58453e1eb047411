#pragma once

#include <Marblewick/NSManagedObjectModel.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <vector>

namespace Marblewick {

/*! Why a store failed: a code of CoreDataErrors.h and a sentence for people. */
struct StoreFailure
{
    qint64 code = 0;
    QString reason;
};

/*! One object as a store sees it. */
struct StoreRecord
{
    const NSEntityDescription *entity = nullptr;
    qint64 identifier = 0; ///< above 0, and never used again by its entity; 0 where it is not stored yet
    QVariantList values; ///< as the entity's attributes; those of transient attributes mean nothing
};

/*! A file that keeps records, as a plugin implements it. Main thread. */
class PersistentStore
{
public:
    virtual ~PersistentStore() = default;

    enum class Reading { Failed, Unchanged, Read };
    /*! Appends all records, by entity and identifier, unless nothing but save() has changed the file since
        they were last read.
    */
    virtual Reading read(std::vector<StoreRecord> &records, StoreFailure &failure) = 0;

    /*! Deletes records, where they are still there, and writes others over what is there, in one transaction.
        New ones receive their identifiers. False where nothing of that was done.
    */
    virtual bool save(const std::vector<StoreRecord> &deleted, std::vector<StoreRecord> &written,
                      StoreFailure &failure) = 0;
};

struct StoreOptions
{
    bool isMigrating = false;
    bool isReadOnly = false;
};

/*! The one function of the plugin "marblewick-sqlite": opens or creates the store at an absolute path, as
    addPersistentStoreWithType() says. The caller owns it; null where it cannot be opened. The model must
    outlive it.
*/
using MarblewickOpenSQLiteStore = PersistentStore *(*)(const NSManagedObjectModel &model,
                                                       const QByteArray &path, StoreOptions options,
                                                       StoreFailure &failure);

inline constexpr char marblewickOpenSQLiteStoreName[] = "marblewickOpenSQLiteStore";

} // namespace Marblewick
