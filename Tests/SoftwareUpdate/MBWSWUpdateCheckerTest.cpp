#include <Marblewick/MBWSWUpdateChecker.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/RawServer.h"
#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/MBWUpdateNotificationPanel.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSNotificationCenter.h>
#include <Marblewick/NSURLError.h>
#include <Marblewick/NSURLSession.h>
#include <Marblewick/NSUserDefaults.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTranslator>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr qint64 runningVersion = 119;

QByteArray feed(qint64 versionIdentifier, const QString &systemVersion = {})
{
    MBWSWUpdateInfo info;
    info.setProductName(u"Cartographer"_s);
    info.setVersionIdentifier(versionIdentifier);
    info.setVersionString(u"1.5"_s);
    if (!systemVersion.isEmpty())
        info.setSystemVersion(systemVersion);
    return NSKeyedArchiver::archivedDataWithRootObject(info);
}

LoopbackServer::Handler answering(const QByteArray &body, int status = 200)
{
    return [=](const LoopbackServer::Request &) { return LoopbackServer::Answer{status, body, {}}; };
}

/*! What is announced about software updates while it lives. */
class Announcements
{
public:
    Announcements()
    {
        for (const auto name : {MBWUpdateCheckDidStartNotification, MBWNewSoftwareFoundNotification,
                                MBWSoftwareUpToDateNotification, MBWUpdateCheckFailedNotificiation}) {
            center()->addObserver(
                this,
                [this](const NSNotification &notification) {
                    EXPECT_EQ(QThread::currentThread(), qApp->thread());
                    received.append(notification);
                },
                name);
        }
    }
    ~Announcements() { center()->removeObserver(this); }
    Announcements(const Announcements &) = delete;
    Announcements &operator=(const Announcements &) = delete;

    /*! The outcome that comes after `count` announcements; one without a name where none came. */
    NSNotification outcome(qsizetype count = 1) const
    {
        const bool hasCome = QTest::qWaitFor([&] { return received.size() > count; }, 20'000);
        return hasCome ? received.at(count) : NSNotification();
    }

    QList<NSNotification> received;

private:
    static NSNotificationCenter *center() { return NSNotificationCenter::defaultCenter(); }
};

class UpdateChecker : public testing::Test
{
protected:
    UpdateChecker() { QCoreApplication::setApplicationName(u"Cartographer"_s); }

    /*! The name of the outcome of one check, against a server that answers with these bytes. */
    QString outcomeFor(const QByteArray &body, qint64 version = runningVersion, int status = 200)
    {
        const LoopbackServer server(answering(body, status));
        const Announcements announcements;
        const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(version, server.url(u"/feed"_s));
        return announcements.outcome().name;
    }

    static void skip(qint64 version)
    {
        NSUserDefaults::standardUserDefaults()->setInteger(version, MBWLastSWUpdateVersionKey);
    }

    const TemporaryHome home;
};

const QString newSoftware(MBWNewSoftwareFoundNotification);
const QString upToDate(MBWSoftwareUpToDateNotification);
const QString failed(MBWUpdateCheckFailedNotificiation);

std::optional<NSError> errorOf(const NSNotification &notification)
{
    const QVariant error = notification.userInfo.value(u"NSError"_s);
    return error.isValid() ? std::optional(error.value<NSError>()) : std::nullopt;
}

} // namespace

TEST_F(UpdateChecker, TheConstantsHaveTheValuesThatHostsKnow)
{
    EXPECT_EQ(MBWUpdateCheckDidStartNotification, "MBWUpdateCheckDidStartNotification"_L1);
    EXPECT_EQ(MBWNewSoftwareFoundNotification, "MBWSoftwareNewSoftwareFoundNotification"_L1);
    EXPECT_EQ(MBWSoftwareUpToDateNotification, "MBWSoftwareUpToDateNotification"_L1);
    EXPECT_EQ(MBWUpdateCheckFailedNotificiation, "MBWUpdateCheckFailedNotificiation"_L1);
    EXPECT_EQ(MBWLastSWUpdateVersionKey, "MBWLastSWUpdateVersionKey"_L1);
    EXPECT_EQ(MBWErrorDomain, "MBWErrorDomain"_L1);
    EXPECT_EQ(MBWSWUpdateCheckFailedErrorCode, 10000);
}

