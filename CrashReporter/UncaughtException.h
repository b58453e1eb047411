#pragma once

#include "CrashReporter/CrashRecord.h"

#include <atomic>
#include <string_view>

/*! The exception that nobody caught, as the terminate handler tells it and the crash handler needs it.
   Nothing here allocates or takes a lock.
*/
class UncaughtException
{
public:
    /*! Whether the calling thread is the first whose exception ends the process; only that one is kept. */
    bool claim();
    void setType(std::string_view type);
    void setText(std::string_view text);

    /*! Puts it into the record where the crashed thread is the one that threw it. */
    void addTo(CrashRecord &record) const;

private:
    /*! 0 while there is none. */
    std::atomic<pid_t> m_thread = 0;
    char m_type[sizeof CrashRecord::exceptionType] = {};
    char m_text[sizeof CrashRecord::exceptionText] = {};
};

/*! The process's own. */
extern UncaughtException uncaughtException;
