#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>

/*! The host application's log files: one for each launch, ten at most.

    They are named `<application name>_<yyyy-MM-dd-HHmmss>.log`, after the local time of the launch. They lie
    in `<application name>/Logs` in the user's data folder (`$XDG_DATA_HOME`, else `~/.local/share`). Two
    launches within one second share a file, which the later one empties.

    A host asks for the shared manager once its name is known (see MBWApplicationName()), and then sends
    standard error to the file:
    `MBWLogManager *const logs = MBWLogManager::sharedManager();`
    `logs->redirectStandardErrorToFileAtPath(logs->applicationLogFile());`

    Nothing here reports a failure: a file or folder that the system refuses leaves things as they are. Main
    thread only.
*/
class MARBLEWICK_CORE_EXPORT MBWLogManager
{
public:
    /*! The manager of this process, made by the first call and never destroyed. */
    static MBWLogManager *sharedManager();

    /*! Removes old logs, and then chooses this launch's applicationLogFile. Makes the log folder; makes no
        file, and leaves standard error alone.

        An old log is whatever in the log folder has a path, relative to it, that begins with the application
        name and an underscore: files with any extension, and subfolders, which are counted and so is each
        item in them. Where there are 10 or more, those created first go until 9 are left. Where the file
        system keeps no creation dates, modification dates stand in for them.
    */
    MBWLogManager();
    MBWLogManager(const MBWLogManager &) = delete;
    MBWLogManager &operator=(const MBWLogManager &) = delete;

    /*! The full path of this launch's log file, whether there is one or not. */
    QString applicationLogFile() const { return m_applicationLogFile; }
    void setApplicationLogFile(const QString &path) { m_applicationLogFile = path; }

    /*! The path of the log folder, which is made, with those above it, where it is missing. The path is the
        same where it cannot be made.
    */
    QString applicationLogDirectory() const;

    /*! Sends everything that this process and the programs it starts write to standard error to the file at
        `path` from now on: NSLog(), `std::cerr`, the C library's `stderr`, and Qt's messages (`qWarning()` …)
        unless the host has a message handler of its own. Nothing is held back in a buffer, so what was
        written before a crash is in the file after it. Lines that find no room on the disk are lost, and
        `std::cerr` then stays silent until the host calls its clear().

        The file is made, readable by the user alone, or emptied; missing folders above it are made. Where
        they cannot be made or the file cannot be opened for writing, standard error stays where it is. That
        is so, too, for a bare name without a folder. A second call moves standard error to another file.
    */
    void redirectStandardErrorToFileAtPath(const QString &path) const;

private:
    void rotateLogs() const;

    QString m_applicationLogFile;
};