TEST_F(UpdateChecker, TheStartIsAnnouncedBeforeTheInitialiserReturns)
{
    const LoopbackServer server;
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    ASSERT_EQ(announcements.received.size(), 1);
    EXPECT_EQ(announcements.received.first().name, MBWUpdateCheckDidStartNotification);
    EXPECT_EQ(announcements.received.first().object, checker.get());
    EXPECT_EQ(announcements.received.first().userInfo, QVariantMap());
}

TEST_F(UpdateChecker, TheRecordIsFetchedByAPlainGet)
{
    const LoopbackServer server(answering(feed(1)));
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion,
                                                                    server.url(u"/feed?a=b"_s));
    EXPECT_EQ(announcements.outcome().name, upToDate);
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests().first().method, "GET");
    EXPECT_EQ(server.requests().first().target, "/feed?a=b");
    EXPECT_EQ(server.requests().first().body, "");
}

TEST_F(UpdateChecker, ANewerReleaseIsAnnouncedAndShownInThePanelOfTheChecker)
{
    const LoopbackServer server(answering(feed(120)));
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    EXPECT_EQ(checker->updatePanel(), nullptr);
    const NSNotification outcome = announcements.outcome();
    EXPECT_EQ(outcome.name, newSoftware);
    EXPECT_EQ(outcome.object, checker.get());
    EXPECT_EQ(outcome.userInfo, QVariantMap());
    ASSERT_NE(checker->updateInfo(), nullptr);
    EXPECT_EQ(checker->updateInfo()->versionIdentifier(), 120);
    ASSERT_NE(checker->updatePanel(), nullptr);
    EXPECT_TRUE(checker->updatePanel()->window()->isVisible());
    EXPECT_EQ(checker->updatePanel()->updateInfo(), checker->updateInfo());
    EXPECT_NE(checker->updatePanel().get(), MBWUpdateNotificationPanel::sharedPanel());
}

TEST_F(UpdateChecker, TheReleaseThatRunsIsNotOffered) { EXPECT_EQ(outcomeFor(feed(120), 120), upToDate); }

TEST_F(UpdateChecker, AnOlderReleaseIsNotOffered) { EXPECT_EQ(outcomeFor(feed(118)), upToDate); }

TEST_F(UpdateChecker, TheReleaseThatWasSkippedIsNotOffered)
{
    skip(120);
    EXPECT_EQ(outcomeFor(feed(120)), upToDate);
}

TEST_F(UpdateChecker, AReleaseBeforeTheOneThatWasSkippedIsNotOffered)
{
    skip(121);
    EXPECT_EQ(outcomeFor(feed(120)), upToDate);
}

TEST_F(UpdateChecker, AReleaseAfterTheOneThatWasSkippedIsOffered)
{
    skip(119);
    EXPECT_EQ(outcomeFor(feed(120)), newSoftware);
}

TEST_F(UpdateChecker, AReleaseForANewerSystemIsNotOffered)
{
    EXPECT_EQ(outcomeFor(feed(120, u"9999.0"_s)), upToDate);
}

TEST_F(UpdateChecker, VersionsAreComparedAsSigned)
{
    constexpr qint64 smallest = std::numeric_limits<qint64>::min();
    EXPECT_EQ(outcomeFor(feed(-1), -2), upToDate); // not above the skipped version, which is 0 where none is
    EXPECT_EQ(outcomeFor(feed(smallest), 0), upToDate);
    EXPECT_EQ(outcomeFor(feed(0), -1), upToDate);
    skip(-5);
    EXPECT_EQ(outcomeFor(feed(-1), -2), newSoftware);
}

TEST_F(UpdateChecker, TheLargestVersionIsOffered)
{
    EXPECT_EQ(outcomeFor(feed(std::numeric_limits<qint64>::max()), 0), newSoftware);
}

TEST_F(UpdateChecker, DataThatIsNoRecordCountsAsUpToDate)
{
    for (const QByteArray &body :
         {QByteArray("<html><body>Not here</body></html>"), QByteArray("x"), feed(120).chopped(1)}) {
        const LoopbackServer server(answering(body));
        const Announcements announcements;
        const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
        EXPECT_EQ(announcements.outcome().name, upToDate);
        EXPECT_EQ(announcements.outcome().userInfo, QVariantMap());
        EXPECT_EQ(checker->updateInfo(), nullptr);
    }
}

TEST_F(UpdateChecker, WithoutARecordTheVersionIsZeroAndNothingIsCompatible)
{
    skip(-2);
    EXPECT_EQ(outcomeFor("no record", -1), upToDate);
}

