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
    const double seconds = std::floor(date.timeIntervalSinceReferenceDate + NSTimeIntervalSince1970);
    return m_locale.toString(QDateTime::fromSecsSinceEpoch(static_cast<qint64>(seconds)), m_dateFormat);
}

} // namespace Marblewick
