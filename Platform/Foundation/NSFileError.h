#pragma once

#include <QtGlobal>

namespace Marblewick {

/*! Codes of NSCocoaErrorDomain, of bookmarks and stores. What the system refuses has NSPOSIXErrorDomain. */
enum NSFileError : qint64 {
    NSFileNoSuchFileError = 4, ///< the bookmarked item is gone
    NSFileReadInvalidFileNameError = 258, ///< a path that is relative or holds a NUL
    NSFileReadCorruptFileError = 259, ///< the data is no bookmark, or the file no store, or it was damaged
    NSFileReadUnsupportedSchemeError = 262, ///< not a file URL
    NSFeatureUnsupportedError = 3328, ///< a newer version made the data
};

} // namespace Marblewick
