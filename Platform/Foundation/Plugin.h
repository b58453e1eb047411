#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QByteArray>
#include <QFunctionPointer>
#include <QString>

namespace Marblewick {

/*! The folder "marblewick" beside the library that holds this function, with a slash at its end: for what the
    framework loads or runs when it is needed. Empty where the system does not tell. Any thread.
*/
QByteArray pluginFolder();

/*! The address of a C function in one of the framework's plugins, which is loaded when it is not yet.

    Plugins are what a launch does not need, such as libcurl. They lie in pluginFolder(). Null, with a
   sentence for people in `reason`, where the plugin or the function is missing. Any thread.
*/
MARBLEWICK_CORE_EXPORT QFunctionPointer resolveInPlugin(const char *plugin, const char *function,
                                                        QString *reason);

} // namespace Marblewick