TEST_F(UpdateChecker, AnErrorStatusWithABodyIsJudgedAsAnyOther)
{
    EXPECT_EQ(outcomeFor("<html>404</html>", runningVersion, 404), upToDate);
    EXPECT_EQ(outcomeFor("<html>500</html>", runningVersion, 500), upToDate);
    EXPECT_EQ(outcomeFor(feed(120), runningVersion, 500), newSoftware);
}

TEST_F(UpdateChecker, AnAnswerWithoutAByteIsAFailureWithTheMadeErrorWhateverItsStatus)
{
    for (const int status : {200, 404, 500}) {
        const LoopbackServer server(answering({}, status));
        const Announcements announcements;
        const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
        const NSNotification outcome = announcements.outcome();
        EXPECT_EQ(outcome.name, failed);
        EXPECT_EQ(outcome.object, checker.get());
        EXPECT_EQ(outcome.userInfo.size(), 1);
        const std::optional<NSError> error = errorOf(outcome);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->domain(), u"MBWErrorDomain"_s);
        EXPECT_EQ(error->code(), 10000);
        EXPECT_EQ(error->userInfo(),
                  (QVariantMap{{NSLocalizedDescriptionKey,
                                u"Information for the latest version is not available at the moment. "
                                u"Please try again later."_s}}));
    }
}

TEST_F(UpdateChecker, TheSentenceOfTheMadeErrorIsTheHosts)
{
    class Translator : public QTranslator
    {
    public:
        QString translate(const char *context, const char *text, const char *, int) const override
        {
            return QLatin1StringView(context) == "Localizable"_L1
                           && QLatin1StringView(text).startsWith("Information for the latest"_L1)
                       ? u"Später bitte."_s
                       : QString();
        }
        bool isEmpty() const override { return false; }
    };
    Translator translator;
    QCoreApplication::installTranslator(&translator);
    const LoopbackServer server;
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    const std::optional<NSError> error = errorOf(announcements.outcome());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->localizedDescription(), u"Später bitte."_s);
}

TEST_F(UpdateChecker, AFailedTransferIsAFailureWithTheTransportsError)
{
    QUrl gone;
    {
        const LoopbackServer server;
        gone = server.url();
    }
    const struct
    {
        QUrl url;
        NSURLError code;
    } cases[] = {{gone, NSURLErrorCannotConnectToHost},
                 {QUrl(), NSURLErrorUnsupportedURL},
                 {QUrl(u"ftp://127.0.0.1/feed"_s), NSURLErrorUnsupportedURL}};
    for (const auto &[url, code] : cases) {
        const Announcements announcements;
        const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, url);
        const NSNotification outcome = announcements.outcome();
        EXPECT_EQ(outcome.name, failed);
        const std::optional<NSError> error = errorOf(outcome);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->domain(), NSURLErrorDomain);
        EXPECT_EQ(error->code(), code) << qPrintable(url.toString());
        EXPECT_EQ(checker->updateInfo(), nullptr);
    }
}

TEST_F(UpdateChecker, ATruncatedAnswerIsAFailureThoughItsBytesAreARecord)
{
    const QByteArray body = feed(120);
    const RawServer server([&](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size() + 1)
                        + "\r\n\r\n" + body);
    });
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    const NSNotification outcome = announcements.outcome();
    EXPECT_EQ(outcome.name, failed);
    EXPECT_EQ(errorOf(outcome).value_or(NSError()).code(), NSURLErrorNetworkConnectionLost);
    EXPECT_EQ(checker->updateInfo(), nullptr);
}

TEST_F(UpdateChecker, AnAnswerOfMoreThanSixteenMebibytesIsAFailure)
{
    const qint64 limit = qint64{16} * 1024 * 1024;
    EXPECT_EQ(outcomeFor(QByteArray(limit, 'x')), upToDate);
    const LoopbackServer server(answering(QByteArray(limit + 1, 'x')));
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    const NSNotification outcome = announcements.outcome();
    EXPECT_EQ(outcome.name, failed);
    EXPECT_EQ(errorOf(outcome).value_or(NSError()).code(), NSURLErrorDataLengthExceedsMaximum);
}

TEST_F(UpdateChecker, ARedirectToAnotherSchemeIsAFailure)
{
    const LoopbackServer server([](const LoopbackServer::Request &) {
        return LoopbackServer::Answer{302, "moved", {{"Location", "file:///etc/hostname"}}};
    });
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    const NSNotification outcome = announcements.outcome();
    EXPECT_EQ(outcome.name, failed);
    EXPECT_EQ(errorOf(outcome).value_or(NSError()).code(), NSURLErrorUnsupportedURL);
}

