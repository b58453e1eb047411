#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QFunctionPointer>
#include <QString>

namespace Marblewick {

/*! The address of a C function in one of the framework's plugins, which is loaded when it is not yet.

    Plugins are what a launch does not need, such as libcurl. They lie in the folder "marblewick" beside the
    library that holds this function. Null, with a sentence for people in `reason`, where the plugin or the
    function is missing. Any thread.
*/
MARBLEWICK_CORE_EXPORT QFunctionPointer resolveInPlugin(const char *plugin, const char *function,
                                                        QString *reason);

} // namespace Marblewick
