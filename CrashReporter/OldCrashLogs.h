#pragma once

#include <QByteArray>
#include <QByteArrayList>

/*! How many of a host's own logs are kept. */
inline constexpr qsizetype keptCrashLogs = 20;

/*! Of the names in a folder, those of the host's own logs that are to be removed: the oldest, so that
    `keptCrashLogs` are left.

    A log is the host's own where its whole name is what the host writes, `<name>_<date and time>_<process
    id>.ips`, so that neither another program's nor anybody else's file of a similar name is touched.
    `applicationName` is as it stands in file names. Pure; any thread.
*/
QByteArrayList crashLogsToRemove(const QByteArray &applicationName, const QByteArrayList &names);

/*! Removes the oldest of a host's own logs from a folder. What cannot be removed stays. */
void removeOldCrashLogs(const QByteArray &applicationName, const QString &folder);
