#pragma once

#include "Platform/CoreData/PersistentStore.h"
#include "Platform/Foundation/NSError.h"

namespace Marblewick {

/*! Stores in `error`, where it is asked for, why the store at a path failed. Returns false. */
inline bool fail(NSError *error, const StoreFailure &failure, const QString &path)
{
    if (error) {
        *error = NSError(NSCocoaErrorDomain, failure.code,
                         {{NSLocalizedDescriptionKey, failure.reason}, {NSFilePathErrorKey, path}});
    }
    return false;
}

} // namespace Marblewick
