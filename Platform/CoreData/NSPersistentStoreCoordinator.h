#pragma once

#include <Marblewick/CoreDataErrors.h>
#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>
#include <Marblewick/NSManagedObjectModel.h>

#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

namespace Marblewick {

class PersistentStore;

/*! Store type: an SQLite 3 file. */
inline constexpr QLatin1StringView NSSQLiteStoreType("SQLite");
/*! Option, a boolean: a store of an older layout is brought to the present one, in place. */
inline constexpr QLatin1StringView NSMigratePersistentStoresAutomaticallyOption(
    "NSMigratePersistentStoresAutomaticallyOption");
/*! Option, a boolean: the file is only read. It is neither created nor migrated, and a save fails. */
inline constexpr QLatin1StringView NSReadOnlyPersistentStoreOption("NSReadOnlyPersistentStoreOption");

/*! Stands between a context and the file of a store. Main thread.

    A store is one file, for its user only, and beside it, during a save or after a crash, its journal
    (`-journal`). A save is one transaction. What it wrote when it returned survives the end of the process
    and a power cut. Fetches and saves wait for other processes for 250 ms at most in each step, then fail.
*/
class MARBLEWICK_CORE_EXPORT NSPersistentStoreCoordinator
{
public:
    explicit NSPersistentStoreCoordinator(const std::shared_ptr<const NSManagedObjectModel> &model);
    ~NSPersistentStoreCoordinator();
    NSPersistentStoreCoordinator(const NSPersistentStoreCoordinator &) = delete;
    NSPersistentStoreCoordinator &operator=(const NSPersistentStoreCoordinator &) = delete;

    /*! Null where it was made with none: there are no entities then, and a store cannot be added. */
    const std::shared_ptr<const NSManagedObjectModel> &managedObjectModel() const { return m_model; }

    /*! Opens the store at the URL of an absolute path on this machine, or creates it where there is no
        file or an empty one.

        False, with `error` set (CoreDataErrors.h), where the file is no store of this model and cannot
        become one: damaged, another program's, of a newer layout, unreadable, not a file. The file is left
        as it is. A creation that fails leaves no file behind.

        What says nothing against the file is no reason to fail, since a host deletes what is none: a store
        that another process has locked, an older layout that cannot be migrated because the disk is full
        or the file is read-only, or a want of file descriptors or of the plugin. The store is open then;
        fetches and saves report what is still in the way.

        There is one type and one configuration, which has no name. A coordinator has at most one store.
    */
    bool addPersistentStoreWithType(const QString &type, const std::optional<QString> &configuration,
                                    const std::optional<QUrl> &url, const QVariantMap &options,
                                    NSError *error = nullptr);

    /*! Deletes the file of a store, then its journal, which would be applied to the next file of that name.
        False, with `error` set, where there is no file or it cannot be deleted; a folder is no file. Nothing
        is deleted for a URL at which no store can be added.
    */
    static bool destroyPersistentStoreAtURL(const QUrl &url, NSError *error = nullptr);

private:
    friend class NSManagedObjectContext;

    std::shared_ptr<const NSManagedObjectModel> m_model;
    std::unique_ptr<PersistentStore> m_store;
    QString m_path; // of the store
};

} // namespace Marblewick
