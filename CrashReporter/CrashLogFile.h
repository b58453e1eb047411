#pragma once

#include "CrashReporter/CrashRecord.h"

#include <limits.h>

#include <string_view>

// The file of a crash log. Nothing here allocates or takes a lock, so that a signal handler may use it.

/*! What stands for a slash in the name of a log, because no file can have one in its name. */
inline constexpr char crashLogSlash = ':';

/*! How many bytes of the application's name are in the name of a log at most. Leaves room for the date, a
    process id of any size and the extension.
*/
inline constexpr int crashLogNameLength = 222;

/*! Names, without a folder, of the log of one crash. Who knows the record knows both names. */
struct CrashLogNames
{
    explicit CrashLogNames(const CrashRecord &record);

    /*! While it is written. It holds no underscore, so it is nobody's log: those begin with the name of an
        application and an underscore.
    */
    char temporary[64];
    /*! `<application name>_<YYYY-MM-DD-HHMMSS>_<process id>.ips`, with the local time of the crash. A name of
        more than 222 bytes is cut.
    */
    char log[NAME_MAX + 1];
};

/*! The log of one crash while it is written: it appears under its name when it is complete, or not at all. */
class CrashLogFile
{
public:
    explicit CrashLogFile(const CrashRecord &record);
    /*! Removes the file unless it is complete. */
    ~CrashLogFile();
    CrashLogFile(const CrashLogFile &) = delete;
    CrashLogFile &operator=(const CrashLogFile &) = delete;

    /*! Makes an empty file that only the user may read and write, under its temporary name, with the folders
        above it that are missing. False, with `errno` set, where it cannot be made.
    */
    bool create();
    /*! The open file. */
    int descriptor() const { return m_descriptor; }
    /*! Takes what was written to the disk and gives the file its name. False, with `errno` set, where one of
        that fails; then the file goes.
    */
    bool complete();

    /*! Whether the complete log is there, whoever wrote it. */
    bool exists() const;
    /*! Removes what a helper left that was killed before its log was complete. */
    void removeUnfinished() const;

private:
    int openFolder() const;

    const CrashRecord &m_record;
    const CrashLogNames m_names;
    int m_folder = -1;
    int m_descriptor = -1;
};