TEST_F(UpdateChecker, ARedirectWithinTheWebIsFollowed)
{
    const LoopbackServer server([](const LoopbackServer::Request &request) {
        if (request.target == "/moved")
            return LoopbackServer::Answer{200, feed(120), {}};
        return LoopbackServer::Answer{301, "", {{"Location", "/moved"}}};
    });
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    EXPECT_EQ(announcements.outcome().name, newSoftware);
}

TEST_F(UpdateChecker, ASlowAnswerIsWaitedFor)
{
    const QByteArray body = feed(1);
    const RawServer server([&](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n");
        connection.trickle(body, std::chrono::milliseconds(1));
    });
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    EXPECT_EQ(announcements.outcome().name, upToDate);
    ASSERT_NE(checker->updateInfo(), nullptr);
    EXPECT_EQ(checker->updateInfo()->versionIdentifier(), 1);
}

TEST_F(UpdateChecker, TheOutcomeNeverComesBeforeTheStartingCallReturns)
{
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, QUrl());
    QThread::msleep(50); // The outcome of an address that is none is settled long before.
    EXPECT_EQ(announcements.received.size(), 1);
    EXPECT_EQ(announcements.outcome().name, failed);
}

TEST_F(UpdateChecker, ACheckerThatNobodyKeepsLivesUntilItsOutcomeIsPosted)
{
    const LoopbackServer server(answering(feed(1)));
    const Announcements announcements;
    std::weak_ptr<MBWSWUpdateChecker> checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion,
                                                                                           server.url());
    EXPECT_FALSE(checker.expired());
    EXPECT_EQ(announcements.outcome().name, upToDate);
    EXPECT_TRUE(QTest::qWaitFor([&] { return checker.expired(); }));
}

TEST_F(UpdateChecker, ACheckerThatIsGoneHearsNothing)
{
    const LoopbackServer server(answering(feed(1)));
    const Announcements announcements;
    const void *former = nullptr;
    {
        const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
        EXPECT_EQ(announcements.outcome().name, upToDate);
        EXPECT_TRUE(QTest::qWaitFor([&] { return checker.use_count() == 1; }));
        former = checker.get();
    }
    NSNotificationCenter::defaultCenter()->postNotificationName(newSoftware, former);
    EXPECT_EQ(QApplication::topLevelWidgets(), QWidgetList());
}

TEST_F(UpdateChecker, TwoCheckersEachShowOnlyTheirOwnAnnouncement)
{
    const LoopbackServer newer(answering(feed(120)));
    const LoopbackServer older(answering(feed(1)));
    const Announcements announcements;
    const auto first = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, newer.url());
    const auto second = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, older.url());
    EXPECT_NE(announcements.outcome(3).name, QString());
    EXPECT_NE(first->updatePanel(), nullptr);
    EXPECT_EQ(second->updatePanel(), nullptr);
}

TEST_F(UpdateChecker, AFurtherCheckReplacesTheRecordAndKeepsThePanel)
{
    int count = 0;
    const LoopbackServer server([&](const LoopbackServer::Request &) {
        const QByteArray bodies[] = {feed(120), feed(121), "no record"};
        return LoopbackServer::Answer{200, bodies[count++], {}};
    });
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    EXPECT_EQ(announcements.outcome().name, newSoftware);
    const auto panel = checker->updatePanel();

    checker->checkForUpdateWithURL(server.url());
    EXPECT_EQ(announcements.outcome(3).name, newSoftware);
    EXPECT_EQ(checker->updateInfo()->versionIdentifier(), 121);
    EXPECT_EQ(checker->updatePanel(), panel);
    EXPECT_EQ(panel->updateInfo(), checker->updateInfo());

    checker->checkForUpdateWithURL(server.url());
    EXPECT_EQ(announcements.outcome(5).name, upToDate);
    EXPECT_EQ(checker->updateInfo(), nullptr);
}

