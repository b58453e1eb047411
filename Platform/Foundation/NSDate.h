#pragma once

#include <chrono>
#include <compare>

namespace Marblewick {

/*! Seconds from the Unix epoch, 1970-01-01 00:00:00 UTC, to the reference date. */
inline constexpr double NSTimeIntervalSince1970 = 978307200.0;

/*! A moment, as seconds since the reference date, 2001-01-01 00:00:00 UTC; negative before it.

    A double keeps 0.1 microseconds at present-day dates. QDateTime is not used because it keeps
    milliseconds only, so that the modification times of two files would tie.
*/
struct NSDate
{
    double timeIntervalSinceReferenceDate = 0;

    /*! The current moment, by the system's clock. */
    static NSDate date()
    {
        const std::chrono::duration<double> sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
        return {sinceEpoch.count() - NSTimeIntervalSince1970};
    }
    static NSDate dateWithTimeIntervalSinceReferenceDate(double seconds) { return {seconds}; }

    friend auto operator<=>(const NSDate &, const NSDate &) = default;
};

} // namespace Marblewick
