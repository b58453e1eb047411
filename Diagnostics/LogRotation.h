#pragma once

#include "Platform/Foundation/NSFileManager.h"

#include <vector>

/*! A file or folder in the log folder that an earlier launch may have left. */
struct LogRecord
{
    QString fullPath;
    Marblewick::NSFileAttributes attributes;
};

/*! The full paths of the logs that have to go, oldest first by their creation dates; of logs with the same
    date the one that comes first in `records` goes first. None of up to 9 logs; of 10 and more, all but the 9
    newest, so that with this launch's there are 10.
*/
QStringList logsToRemove(std::vector<LogRecord> records);
