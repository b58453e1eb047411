#include "Platform/CoreData/NSManagedObject.h"

#include "Platform/CoreData/NSManagedObjectContext.h"
#include "Platform/CoreData/PersistentStore.h"
#include "Platform/Foundation/NSException.h"

#include <QHash>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

using Factory = std::unique_ptr<NSManagedObject> (*)(const NSEntityDescription &entity);
using Factories = QHash<QString, Factory>;

Factories &factories()
{
    static auto *const registered = new Factories;
    return *registered;
}

} // namespace

void NSManagedObject::registerFactory(const QString &name, Factory factory)
{
    factories().insert(name, factory);
}

std::unique_ptr<NSManagedObject> NSManagedObject::create(const NSEntityDescription &entity)
{
    const Factory factory = factories().value(entity.managedObjectClassName());
    return factory ? factory(entity) : std::make_unique<NSManagedObject>(entity);
}

NSManagedObject *NSManagedObject::initWithEntity(const NSEntityDescription &entity,
                                                 NSManagedObjectContext &context)
{
    return context.insertObject(create(entity));
}

NSManagedObject::NSManagedObject(const NSEntityDescription &entity)
    : m_entity(&entity)
    , m_values(entity.defaultValues())
{ }

NSManagedObject::~NSManagedObject() = default;

QVariant NSManagedObject::valueForKey(const QString &key) { return value(key); }

QVariant NSManagedObject::value(const QString &key) const
{
    willAccessValueForKey(key);
    QVariant value = primitiveValueForKey(key);
    didAccessValueForKey(key);
    return value;
}

void NSManagedObject::setValue(const QString &key, const QVariant &value)
{
    if (primitiveValueForKey(key) == value)
        return;
    willChangeValueForKey(key);
    setPrimitiveValue(value, key);
    didChangeValueForKey(key);
}

QVariant NSManagedObject::primitiveValueForKey(const QString &key) const
{
    return m_values.at(indexOfAttribute(key));
}

void NSManagedObject::setPrimitiveValue(const QVariant &value, const QString &key)
{
    m_values[indexOfAttribute(key)] = value;
}

void NSManagedObject::didChangeValueForKey(const QString &key)
{
    if (!m_entity->attributes().at(indexOfAttribute(key)).isTransient)
        m_isUpdated = true;
}

qsizetype NSManagedObject::indexOfAttribute(const QString &key) const
{
    const auto &attributes = m_entity->attributes();
    const auto attribute = std::ranges::find(attributes, key, &NSAttributeDescription::name);
    if (attribute == attributes.end())
        throw NSException(NSInvalidArgumentException,
                          u"The entity %1 has no attribute %2."_s.arg(m_entity->name(), key));
    return attribute - attributes.begin();
}

StoreRecord NSManagedObject::record() const { return {m_entity, m_identifier, m_values}; }

void NSManagedObject::adopt(StoreRecord &&record)
{
    m_identifier = record.identifier;
    if (m_isUpdated)
        return;
    const QVariantList former = std::exchange(m_values, std::move(record.values));
    for (qsizetype i = 0; i < m_values.size(); ++i) {
        if (m_entity->attributes().at(i).isTransient)
            m_values[i] = former.at(i);
    }
}

} // namespace Marblewick
