#include "Platform/ExceptionHandling/ThrowRecord.h"

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace Marblewick;

namespace {

/*! Throws, and returns the recorded stack: empty, or from a place of this function of its own. */
template <int number>
[[gnu::noipa]] QString stackOfThrowNumber()
{
    try {
        throw number;
    } catch (int) {
        return ThrowRecord::stackOfThrow(std::current_exception()).addressString();
    }
}

QString placeOfThrow(const QString &stack) { return stack.section(u' ', 0, 0); }

template <int number>
void throwManyTimes()
{
    QString place;
    int recorded = 0;
    for (int count = 0; count < 5'000; ++count) {
        const QString stack = stackOfThrowNumber<number>();
        if (stack.isEmpty())
            continue;
        ++recorded;
        if (place.isEmpty())
            place = placeOfThrow(stack);
        ASSERT_EQ(placeOfThrow(stack), place);
    }
    EXPECT_GT(recorded, 1'000);
}

} // namespace

TEST(ThrowRecord, HasTheStackOfEachThrowFromTheFunctionThatThrew)
{
    ThrowRecord::setEnabled(true);
    ASSERT_TRUE(ThrowRecord::isEnabled());
    const QString first = stackOfThrowNumber<1>();
    EXPECT_FALSE(first.isEmpty());
    EXPECT_EQ(placeOfThrow(stackOfThrowNumber<1>()), placeOfThrow(first));
    EXPECT_NE(placeOfThrow(stackOfThrowNumber<2>()), placeOfThrow(first));
}

TEST(ThrowRecord, HasNothingOfAThrowWhileItIsDisabled)
{
    ThrowRecord::setEnabled(true);
    ThrowRecord::setEnabled(false);
    EXPECT_EQ(stackOfThrowNumber<1>(), QString());
}

TEST(ThrowRecord, ForgetsAThrowWithItsException)
{
    ThrowRecord::setEnabled(true);
    EXPECT_FALSE(stackOfThrowNumber<1>().isEmpty());
    ThrowRecord::setEnabled(false);
    EXPECT_EQ(stackOfThrowNumber<2>(), QString()) << "most likely at the same address";
    ThrowRecord::setEnabled(true);
    EXPECT_FALSE(stackOfThrowNumber<1>().isEmpty());
    EXPECT_TRUE(ThrowRecord::stackOfThrow(std::make_exception_ptr(2)).isEmpty());
}

TEST(ThrowRecord, OfManyThreadsThatThrowNoneGetsTheStackOfAnother)
{
    ThrowRecord::setEnabled(true);
    std::vector<std::thread> threads;
    threads.emplace_back(throwManyTimes<1>);
    threads.emplace_back(throwManyTimes<2>);
    threads.emplace_back(throwManyTimes<3>);
    threads.emplace_back(throwManyTimes<4>);
    for (std::thread &thread : threads)
        thread.join();
}
