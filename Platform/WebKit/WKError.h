#pragma once

#include <QLatin1StringView>

namespace Marblewick {

/*! Domain of the errors of web views that URL sessions do not have. */
inline constexpr QLatin1StringView WebKitErrorDomain("WebKitErrorDomain");

/*! Codes of WebKitErrorDomain. */
enum WebKitError : qint64 {
    WebKitErrorFrameLoadInterruptedByPolicyChange = 102, ///< what came is no page: a download, or nothing
    WebKitErrorCannotLoadPlugIn = 201, ///< the plugin with the web engine is missing or cannot run
};

} // namespace Marblewick
