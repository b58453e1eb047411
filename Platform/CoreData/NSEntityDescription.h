#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QList>
#include <QString>
#include <QVariant>

namespace Marblewick {

class NSManagedObjectContext;

/*! What the value of an attribute is, beside nil, which is an invalid QVariant: a QByteArray, a bool, a
    QString or a QUrl.
*/
enum class NSAttributeType { BinaryData, Boolean, String, URL };

/*! One attribute of an entity. */
struct NSAttributeDescription
{
    QString name;
    NSAttributeType type = NSAttributeType::String;
    bool isTransient = false; ///< lives in memory only
    QVariant defaultValue; ///< of a new object, and of one that was stored before there was the attribute
    int sinceVersion = 1; ///< of the model; an older store has no such attribute
};

/*! A kind of objects in a model: its name, the class of its objects and their attributes. A value that never
    changes; any thread.
*/
class MARBLEWICK_CORE_EXPORT NSEntityDescription
{
public:
    NSEntityDescription(const QString &name, const QString &managedObjectClassName,
                        const QList<NSAttributeDescription> &attributes)
        : m_name(name)
        , m_managedObjectClassName(managedObjectClassName)
        , m_attributes(attributes)
    {
        for (const NSAttributeDescription &attribute : attributes)
            m_defaultValues.append(attribute.defaultValue);
    }

    /*! The entity in the model that a context works with; null where there is none. It lives as long as the
        model. Main thread.
    */
    static const NSEntityDescription *entityForName(const QString &name,
                                                    const NSManagedObjectContext &context);

    QString name() const { return m_name; }
    QString managedObjectClassName() const { return m_managedObjectClassName; }
    const QList<NSAttributeDescription> &attributes() const { return m_attributes; }
    /*! Of the attributes, in their order. */
    const QVariantList &defaultValues() const { return m_defaultValues; }

private:
    QString m_name;
    QString m_managedObjectClassName;
    QList<NSAttributeDescription> m_attributes;
    QVariantList m_defaultValues;
};

} // namespace Marblewick
