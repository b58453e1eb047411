#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>
#include <Marblewick/NSFetchRequest.h>
#include <Marblewick/NSManagedObject.h>
#include <Marblewick/NSPersistentStoreCoordinator.h>

#include <QList>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Marblewick {

/*! Which thread a context belongs to: the main one. */
enum NSManagedObjectContextConcurrencyType { NSMainQueueConcurrencyType = 2 };

/*! What a save does about what another process has stored meanwhile: it writes the changed objects whole,
    over changes and deletions. Objects that were not changed here are not written.
*/
enum NSMergePolicy { NSOverwriteMergePolicy };

/*! The objects of a store that a program works with, and its changes to them, which are saved together.

    An object is the same one for the life of the context however often it is fetched. Main thread.
*/
class MARBLEWICK_CORE_EXPORT NSManagedObjectContext
{
public:
    explicit NSManagedObjectContext(NSManagedObjectContextConcurrencyType type);
    /*! Ends the context's objects with it; what is not saved is lost. */
    ~NSManagedObjectContext();
    NSManagedObjectContext(const NSManagedObjectContext &) = delete;
    NSManagedObjectContext &operator=(const NSManagedObjectContext &) = delete;

    const std::shared_ptr<NSPersistentStoreCoordinator> &persistentStoreCoordinator() const
    {
        return m_coordinator;
    }
    /*! Before the first object. A coordinator serves one context. */
    void setPersistentStoreCoordinator(const std::shared_ptr<NSPersistentStoreCoordinator> &coordinator);

    NSMergePolicy mergePolicy() const { return m_mergePolicy; }
    void setMergePolicy(NSMergePolicy policy) { m_mergePolicy = policy; }

    /*! The objects that a request asks for, as this context sees them: with its changes, with what it
        inserted and without what it deleted, saved or not. They come in the order of their insertion into the
        store, then those not yet stored. Without a store there are only the latter.

        Objects that are not changed here take the values that another process saved, and leave where it
        deleted them. A stored value that is of another type than the attribute is nil, and so are all values
        of a stored record of more than 1 MiB.

        Nil, with `error` set, where the store cannot be read, or the model has no such entity.
    */
    std::optional<QList<NSManagedObject *>> executeFetchRequest(const NSFetchRequest &request,
                                                                NSError *error = nullptr);

    /*! Deletes an object of this context: it is fetched no more, and ends with the next successful save. */
    void deleteObject(NSManagedObject *object);

    /*! Whether a save would have something to write. */
    bool hasChanges() const;

    /*! Stores all changes, or none of them: false, with `error` set, where that fails, and always without a
        store. They then stay in the context and go out with the next successful save. A store whose file was
        deleted or replaced since it was opened is not made anew: each save fails.
    */
    bool save(NSError *error = nullptr);

private:
    friend class NSManagedObject;

    using Objects = std::vector<std::unique_ptr<NSManagedObject>>;

    using Key = std::pair<const NSEntityDescription *, qint64>;
    static Key keyOf(const std::unique_ptr<NSManagedObject> &object);

    NSManagedObject *insertObject(std::unique_ptr<NSManagedObject> object);
    /*! Brings the objects up to date with the store. */
    bool refresh(NSError *error);
    void adopt(std::vector<StoreRecord> &&records);
    /*! Keeps an object that is not in the store any more where it was changed here, and otherwise deletes it.
     */
    void retire(std::unique_ptr<NSManagedObject> object);

    std::shared_ptr<NSPersistentStoreCoordinator> m_coordinator;
    NSMergePolicy m_mergePolicy = NSOverwriteMergePolicy;
    Objects m_stored; // in the order of their keys
    Objects m_inserted;
    Objects m_deleted; // stored ones, until that is saved, and inserted ones
};

} // namespace Marblewick
