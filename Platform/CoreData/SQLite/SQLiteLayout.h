#pragma once

#include "Platform/CoreData/SQLite/SQLiteDatabase.h"

namespace Marblewick {

// How records lie in an SQLite file: a table for each entity, with a column for each attribute that is
// stored. The file says by its `application_id` what it is, and by its `user_version` which version of the
// model it was made for. Each function throws a StoreFailure where it fails.

/*! The version of the model that a store was made for, from 1 to the model's own; 0 for an empty file. Throws
    where the file is no store of the model.
*/
int layoutVersion(SQLiteDatabase &database, const NSManagedObjectModel &model);

/*! Makes the tables of an empty file, or adds what a store of an older version lacks. In a transaction. */
void bringUpToDate(SQLiteDatabase &database, const NSManagedObjectModel &model);

/*! Whether a store of this version keeps an attribute. */
bool isStored(const NSAttributeDescription &attribute, int storedVersion);

/*! Selects the records whose identifiers are above the parameter, in their order: the identifier, then the
    attributes that the store keeps.
*/
SQLiteStatement selectStatement(const SQLiteDatabase &database, const NSEntityDescription &entity,
                                int storedVersion);
/*! Selects the first identifier above the parameter. */
SQLiteStatement nextIdentifierStatement(const SQLiteDatabase &database, const NSEntityDescription &entity);

/*! Writes a record: its parameters are the identifier, nil for a new one, and the attributes that the model
    stores. A record that has the identifier already gives way.
*/
SQLiteStatement writeStatement(const SQLiteDatabase &database, const NSEntityDescription &entity,
                               int storedVersion);
SQLiteStatement deleteStatement(const SQLiteDatabase &database, const NSEntityDescription &entity);

} // namespace Marblewick
