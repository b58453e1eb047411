#include "Platform/Foundation/NSDateFormatter.h"

#include <QDateTime>

#include <atomic>
#include <cmath>

namespace Marblewick {

namespace {

constinit std::atomic<NSDateFormatterBehavior> defaultBehavior = NSDateFormatterBehavior::Default;

} // namespace

NSDateFormatterBehavior NSDateFormatter::defaultFormatterBehavior() { return defaultBehavior; }

void NSDateFormatter::setDefaultFormatterBehavior(NSDateFormatterBehavior behavior)
{
    defaultBehavior = behavior;
}

QString NSDateFormatter::stringFromDate(NSDate date) const
{
    constexpr double limit = 9e15; // QDateTime counts milliseconds in 64 bits.
    const double seconds = std::floor(date.timeIntervalSinceReferenceDate + NSTimeIntervalSince1970);
    if (!(std::abs(seconds) < limit)) // NaN is not, either.
        return {};
    return m_locale.toString(QDateTime::fromSecsSinceEpoch(static_cast<qint64>(seconds)), m_dateFormat);
}

} // namespace Marblewick
