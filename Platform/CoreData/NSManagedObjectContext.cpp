#include "Platform/CoreData/NSManagedObjectContext.h"

#include "Platform/CoreData/PersistentStore.h"

#include <algorithm>
#include <set>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

bool fail(NSError *error, const StoreFailure &failure, const QString &path)
{
    if (error) {
        *error = NSError(NSCocoaErrorDomain, failure.code,
                         {{NSLocalizedDescriptionKey, failure.reason}, {NSFilePathErrorKey, path}});
    }
    return false;
}

} // namespace

NSManagedObjectContext::NSManagedObjectContext(NSManagedObjectContextConcurrencyType) { }

NSManagedObjectContext::~NSManagedObjectContext() = default;

const std::shared_ptr<NSPersistentStoreCoordinator> &NSManagedObjectContext::persistentStoreCoordinator()
    const
{
    return m_coordinator;
}

void NSManagedObjectContext::setPersistentStoreCoordinator(
    const std::shared_ptr<NSPersistentStoreCoordinator> &coordinator)
{
    m_coordinator = coordinator;
}

std::optional<QList<NSManagedObject *>> NSManagedObjectContext::executeFetchRequest(
    const NSFetchRequest &request, NSError *error)
{
    const NSEntityDescription *const entity = NSEntityDescription::entityForName(request.entityName(), *this);
    if (!entity) {
        fail(error,
             {NSPersistentStoreOperationError, u"There is no entity \"%1\"."_s.arg(request.entityName())},
             {});
        return std::nullopt;
    }
    if (!refresh(error))
        return std::nullopt;

    // A predicate may run a record's own code, which may insert and delete.
    QList<NSManagedObject *> objects;
    for (auto stored = m_stored.lower_bound({entity, 0});
         stored != m_stored.end() && stored->first.first == entity; ++stored)
        objects.append(stored->second.get());
    for (const auto &inserted : m_inserted) {
        if (&inserted->entity() == entity)
            objects.append(inserted.get());
    }
    if (const std::optional<NSPredicate> predicate = request.predicate())
        objects.removeIf([&](NSManagedObject *object) { return !predicate->evaluateWithObject(*object); });
    return objects;
}

NSManagedObject *NSManagedObjectContext::insertObject(std::unique_ptr<NSManagedObject> object)
{
    return m_inserted.emplace_back(std::move(object)).get();
}

void NSManagedObjectContext::deleteObject(NSManagedObject *object)
{
    const auto stored = m_stored.find({&object->entity(), object->m_identifier});
    if (stored != m_stored.end()) {
        m_deleted.push_back(std::move(stored->second));
        m_stored.erase(stored);
        return;
    }
    const auto inserted = std::ranges::find(m_inserted, object, &std::unique_ptr<NSManagedObject>::get);
    if (inserted != m_inserted.end()) {
        m_deleted.push_back(std::move(*inserted));
        m_inserted.erase(inserted);
    }
}

bool NSManagedObjectContext::hasChanges() const
{
    return !m_inserted.empty() || !m_deleted.empty()
           || std::ranges::any_of(m_stored, [](const auto &entry) { return entry.second->m_isUpdated; });
}

bool NSManagedObjectContext::refresh(NSError *error)
{
    if (!m_coordinator->m_store)
        return true;
    std::vector<StoreRecord> records;
    StoreFailure failure;
    const PersistentStore::Reading reading = m_coordinator->m_store->read(records, failure);
    if (reading == PersistentStore::Reading::Failed)
        return fail(error, failure, m_coordinator->m_path);
    if (reading == PersistentStore::Reading::Read)
        adopt(records);
    return true;
}

void NSManagedObjectContext::adopt(const std::vector<StoreRecord> &records)
{
    std::set<StoredKey> deletedHere;
    for (const auto &object : m_deleted)
        deletedHere.insert({&object->entity(), object->m_identifier});

    auto former = std::exchange(m_stored, {});
    for (const StoreRecord &record : records) {
        const StoredKey key(record.entity, record.identifier);
        if (deletedHere.contains(key))
            continue;
        auto known = former.extract(key);
        std::unique_ptr<NSManagedObject> object = known ? std::move(known.mapped())
                                                        : NSManagedObject::create(*record.entity);
        object->adopt(record);
        m_stored.emplace_hint(m_stored.end(), key, std::move(object));
    }
    // What is left, another process has deleted. Callers may still hold it, as what they delete themselves.
    for (auto &[key, object] : former) {
        if (object->m_isUpdated)
            m_stored.emplace(key, std::move(object));
        else
            m_deleted.push_back(std::move(object));
    }
}

bool NSManagedObjectContext::save(NSError *error)
{
    PersistentStore *const store = m_coordinator ? m_coordinator->m_store.get() : nullptr;
    if (!store)
        return fail(error, {NSPersistentStoreSaveError, u"There is no store to save to."_s}, {});

    std::vector<StoreRecord> deleted;
    for (const auto &object : m_deleted) {
        if (object->m_identifier != 0)
            deleted.push_back(object->record());
    }
    std::vector<StoreRecord> written;
    for (const auto &[key, object] : m_stored) {
        if (object->m_isUpdated)
            written.push_back(object->record());
    }
    const size_t countOfUpdated = written.size();
    for (const auto &object : m_inserted)
        written.push_back(object->record());

    StoreFailure failure;
    const bool isNothingToDo = deleted.empty() && written.empty();
    if (!isNothingToDo && !store->save(deleted, written, failure))
        return fail(error, failure, m_coordinator->m_path);

    m_deleted.clear();
    for (const auto &[key, object] : m_stored)
        object->m_isUpdated = false;
    for (size_t i = 0; i < m_inserted.size(); ++i) {
        std::unique_ptr<NSManagedObject> &object = m_inserted[i];
        object->m_identifier = written[countOfUpdated + i].identifier;
        object->m_isUpdated = false;
        const StoredKey key(&object->entity(), object->m_identifier);
        m_stored.emplace(key, std::move(object));
    }
    m_inserted.clear();
    return true;
}

} // namespace Marblewick