TEST_F(UpdateChecker, OfTwoChecksInFlightTheSignalCarriesTheRecordThatWasJudgedAndNoneIsHarmful)
{
    const LoopbackServer server([](const LoopbackServer::Request &request) {
        return LoopbackServer::Answer{200, request.target == "/newer" ? feed(120) : "no record", {}};
    });
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url(u"/newer"_s));
    QList<std::shared_ptr<MBWSWUpdateInfo>> found;
    QObject::connect(checker.get(), &MBWSWUpdateChecker::newSoftwareFound, checker.get(),
                     [&](const auto &info) { found.append(info); });
    // The main thread takes the outcome of the first check only after the second one has been judged.
    while (!checker->updateInfo())
        QThread::msleep(1);
    checker->checkForUpdateWithURL(server.url(u"/none"_s));
    while (checker->updateInfo())
        QThread::msleep(1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !found.isEmpty(); }, 20'000));
    ASSERT_NE(found.first(), nullptr);
    EXPECT_EQ(found.first()->versionIdentifier(), 120);
    EXPECT_EQ(checker->updatePanel(), nullptr);
    EXPECT_EQ(QApplication::topLevelWidgets(), QWidgetList());
}

TEST_F(UpdateChecker, AnObserverOfTheStartMayLetGoOfTheChecker)
{
    const LoopbackServer server(answering(feed(1)));
    const Announcements announcements;
    auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    EXPECT_EQ(announcements.outcome().name, upToDate);
    ASSERT_TRUE(QTest::qWaitFor([&] { return checker.use_count() == 1; }));
    QObject::connect(checker.get(), &MBWSWUpdateChecker::updateCheckDidStart, [&] { checker.reset(); });
    checker->checkForUpdateWithURL(server.url());
    EXPECT_EQ(checker, nullptr);
    EXPECT_EQ(announcements.outcome(3).name, upToDate);
}

TEST_F(UpdateChecker, AFailedTransferLeavesTheRecordOfTheAnswerBefore)
{
    const Announcements announcements;
    std::shared_ptr<MBWSWUpdateChecker> checker;
    QUrl gone;
    {
        const LoopbackServer server(answering(feed(1)));
        gone = server.url();
        checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, gone);
        EXPECT_EQ(announcements.outcome().name, upToDate);
    }
    const auto before = checker->updateInfo();
    ASSERT_NE(before, nullptr);
    checker->checkForUpdateWithURL(gone);
    EXPECT_EQ(announcements.outcome(3).name, failed);
    EXPECT_EQ(checker->updateInfo(), before);
}

TEST_F(UpdateChecker, ThePanelThatTheHostHasSetIsUsed)
{
    const LoopbackServer server(answering(feed(120)));
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    const auto panel = std::make_shared<MBWUpdateNotificationPanel>();
    checker->setUpdatePanel(panel);
    EXPECT_EQ(announcements.outcome().name, newSoftware);
    EXPECT_EQ(checker->updatePanel(), panel);
    EXPECT_TRUE(panel->window()->isVisible());
    EXPECT_EQ(panel->updateInfo(), checker->updateInfo());
}

TEST_F(UpdateChecker, TwoCheckersThatBothFindAReleaseEachShowItInTheirOwnPanel)
{
    const LoopbackServer server([](const LoopbackServer::Request &request) {
        return LoopbackServer::Answer{200, feed(request.target == "/first" ? 120 : 130), {}};
    });
    const Announcements announcements;
    const auto first = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url(u"/first"_s));
    const auto second = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url(u"/second"_s));
    EXPECT_NE(announcements.outcome(3).name, QString());
    ASSERT_NE(first->updatePanel(), nullptr);
    ASSERT_NE(second->updatePanel(), nullptr);
    EXPECT_NE(first->updatePanel(), second->updatePanel());
    EXPECT_TRUE(first->updatePanel()->window()->isVisible());
    EXPECT_TRUE(second->updatePanel()->window()->isVisible());
    EXPECT_EQ(first->updatePanel()->updateInfo()->versionIdentifier(), 120);
    EXPECT_EQ(second->updatePanel()->updateInfo()->versionIdentifier(), 130);
}

TEST_F(UpdateChecker, TheCurrentVersionOfTheOutcomeCounts)
{
    const LoopbackServer server(answering(feed(120)));
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(120, server.url());
    EXPECT_EQ(checker->currentVersion(), 120);
    EXPECT_EQ(announcements.outcome().name, upToDate);
    checker->setCurrentVersion(119);
    checker->checkForUpdateWithURL(server.url());
    EXPECT_EQ(announcements.outcome(3).name, newSoftware);
}

