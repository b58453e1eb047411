#include "CrashReporter/LocalTime.h"

#include "CrashReporter/FixedText.h"

#include <chrono>
#include <cstdlib>

using namespace std::chrono;

namespace {

void appendDate(FixedText &text, sys_seconds time)
{
    const year_month_day date(floor<days>(time));
    text.append(static_cast<int>(date.year()), 4).append("-");
    text.append(static_cast<unsigned>(date.month()), 2).append("-");
    text.append(static_cast<unsigned>(date.day()), 2);
}

void appendClock(FixedText &text, sys_seconds time, std::string_view separator)
{
    const hh_mm_ss clock(time - floor<days>(time));
    text.append(clock.hours().count(), 2).append(separator);
    text.append(clock.minutes().count(), 2).append(separator);
    text.append(clock.seconds().count(), 2);
}

} // namespace

std::string_view localDateForFileName(const timespec &time, int secondsEastOfUTC, std::span<char> buffer)
{
    const sys_seconds local(seconds(time.tv_sec + secondsEastOfUTC));
    FixedText text(buffer);
    appendDate(text, local);
    text.append("-");
    appendClock(text, local, {});
    return text.view();
}

std::string_view localTimestamp(const timespec &time, int secondsEastOfUTC, int fractionDigits,
                                std::span<char> buffer)
{
    const sys_seconds local(seconds(time.tv_sec + secondsEastOfUTC));
    long fraction = time.tv_nsec;
    for (int digits = 9; digits > fractionDigits; --digits)
        fraction /= 10;
    const int minutesEast = std::abs(secondsEastOfUTC) / 60;

    FixedText text(buffer);
    appendDate(text, local);
    text.append(" ");
    appendClock(text, local, ":");
    text.append(".").append(fraction, fractionDigits);
    text.append(secondsEastOfUTC < 0 ? " -" : " +");
    text.append(minutesEast / 60, 2).append(minutesEast % 60, 2);
    return text.view();
}
