#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSEntityDescription.h>

#include <QList>
#include <QString>
#include <QUrl>

#include <memory>

namespace Marblewick {

/*! The entities of a store, as a model resource describes them. It never changes; any thread.

    The resource is a JSON object: `version`, a number that grows with each change of what is stored, and
    `entities`, each with `name`, `class` and `attributes`. An attribute has `name` and `type` ("binary",
    "boolean", "string" or "URL"), and may have `default`, `transient` and `since`, the version that added it.
    That is all a migration needs: a store of an older version lacks the attributes that came since.
*/
class MARBLEWICK_CORE_EXPORT NSManagedObjectModel
{
public:
    /*! The model of a resource or file; null where the URL leads to none, or to what describes no model. */
    static std::shared_ptr<const NSManagedObjectModel> initWithContentsOfURL(const QUrl &url);

    NSManagedObjectModel(int version, const QList<NSEntityDescription> &entities);

    int version() const { return m_version; }
    const QList<NSEntityDescription> &entities() const { return m_entities; }
    /*! Null where the model has no such entity. */
    const NSEntityDescription *entityNamed(const QString &name) const;

private:
    int m_version;
    QList<NSEntityDescription> m_entities;
};

} // namespace Marblewick
