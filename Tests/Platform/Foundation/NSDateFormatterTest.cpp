#include <Marblewick/NSDateFormatter.h>

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <ctime>
#include <limits>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

QString text(NSDate date, const QLocale &locale = QLocale::c())
{
    NSDateFormatter formatter;
    formatter.setLocale(locale);
    formatter.setDateFormat(u"yyyy-MM-dd-HHmmss"_s);
    return formatter.stringFromDate(date);
}

NSDate date(const char *iso)
{
    const QDateTime time = QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODateWithMs);
    return {static_cast<double>(time.toMSecsSinceEpoch()) / 1000 - NSTimeIntervalSince1970};
}

void setTimeZone(const char *zone)
{
    qputenv("TZ", zone);
    ::tzset();
}

} // namespace

TEST(NSDateFormatter, WritesYearMonthDayHourOf24MinuteAndSecond)
{
    setTimeZone("UTC0");
    EXPECT_EQ(text(date("2026-11-15T00:17:03Z")), u"2026-11-15-001703"_s);
    EXPECT_EQ(text(date("2026-01-02T23:59:59Z")), u"2026-01-02-235959"_s);
}

TEST(NSDateFormatter, WritesLocalTime)
{
    setTimeZone("EAST-5:30");
    EXPECT_EQ(text(date("2026-11-15T20:17:03Z")), u"2026-11-16-014703"_s);
    setTimeZone("WEST8");
    EXPECT_EQ(text(date("2026-11-15T00:17:03Z")), u"2026-11-14-161703"_s);
}

TEST(NSDateFormatter, CutsOffWhatIsBelowASecond)
{
    setTimeZone("UTC0");
    EXPECT_EQ(text(date("2026-11-15T00:17:03.999Z")), u"2026-11-15-001703"_s);
    EXPECT_EQ(text(date("1969-12-31T23:59:58.500Z")), u"1969-12-31-235958"_s);
}

TEST(NSDateFormatter, ADateThatNoCalendarReachesIsEmpty)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double seconds : {std::numeric_limits<double>::quiet_NaN(), infinity, -infinity, 1e300, -1e300,
                                 1e19, -1e19, 1e16, -1e16})
        EXPECT_EQ(text({seconds}), QString()) << seconds;
}

TEST(NSDateFormatter, WritesTheDigitsOfItsLocaleWhateverTheProcesss)
{
    setTimeZone("UTC0");
    const QLocale persian(QLocale::Persian, QLocale::Iran);
    QLocale::setDefault(persian);
    EXPECT_EQ(text(date("2026-11-15T00:17:03Z")), u"2026-11-15-001703"_s);
    EXPECT_EQ(text(date("2026-11-15T00:17:03Z"), persian), u"۲۰۲۶-۱۱-۱۵-۰۰۱۷۰۳"_s);
}

TEST(NSDateFormatter, KeepsTheBehaviorThatIsTheProcesssDefault)
{
    EXPECT_EQ(NSDateFormatter::defaultFormatterBehavior(), NSDateFormatterBehavior::Default);
    NSDateFormatter::setDefaultFormatterBehavior(NSDateFormatterBehavior::Behavior10_4);
    EXPECT_EQ(NSDateFormatter::defaultFormatterBehavior(), NSDateFormatterBehavior::Behavior10_4);
    EXPECT_EQ(static_cast<int>(NSDateFormatterBehavior::Behavior10_4), 1040);
}
