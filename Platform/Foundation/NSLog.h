#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QStringView>

#include <initializer_list>
#include <optional>

namespace Marblewick {

/*! Writes one line to the process log, which is standard error:
    `2026-11-21 11:22:10.123 App[1234:5678] message`, with local date and time, the executable's name, the
    process id and the thread id.

    `format` holds one `%@` for each argument; an argument that is nil prints `(null)`. Line breaks, control
    characters and characters that reorder text are escaped (`\n`, `\u{1b}`), so that a message can neither
    forge a second line nor drive a terminal. The lines of several threads do not mix, nor do those of several
    processes up to the 4096 bytes that a pipe takes whole. A line that cannot be written, such as to a pipe
    whose reader has gone, is dropped. Any thread.
*/
MARBLEWICK_CORE_EXPORT void NSLog(QStringView format,
                                  std::initializer_list<std::optional<QString>> arguments = {});

} // namespace Marblewick
