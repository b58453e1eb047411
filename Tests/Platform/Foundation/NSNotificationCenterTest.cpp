#include <Marblewick/NSNotificationCenter.h>

#include <gtest/gtest.h>

#include <QStringList>

#include <thread>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr char subject = 0;
constexpr char otherSubject = 0;
constexpr char observer = 0;
constexpr char otherObserver = 0;

/*! A centre with one observer that counts. */
struct CountingCenter
{
    NSNotificationCenter center;
    int count = 0;

    void observe(const QString &name, const void *object)
    {
        center.addObserver(
            &observer, [this](const NSNotification &) { ++count; }, name, object);
    }
};

} // namespace

TEST(NSNotificationCenter, DeliversNameObjectAndUserInfo)
{
    NSNotificationCenter center;
    NSNotification received;
    center.addObserver(&observer, [&](const NSNotification &notification) { received = notification; });
    center.postNotificationName(u"Ready"_s, &subject, {{u"key"_s, 7}});
    EXPECT_EQ(received.name, u"Ready"_s);
    EXPECT_EQ(received.object, &subject);
    EXPECT_EQ(received.userInfo, (QVariantMap{{u"key"_s, 7}}));
}

TEST(NSNotificationCenter, DeliversOnThePostingThreadBeforeThePostReturns)
{
    NSNotificationCenter center;
    std::thread::id thread;
    center.addObserver(&observer, [&](const NSNotification &) { thread = std::this_thread::get_id(); });
    std::thread poster([&] {
        center.postNotificationName(u"Ready"_s);
        EXPECT_EQ(thread, std::this_thread::get_id());
    });
    poster.join();
}

TEST(NSNotificationCenter, DeliversOnlyTheNameThatWasAskedFor)
{
    CountingCenter counting;
    counting.observe(u"Ready"_s, nullptr);
    counting.center.postNotificationName(u"ready"_s);
    EXPECT_EQ(counting.count, 0);
    counting.center.postNotificationName(u"Ready"_s);
    EXPECT_EQ(counting.count, 1);
}

TEST(NSNotificationCenter, DeliversOnlyWhatIsAboutTheObjectThatWasAskedFor)
{
    CountingCenter counting;
    counting.observe(u"Ready"_s, &subject);
    counting.center.postNotificationName(u"Ready"_s, &otherSubject);
    counting.center.postNotificationName(u"Ready"_s);
    EXPECT_EQ(counting.count, 0);
    counting.center.postNotificationName(u"Ready"_s, &subject);
    EXPECT_EQ(counting.count, 1);
}

TEST(NSNotificationCenter, DeliversEveryNameAboutEveryObjectWhereNeitherWasAskedFor)
{
    CountingCenter counting;
    counting.observe({}, nullptr);
    counting.center.postNotificationName(u"Ready"_s, &subject);
    counting.center.postNotificationName(u"Done"_s);
    EXPECT_EQ(counting.count, 2);
}

TEST(NSNotificationCenter, CallsObserversInTheOrderOfRegistration)
{
    NSNotificationCenter center;
    QStringList calls;
    center.addObserver(&otherObserver, [&](const NSNotification &) { calls.append(u"first"_s); });
    center.addObserver(&observer, [&](const NSNotification &) { calls.append(u"second"_s); });
    center.addObserver(&otherObserver, [&](const NSNotification &) { calls.append(u"third"_s); });
    center.postNotificationName(u"Ready"_s);
    EXPECT_EQ(calls, (QStringList{u"first"_s, u"second"_s, u"third"_s}));
}

TEST(NSNotificationCenter, ForgetsAllRegistrationsOfARemovedObserverAndNoOthers)
{
    NSNotificationCenter center;
    QStringList calls;
    center.addObserver(&observer, [&](const NSNotification &) { calls.append(u"any"_s); });
    center.addObserver(
        &observer, [&](const NSNotification &) { calls.append(u"named"_s); }, u"Ready"_s, &subject);
    center.addObserver(&otherObserver, [&](const NSNotification &) { calls.append(u"other"_s); });
    center.removeObserver(&observer);
    center.postNotificationName(u"Ready"_s, &subject);
    EXPECT_EQ(calls, QStringList{u"other"_s});
}

TEST(NSNotificationCenter, ReleasesTheCallbackOfARemovedObserver)
{
    NSNotificationCenter center;
    const auto owned = std::make_shared<int>(0);
    center.addObserver(&observer, [owned](const NSNotification &) {});
    EXPECT_EQ(owned.use_count(), 2);
    center.removeObserver(&observer);
    EXPECT_EQ(owned.use_count(), 1);
}

TEST(NSNotificationCenter, DoesNotCallAnObserverThatAnEarlierOneRemoved)
{
    NSNotificationCenter center;
    int calls = 0;
    center.addObserver(&observer, [&](const NSNotification &) { center.removeObserver(&otherObserver); });
    center.addObserver(&otherObserver, [&](const NSNotification &) { ++calls; });
    center.postNotificationName(u"Ready"_s);
    EXPECT_EQ(calls, 0);
}

TEST(NSNotificationCenter, LetsAnObserverRemoveItself)
{
    NSNotificationCenter center;
    int calls = 0;
    center.addObserver(&observer, [&](const NSNotification &) {
        ++calls;
        center.removeObserver(&observer);
    });
    center.postNotificationName(u"Ready"_s);
    center.postNotificationName(u"Ready"_s);
    EXPECT_EQ(calls, 1);
}

TEST(NSNotificationCenter, CallsAnObserverThatJoinsWithinAPostFromTheNextOneOn)
{
    NSNotificationCenter center;
    int calls = 0;
    center.addObserver(
        &observer,
        [&](const NSNotification &) {
            center.addObserver(&otherObserver, [&](const NSNotification &) { ++calls; });
        },
        u"Join"_s);
    center.postNotificationName(u"Join"_s);
    EXPECT_EQ(calls, 0);
    center.postNotificationName(u"Ready"_s);
    EXPECT_EQ(calls, 1);
}

TEST(NSNotificationCenter, LetsAnObserverPostAgain)
{
    NSNotificationCenter center;
    QStringList names;
    center.addObserver(&observer, [&](const NSNotification &notification) {
        names.append(notification.name);
        if (notification.name == u"First"_s)
            center.postNotificationName(u"Second"_s);
    });
    center.postNotificationName(u"First"_s);
    EXPECT_EQ(names, (QStringList{u"First"_s, u"Second"_s}));
}

TEST(NSNotificationCenter, TakesRegistrationsRemovalsAndPostsOfSeveralThreadsAtATime)
{
    NSNotificationCenter center;
    std::atomic<int> calls = 0;
    center.addObserver(
        &observer, [&](const NSNotification &) { ++calls; }, u"Ready"_s);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 500; ++round) {
                    center.addObserver(
                        &round, [](const NSNotification &) {}, u"Ready"_s);
                    center.postNotificationName(u"Ready"_s);
                    center.removeObserver(&round);
                }
            });
        }
    }
    EXPECT_EQ(calls, 2000);
}

TEST(NSNotificationCenter, HasOneDefaultCenter)
{
    EXPECT_NE(NSNotificationCenter::defaultCenter(), nullptr);
    EXPECT_EQ(NSNotificationCenter::defaultCenter(), NSNotificationCenter::defaultCenter());
}
