#include "Platform/CoreData/NSEntityDescription.h"

#include "Platform/CoreData/NSManagedObjectContext.h"

namespace Marblewick {

const NSEntityDescription *NSEntityDescription::entityForName(const QString &name,
                                                              const NSManagedObjectContext &context)
{
    const auto &coordinator = context.persistentStoreCoordinator();
    const bool hasModel = coordinator && coordinator->managedObjectModel();
    return hasModel ? coordinator->managedObjectModel()->entityNamed(name) : nullptr;
}

} // namespace Marblewick
