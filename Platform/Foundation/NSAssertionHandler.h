#pragma once

#include <QString>

namespace Marblewick::NSAssertionHandler {

/*! User-info keys of the exception: the method, its receiver, the source file (strings) and the line.
 */
inline constexpr QLatin1StringView NSAssertMethodKey("NSAssertMethod");
inline constexpr QLatin1StringView NSAssertObjectKey("NSAssertObject");
inline constexpr QLatin1StringView NSAssertFileKey("NSAssertFile");
inline constexpr QLatin1StringView NSAssertLineKey("NSAssertLine");

/*! Ends a method whose caller has broken its contract: writes a line to the process log and throws an
    NSException named NSInternalInconsistencyException, whose reason is `description`. `object` describes the
    receiver without what it holds. Any thread.
*/
[[noreturn]] void handleFailureInMethod(const QString &method, const QString &object, const QString &file,
                                        int lineNumber, const QString &description);

} // namespace Marblewick::NSAssertionHandler
