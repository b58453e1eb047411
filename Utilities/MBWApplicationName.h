#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>

#include <optional>

/*! The host application's name: the main bundle's `CFBundleName`; where that is missing or empty, its
    `CFBundleExecutable`. Nil where the bundle has neither. Not localised: it names files. Any thread.
*/
MARBLEWICK_CORE_EXPORT std::optional<QString> MBWApplicationName();
