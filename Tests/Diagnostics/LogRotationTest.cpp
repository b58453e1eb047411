#include "Diagnostics/LogRotation.h"

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

/*! Logs that are named by their place in the list and were made at these moments. */
std::vector<LogRecord> records(std::initializer_list<double> creationDates)
{
    std::vector<LogRecord> result;
    for (const double date : creationDates) {
        LogRecord record{QString::number(result.size()), {}};
        record.attributes.creationDate = {date};
        record.attributes.modificationDate = {-date};
        result.push_back(record);
    }
    return result;
}

} // namespace

TEST(LogRotation, RemovesNoneOfUpToNine)
{
    EXPECT_EQ(logsToRemove({}), QStringList());
    EXPECT_EQ(logsToRemove(records({1})), QStringList());
    EXPECT_EQ(logsToRemove(records({9, 8, 7, 6, 5, 4, 3, 2, 1})), QStringList());
}

TEST(LogRotation, RemovesTheOldestOfTen)
{
    EXPECT_EQ(logsToRemove(records({10, 9, 8, 7, 6, 5, 4, 3, 1, 2})), QStringList({u"8"_s}));
}

TEST(LogRotation, RemovesAllButTheNineNewestOldestFirst)
{
    EXPECT_EQ(logsToRemove(records({5, 12, 1, 11, 3, 10, 2, 9, 4, 8, 6, 7})),
              QStringList({u"2"_s, u"6"_s, u"4"_s}));
}

TEST(LogRotation, TellsDatesApartThatLieCloseTogether)
{
    constexpr double now = 817000000;
    constexpr double microsecond = 1e-6;
    EXPECT_EQ(logsToRemove(records({now + microsecond, now, 9e8, 9e8, 9e8, 9e8, 9e8, 9e8, 9e8, 9e8})),
              QStringList({u"1"_s}));
}

TEST(LogRotation, RemovesTheFirstInTheListOfLogsWithTheSameDate)
{
    EXPECT_EQ(logsToRemove(records({5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5})), QStringList({u"0"_s, u"1"_s}));
}

TEST(LogRotation, GoesByTheDatesAloneWhereTheClockWentBackwards)
{
    // The last log in the list was made by a launch before the reference date of 2001, by its clock.
    EXPECT_EQ(logsToRemove(records({1, 2, 3, 4, 5, 6, 7, 8, 9, -1e9})), QStringList({u"9"_s}));
    EXPECT_EQ(logsToRemove(records({1e11, 2, 3, 4, 5, 6, 7, 8, 9, 1})), QStringList({u"9"_s}));
}
