#pragma once

#include <Marblewick/NSFileError.h>

namespace Marblewick {

// Codes of NSCocoaErrorDomain. The sentence of such an error says what SQLite or the system answered, and its
// NSFilePathErrorKey is the path of the store. A file that is no SQLite database, or a damaged one, has
// NSFileReadCorruptFileError.

/*! The file or its folder permits no writing. */
inline constexpr qint64 NSFileWriteNoPermissionError = 513;
/*! The disk, or the user's share of it, is full. */
inline constexpr qint64 NSFileWriteOutOfSpaceError = 640;
/*! The SQLite database is another program's, or lacks what the model describes. */
inline constexpr qint64 NSPersistentStoreIncompatibleSchemaError = 134020;
/*! A save failed for another reason, such as that there is no store or that its file was deleted. */
inline constexpr qint64 NSPersistentStoreSaveError = 134030;
/*! A fetch failed for another reason. */
inline constexpr qint64 NSPersistentStoreOperationError = 134070;
/*! The store cannot be opened for another reason: no file URL, not a file, unreadable, not to be created. */
inline constexpr qint64 NSPersistentStoreOpenError = 134080;
/*! Another process has locked the store for longer than this one waits. */
inline constexpr qint64 NSPersistentStoreTimeoutError = 134090;
/*! The layout of the store is newer than the model, or older where it is not to be migrated. */
inline constexpr qint64 NSPersistentStoreIncompatibleVersionHashError = 134100;

} // namespace Marblewick
