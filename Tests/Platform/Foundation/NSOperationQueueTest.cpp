#include <Marblewick/NSOperationQueue.h>

#include "Tests/Platform/Foundation/RunFoundationHost.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <thread>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;

TEST(NSOperationQueue, RunsABlockInTheEventLoopAndNotBeforeTheAddingCallReturns)
{
    bool hasRun = false;
    NSOperationQueue::mainQueue()->addOperationWithBlock([&] { hasRun = true; });
    EXPECT_FALSE(hasRun);
    EXPECT_TRUE(QTest::qWaitFor([&] { return hasRun; }));
}

TEST(NSOperationQueue, RunsBlocksInTheOrderInWhichTheyWereAdded)
{
    std::vector<int> order;
    for (int i = 0; i < 100; ++i)
        NSOperationQueue::mainQueue()->addOperationWithBlock([&order, i] { order.push_back(i); });
    EXPECT_TRUE(QTest::qWaitFor([&] { return order.size() == 100; }));
    EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST(NSOperationQueue, RunsABlockThatABlockAddedAfterThisOne)
{
    QStringList steps;
    NSOperationQueue::mainQueue()->addOperationWithBlock([&] {
        NSOperationQueue::mainQueue()->addOperationWithBlock([&] { steps.append(u"inner"_s); });
        steps.append(u"end of outer"_s);
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return steps.size() == 2; }));
    EXPECT_EQ(steps, (QStringList{u"end of outer"_s, u"inner"_s}));
}

TEST(NSOperationQueue, RunsBlocksOfOtherThreadsOnTheMainThreadEachThreadsInOrder)
{
    constexpr int threadCount = 4;
    constexpr int blocksPerThread = 200;
    std::vector<std::vector<int>> order(threadCount);
    int ranElsewhere = 0;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < blocksPerThread; ++i) {
                NSOperationQueue::mainQueue()->addOperationWithBlock([&, thread, i] {
                    ranElsewhere += QThread::currentThread() != qApp->thread();
                    order[static_cast<size_t>(thread)].push_back(i);
                });
            }
        });
    }
    const auto isDone = [&] {
        return std::ranges::all_of(order, [](const auto &list) { return list.size() == blocksPerThread; });
    };
    EXPECT_TRUE(QTest::qWaitFor(isDone, 30000));
    EXPECT_EQ(ranElsewhere, 0);
    for (const auto &list : order)
        EXPECT_TRUE(std::ranges::is_sorted(list));
}

TEST(NSOperationQueue, DropsABlockWithoutAnApplicationObject)
{
    EXPECT_EQ(runFoundationHost(foundationHost(), {u"add-operation-without-application"_s}).output,
              QString());
}
