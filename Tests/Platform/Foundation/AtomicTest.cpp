#include "Platform/Foundation/Atomic.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace Marblewick;

TEST(Atomic, LosesNoneOfTheChangesOfManyThreads)
{
    Atomic<int> count(0);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int change = 0; change < 100'000; ++change)
                count.change([](int &value) { ++value; });
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(count.load(), 400'000);
}