TEST_F(UpdateChecker, ItsSessionIsMadeOnceAndKeepsNoCookie)
{
    const LoopbackServer server([](const LoopbackServer::Request &) {
        return LoopbackServer::Answer{200, feed(1), {{"Set-Cookie", "a=b"}}};
    });
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    const auto session = checker->session();
    EXPECT_NE(session, nullptr);
    EXPECT_EQ(announcements.outcome().name, upToDate);
    checker->checkForUpdateWithURL(server.url());
    EXPECT_EQ(announcements.outcome(3).name, upToDate);
    EXPECT_EQ(checker->session(), session);
    EXPECT_EQ(server.requests().last().header("Cookie"), std::nullopt);
}

TEST_F(UpdateChecker, TheHostsOwnSessionIsUsed)
{
    NSURLSessionConfiguration configuration = NSURLSessionConfiguration::ephemeralSessionConfiguration();
    configuration.maximumResponseSize = 10;
    const LoopbackServer server(answering(feed(120)));
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, QUrl());
    EXPECT_EQ(announcements.outcome().name, failed);
    checker->setSession(NSURLSession::sessionWithConfiguration(configuration));
    checker->checkForUpdateWithURL(server.url());
    EXPECT_EQ(errorOf(announcements.outcome(3)).value_or(NSError()).code(),
              NSURLErrorDataLengthExceedsMaximum);
}

TEST_F(UpdateChecker, SignalsFollowTheNotificationsOfTheSameMeaning)
{
    QByteArray body = feed(1);
    const LoopbackServer server([&](const LoopbackServer::Request &) {
        return LoopbackServer::Answer{200, body, {}};
    });
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    const QSignalSpy started(checker.get(), &MBWSWUpdateChecker::updateCheckDidStart);
    QSignalSpy upToDateSignal(checker.get(), &MBWSWUpdateChecker::softwareUpToDate);
    QSignalSpy found(checker.get(), &MBWSWUpdateChecker::newSoftwareFound);
    QSignalSpy failedSignal(checker.get(), &MBWSWUpdateChecker::updateCheckFailed);
    EXPECT_TRUE(upToDateSignal.wait(20'000));
    EXPECT_EQ(announcements.received.size(), 2);

    body = feed(120);
    checker->checkForUpdateWithURL(server.url());
    EXPECT_EQ(started.count(), 1);
    EXPECT_TRUE(found.wait(20'000));
    EXPECT_EQ(found.first().first().value<std::shared_ptr<MBWSWUpdateInfo>>(), checker->updateInfo());

    body.clear();
    checker->checkForUpdateWithURL(server.url());
    EXPECT_TRUE(failedSignal.wait(20'000));
    EXPECT_EQ(failedSignal.first().first().value<std::optional<NSError>>().value_or(NSError()).code(), 10000);
    EXPECT_EQ(upToDateSignal.count(), 1);
    EXPECT_EQ(found.count(), 1);
    EXPECT_EQ(failedSignal.count(), 1);
}

TEST_F(UpdateChecker, NothingIsLoggedAboutAFailure)
{
    const LoopbackServer server;
    const CapturedStandardError errors;
    const Announcements announcements;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    EXPECT_EQ(announcements.outcome().name, failed);
    EXPECT_EQ(errors.text(), QString());
}

TEST_F(UpdateChecker, AHostThatQuitsWithACheckInFlightEndsAtOnceAndLeaksNothing)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.stall();
    });
    const CapturedStandardError errors;
    ChildProgram host({QStringLiteral(UPDATE_HOST), server.url().toString()});
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.requests().size() == 1; }, 20'000));
    QElapsedTimer timer;
    timer.start();
    host.write("quit\n");
    EXPECT_EQ(host.exitStatus(), 0);
    EXPECT_LT(timer.elapsed(), 20'000); // The check itself would last for 60 seconds.
    EXPECT_EQ(server.connectionCount(), 1);
    EXPECT_FALSE(errors.text().contains(u"LeakSanitizer"_s)) << qPrintable(errors.text());
}

TEST_F(UpdateChecker, TheEndOfACheckerIsTheEndOfItsPanel)
{
    const LoopbackServer server(answering(feed(120)));
    const Announcements announcements;
    auto checker = MBWSWUpdateChecker::initWithCurrentVersion(runningVersion, server.url());
    EXPECT_EQ(announcements.outcome().name, newSoftware);
    EXPECT_TRUE(QTest::qWaitFor([&] { return checker.use_count() == 1; }));
    EXPECT_FALSE(QApplication::topLevelWidgets().isEmpty());
    checker.reset();
    EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty());
}
