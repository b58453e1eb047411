#pragma once

#include <time.h>

#include <span>
#include <string_view>

// Dates of crash logs in local time, by arithmetic: the C library takes a lock to look up the time zone,
// which a signal handler must not.

/*! `YYYY-MM-DD-HHMMSS`, made in `buffer`. */
std::string_view localDateForFileName(const timespec &time, int secondsEastOfUTC, std::span<char> buffer);

/*! `YYYY-MM-DD HH:MM:SS.ffff +HHMM`, made in `buffer`, with `fractionDigits` (1 to 9) digits of the second.
 */
std::string_view localTimestamp(const timespec &time, int secondsEastOfUTC, int fractionDigits,
                                std::span<char> buffer);
