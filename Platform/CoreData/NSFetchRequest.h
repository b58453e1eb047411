#pragma once

#include <Marblewick/NSPredicate.h>

#include <QString>

#include <optional>

namespace Marblewick {

/*! Which objects of a context to fetch: those of an entity, or those of them that a predicate holds for. */
class NSFetchRequest
{
public:
    /*! All objects of an entity. */
    explicit NSFetchRequest(const QString &entityName)
        : m_entityName(entityName)
    { }

    QString entityName() const { return m_entityName; }

    const std::optional<NSPredicate> &predicate() const { return m_predicate; }
    void setPredicate(const std::optional<NSPredicate> &predicate) { m_predicate = predicate; }

private:
    QString m_entityName;
    std::optional<NSPredicate> m_predicate;
};

} // namespace Marblewick
