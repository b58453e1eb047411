#include <Marblewick/MBWSWUpdateChecker.h>

#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSException.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSNotificationCenter.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QThread>

#include <functional>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

std::function<bool()> answerOfTheRecord;

/*! The outcome of a check that finds a newer release, of which `answer` says whether the system will do. */
NSNotification outcomeWhere(const std::function<bool()> &answer)
{
    answerOfTheRecord = answer;
    const TemporaryHome home;
    MBWSWUpdateInfo info;
    info.setVersionIdentifier(120);
    const QByteArray feed = NSKeyedArchiver::archivedDataWithRootObject(info);
    const LoopbackServer server([&](const auto &) { return LoopbackServer::Answer{200, feed, {}}; });

    std::optional<NSNotification> outcome;
    NSNotificationCenter *const center = NSNotificationCenter::defaultCenter();
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(119, server.url());
    center->addObserver(
        &outcome, [&](const NSNotification &notification) { outcome = notification; }, {}, checker.get());
    EXPECT_TRUE(QTest::qWaitFor([&] { return outcome.has_value(); }, 20'000));
    center->removeObserver(&outcome);
    EXPECT_EQ(outcome.value_or(NSNotification()).object, checker.get());
    return outcome.value_or(NSNotification());
}

} // namespace

// Stands in, in this program, for the record's own answer, which throws nothing by itself.
bool MBWSWUpdateInfo::isOperatingSystemVersionCompatible() const { return answerOfTheRecord(); }

TEST(UpdateCheckerExceptions, AnExceptionWhileTheRecordIsJudgedIsAFailureWithoutUserInfo)
{
    const std::function<bool()> throwing[] = {
        []() -> bool { throw NSException(NSInternalInconsistencyException, u"of the platform"_s); },
        []() -> bool { throw std::bad_alloc(); },
        []() -> bool { throw 42; },
    };
    for (const std::function<bool()> &answer : throwing) {
        const NSNotification outcome = outcomeWhere(answer);
        EXPECT_EQ(outcome.name, MBWUpdateCheckFailedNotificiation);
        EXPECT_EQ(outcome.userInfo, QVariantMap());
    }
}

TEST(UpdateCheckerExceptions, TheRecordIsJudgedOnAThreadThatIsNotTheMainThread)
{
    const QThread *thread = nullptr;
    const NSNotification outcome = outcomeWhere([&] {
        thread = QThread::currentThread();
        return false;
    });
    EXPECT_EQ(outcome.name, MBWSoftwareUpToDateNotification);
    EXPECT_NE(thread, nullptr);
    EXPECT_NE(thread, qApp->thread());
}
