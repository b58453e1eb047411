#include "Platform/CoreData/NSManagedObjectContext.h"

#include "Platform/CoreData/StoreError.h"

#include <algorithm>
#include <set>
#include <span>

using namespace Qt::StringLiterals;

namespace Marblewick {

NSManagedObjectContext::Key NSManagedObjectContext::keyOf(const std::unique_ptr<NSManagedObject> &object)
{
    return {&object->entity(), object->m_identifier};
}

NSManagedObjectContext::NSManagedObjectContext(NSManagedObjectContextConcurrencyType) { }

NSManagedObjectContext::~NSManagedObjectContext() = default;

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
    objects.reserve(static_cast<qsizetype>(m_stored.size()));
    for (const Objects *some : {&m_stored, &m_inserted}) {
        for (const auto &object : *some) {
            if (&object->entity() == entity)
                objects.append(object.get());
        }
    }
    if (request.predicate())
        objects.removeIf(
            [&](NSManagedObject *object) { return !request.predicate()->evaluateWithObject(*object); });
    return objects;
}

NSManagedObject *NSManagedObjectContext::insertObject(std::unique_ptr<NSManagedObject> object)
{
    return m_inserted.emplace_back(std::move(object)).get();
}

void NSManagedObjectContext::deleteObject(NSManagedObject *object)
{
    for (Objects *some : {&m_stored, &m_inserted}) {
        const auto found = std::ranges::find(*some, object, &std::unique_ptr<NSManagedObject>::get);
        if (found != some->end()) {
            m_deleted.push_back(std::move(*found));
            some->erase(found);
            return;
        }
    }
}

bool NSManagedObjectContext::hasChanges() const
{
    return !m_inserted.empty()
           || std::ranges::any_of(m_deleted, [](const auto &object) { return object->m_identifier != 0; })
           || std::ranges::any_of(m_stored, [](const auto &object) { return object->m_isUpdated; });
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
        adopt(std::move(records));
    return true;
}

void NSManagedObjectContext::adopt(std::vector<StoreRecord> &&records)
{
    std::set<Key> deletedHere;
    for (const auto &object : m_deleted)
        deletedHere.insert(keyOf(object));

    Objects former = std::exchange(m_stored, {});
    m_stored.reserve(records.size());
    auto next = former.begin();
    for (StoreRecord &record : records) {
        const Key key(record.entity, record.identifier);
        for (; next != former.end() && keyOf(*next) < key; ++next)
            retire(std::move(*next));
        const bool isKnown = next != former.end() && keyOf(*next) == key;
        if (!isKnown && deletedHere.contains(key))
            continue;
        m_stored.push_back(isKnown ? std::move(*next++) : NSManagedObject::create(*record.entity));
        m_stored.back()->adopt(std::move(record));
    }
    for (; next != former.end(); ++next)
        retire(std::move(*next));
}

void NSManagedObjectContext::retire(std::unique_ptr<NSManagedObject> object)
{
    if (object->m_isUpdated) {
        m_stored.push_back(std::move(object));
        return;
    }
    object->m_identifier = 0; // There is nothing left for a save to delete.
    m_deleted.push_back(std::move(object)); // Callers may still hold it, as what they delete themselves.
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
    for (const auto &object : m_stored) {
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
    for (const auto &object : m_stored)
        object->m_isUpdated = false;
    const auto newRecords = std::span(written).subspan(countOfUpdated);
    for (size_t i = 0; i < m_inserted.size(); ++i) {
        m_inserted[i]->m_identifier = newRecords[i].identifier;
        m_inserted[i]->m_isUpdated = false;
        const auto place = std::ranges::upper_bound(m_stored, keyOf(m_inserted[i]), {}, keyOf);
        m_stored.insert(place, std::move(m_inserted[i]));
    }
    m_inserted.clear();
    return true;
}

} // namespace Marblewick
