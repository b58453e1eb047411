#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSEntityDescription.h>

#include <QString>
#include <QVariant>

#include <memory>

namespace Marblewick {

class NSManagedObjectContext;
struct StoreRecord;

/*! One record of a store, in a context that owns it and saves it.

    A record class inherits from this one and its constructor, and is registered under the name that the model
    gives it. Its getters and setters use value() and setValue(). Where a getter does more than read, the
    class also overrides valueForKey(), so that predicates see the same.

    A pointer to an object is borrowed: it is valid until its deletion has been saved, or its context ends.
    Attributes that the entity does not have raise an NSInvalidArgumentException. Main thread.
*/
class MARBLEWICK_CORE_EXPORT NSManagedObject
{
public:
    /*! Makes `Record` the class of the entities that name it. Before the first object is made. */
    template <typename Record>
    static void registerClass(const QString &name)
    {
        registerFactory(name, [](const NSEntityDescription &entity) -> std::unique_ptr<NSManagedObject> {
            return std::make_unique<Record>(entity);
        });
    }

    /*! A new object of the entity's class, with the attributes' default values, inserted into a context and
        not yet saved. An entity whose class nobody registered has plain NSManagedObjects.
    */
    static NSManagedObject *initWithEntity(const NSEntityDescription &entity,
                                           NSManagedObjectContext &context);

    /*! Not for callers but for factories: an object in no context. The entity must outlive it. */
    explicit NSManagedObject(const NSEntityDescription &entity);
    virtual ~NSManagedObject();
    NSManagedObject(const NSManagedObject &) = delete;
    NSManagedObject &operator=(const NSManagedObject &) = delete;

    const NSEntityDescription &entity() const { return *m_entity; }

    /*! The value that others see of an attribute, such as predicates: value(), unless a class overrides it.
     */
    virtual QVariant valueForKey(const QString &key);

    /*! The value of an attribute, an invalid QVariant for nil. */
    QVariant value(const QString &key) const;
    /*! Sets the value of an attribute, which the next save stores. What is equal to the present value is no
        change.
    */
    void setValue(const QString &key, const QVariant &value);

    // What value() and setValue() consist of, for accessors that are written by hand. Access needs no
    // preparation here, as an object is always loaded whole. A change counts from its second notice on.
    void willAccessValueForKey(const QString &) const { }
    QVariant primitiveValueForKey(const QString &key) const;
    void didAccessValueForKey(const QString &) const { }
    void willChangeValueForKey(const QString &) { }
    void setPrimitiveValue(const QVariant &value, const QString &key);
    void didChangeValueForKey(const QString &key);

private:
    friend class NSManagedObjectContext;

    using Factory = std::unique_ptr<NSManagedObject> (*)(const NSEntityDescription &entity);
    static void registerFactory(const QString &name, Factory factory);
    static std::unique_ptr<NSManagedObject> create(const NSEntityDescription &entity);

    qsizetype indexOfAttribute(const QString &key) const;

    StoreRecord record() const;
    /*! Takes over a stored record's values, unless they were changed here. */
    void adopt(StoreRecord &&record);

    const NSEntityDescription *m_entity;
    QVariantList m_values; // as the entity's attributes
    qint64 m_identifier = 0; // in the store; 0 before the first save
    bool m_isUpdated = false; // since the last save
};

} // namespace Marblewick
