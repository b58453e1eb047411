#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/RawServer.h"
#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/MBWCrashReporter.h>
#include <Marblewick/NSURLError.h>
#include <Marblewick/NSURLSession.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! What a completion handler received. */
struct Outcome
{
    int calls = 0;
    std::optional<NSError> error;
    bool wasOnMainThread = false;

    auto handler()
    {
        return [this](const std::optional<NSError> &received) {
            ++calls;
            error = received;
            wasOnMainThread = QThread::currentThread() == qApp->thread();
        };
    }
    bool arrives(int milliseconds = 10'000)
    {
        return QTest::qWaitFor([this] { return calls > 0; }, milliseconds);
    }
};

class CrashReportUpload : public ::testing::Test
{
protected:
    CrashReportUpload() { QCoreApplication::setApplicationName(u"App"_s); }

    /*! Sends to the server and returns the body that it got. */
    static QByteArray bodySent(const QString &report, const std::optional<QString> &email,
                               const QString &description)
    {
        const LoopbackServer server;
        Outcome outcome;
        MBWCrashReporter().sendCrashReport(report, email, description, server.url(), outcome.handler());
        EXPECT_TRUE(outcome.arrives());
        EXPECT_FALSE(outcome.error);
        EXPECT_EQ(server.requests().size(), 1);
        return server.requests().value(0).body;
    }

    static QString logLine(const NSError &error)
    {
        return u"] Failed to send crash report: "_s + error.description() + u'\n';
    }

    const TemporaryHome home;
};

} // namespace

TEST_F(CrashReportUpload, TheFormIsThisByteForByte)
{
    EXPECT_EQ(bodySent(u"\n\nR\n"_s, std::nullopt, u"Boom"_s),
              "--0xKhTmLbOuNdArY\r\n"
              "Content-Disposition: form-data; name=\"product\"\r\n"
              "\r\n"
              "App\r\n"
              "--0xKhTmLbOuNdArY\r\n"
              "Content-Disposition: form-data; name=\"crashlog\"\r\n"
              "\r\n"
              "Email: NO EMAIL PROVIDED\r\n"
              "Description: Boom\r\n"
              "\r\n"
              "###\r\n"
              "\r\n"
              "\n\nR\n"
              "\r\n--0xKhTmLbOuNdArY--\r\n");
}

TEST_F(CrashReportUpload, AnEmptyEmailIsSentAsAnEmptyAddressNotAsThePlaceholder)
{
    EXPECT_TRUE(bodySent(u"R"_s, u""_s, u"d"_s).contains("\r\nEmail: \r\nDescription: d\r\n"));
}

TEST_F(CrashReportUpload, AnEmailIsSentAsItStands)
{
    EXPECT_TRUE(bodySent(u"R"_s, u"ada@example.com"_s, u"d"_s)
                    .contains("\r\nEmail: ada@example.com\r\nDescription: d"));
}

TEST_F(CrashReportUpload, ADescriptionIsNotEscapedNotEvenALineOfNumberSigns)
{
    EXPECT_TRUE(
        bodySent(u"R"_s, u"e"_s, u"one\n###\n\n%@ \"two\"\n--0xKhTmLbOuNdArY--"_s)
            .contains("Description: one\n###\n\n%@ \"two\"\n--0xKhTmLbOuNdArY--\r\n\r\n###\r\n\r\nR"));
}

TEST_F(CrashReportUpload, EveryPieceTravelsAsUTF8AndNoCharacterSetIsDeclared)
{
    QCoreApplication::setApplicationName(u"Käfer 🐞"_s);
    const QByteArray body = bodySent(u"Größe €"_s, u"ä@example.com"_s, u"日本"_s);
    EXPECT_TRUE(body.contains(u"\r\n\r\nKäfer 🐞\r\n--"_s.toUtf8()));
    EXPECT_TRUE(body.contains(u"Email: ä@example.com\r\nDescription: 日本\r\n"_s.toUtf8()));
    EXPECT_TRUE(body.contains(u"\r\nGröße €\r\n--"_s.toUtf8()));
    EXPECT_FALSE(body.toLower().contains("charset"));
}

TEST_F(CrashReportUpload, NulCharactersAndLineEndsOfTheReportAreSentAsTheyAre)
{
    const QString report = u"a\r\nb\nc\rd"_s + QChar(0) + u'e';
    EXPECT_TRUE(bodySent(report, u"e"_s, u"d"_s).contains("###\r\n\r\n" + report.toUtf8() + "\r\n--"));
}

TEST_F(CrashReportUpload, TheRequestIsAPostWithItsContentTypeAndTheProductAsUserAgent)
{
    QCoreApplication::setApplicationName(u"Käfer & Co"_s);
    const LoopbackServer server;
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(u"/in?x=1"_s), outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    ASSERT_EQ(server.requests().size(), 1);
    const LoopbackServer::Request request = server.requests().front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/in?x=1");
    EXPECT_EQ(request.header("Content-Type"), "multipart/form-data; boundary=0xKhTmLbOuNdArY");
    EXPECT_EQ(request.header("User-Agent"), u"Käfer & Co"_s.toUtf8());
    EXPECT_EQ(request.header("Content-Length"), QByteArray::number(request.body.size()));
}

TEST_F(CrashReportUpload, NoOtherHeaderFieldIsSentThanTheseAndTheHostAndTheLength)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
    });
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    ASSERT_EQ(server.requests().size(), 1);
    const QByteArray request = server.requests().front();
    QList<QByteArray> names;
    for (const QByteArray &line : request.first(request.indexOf("\r\n\r\n")).split('\n').sliced(1))
        names += line.first(line.indexOf(':'));
    std::ranges::sort(names);
    EXPECT_EQ(names, (QList<QByteArray>{"Content-Length", "Content-Type", "Host", "User-Agent"}));
}

TEST_F(CrashReportUpload, ALineBreakInTheProductNameCannotAddAHeaderField)
{
    QCoreApplication::setApplicationName(u"App\r\nX-Forged: 1"_s);
    const LoopbackServer server;
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_FALSE(server.requests().front().header("X-Forged"));
}

TEST_F(CrashReportUpload, AnyStatusOfTheServerIsASuccessAndNothingIsLogged)
{
    for (const int status : {200, 204, 400, 401, 404, 500, 503}) {
        const LoopbackServer server([&](const auto &) { return LoopbackServer::Answer{status, "no", {}}; });
        const CapturedStandardError standardError;
        Outcome outcome;
        MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
        ASSERT_TRUE(outcome.arrives());
        EXPECT_FALSE(outcome.error) << status;
        EXPECT_EQ(standardError.text(), QString());
    }
}

TEST_F(CrashReportUpload, TheCompletionRunsOnceOnTheMainThreadAndAfterTheSendHasReturned)
{
    const LoopbackServer server;
    Outcome outcome;
    MBWCrashReporter reporter;
    reporter.sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    // The server has answered, yet nothing is called before the event loop runs.
    while (server.requests().isEmpty())
        QThread::msleep(1);
    QThread::msleep(50);
    EXPECT_EQ(outcome.calls, 0);
    ASSERT_TRUE(outcome.arrives());
    EXPECT_TRUE(outcome.wasOnMainThread);
    QTest::qWait(50);
    EXPECT_EQ(outcome.calls, 1);
}

TEST_F(CrashReportUpload, AnImmediateFailureTooArrivesOnTheMainThreadAfterTheSendHasReturned)
{
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, QUrl(), outcome.handler());
    EXPECT_EQ(outcome.calls, 0);
    ASSERT_TRUE(outcome.arrives());
    EXPECT_TRUE(outcome.wasOnMainThread);
}

TEST_F(CrashReportUpload, GoesOnAndCompletesWhenTheReporterIsReleasedRightAfterTheSend)
{
    const LoopbackServer server;
    Outcome outcome;
    auto reporter = std::make_unique<MBWCrashReporter>();
    reporter->sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    reporter.reset();
    ASSERT_TRUE(outcome.arrives());
    EXPECT_FALSE(outcome.error);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(CrashReportUpload, ReleasesTheHandlerOnTheMainThread)
{
    const LoopbackServer server;
    const QThread *releasedOn = nullptr;
    const auto guard = std::shared_ptr<void>(nullptr, [&](void *) { releasedOn = QThread::currentThread(); });
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(),
                                       [kept = guard](const auto &) {});
    const_cast<std::shared_ptr<void> &>(guard).reset();
    ASSERT_TRUE(QTest::qWaitFor([&] { return releasedOn != nullptr; }, 10'000));
    EXPECT_EQ(releasedOn, qApp->thread());
}

TEST_F(CrashReportUpload, ANilEndpointIsAnUnsupportedURLAndIsLogged)
{
    const CapturedStandardError standardError;
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, QUrl(), outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->domain(), NSURLErrorDomain);
    EXPECT_EQ(outcome.error->code(), NSURLErrorUnsupportedURL);
    EXPECT_TRUE(standardError.text().endsWith(logLine(*outcome.error)));
    EXPECT_EQ(standardError.text().count(u'\n'), 1);
}

TEST_F(CrashReportUpload, AnEndpointThatIsNotHttpIsAnUnsupportedURL)
{
    writeFile(home.path() + u"/target"_s, "untouched");
    for (const QUrl &url : {QUrl::fromLocalFile(home.path() + u"/target"_s), QUrl(u"ftp://127.0.0.1/x"_s),
                            QUrl(u"mailto:a@example.com"_s), QUrl(u"no-scheme"_s)}) {
        Outcome outcome;
        MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, url, outcome.handler());
        ASSERT_TRUE(outcome.arrives());
        ASSERT_TRUE(outcome.error);
        EXPECT_EQ(outcome.error->code(), NSURLErrorUnsupportedURL) << qPrintable(url.toString());
    }
    EXPECT_EQ(readFile(home.path() + u"/target"_s), "untouched");
}

TEST_F(CrashReportUpload, ARefusedConnectionIsAnErrorAndIsLogged)
{
    QUrl url;
    {
        const RawServer server([](RawServer::Connection &) {});
        url = server.url();
    }
    const CapturedStandardError standardError;
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, url, outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code(), NSURLErrorCannotConnectToHost);
    EXPECT_TRUE(standardError.text().endsWith(logLine(*outcome.error)));
}

TEST_F(CrashReportUpload, AHostThatDoesNotResolveIsAnError)
{
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, QUrl(u"http://no-such-host.invalid/"_s),
                                       outcome.handler());
    ASSERT_TRUE(outcome.arrives(30'000));
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code(), NSURLErrorCannotFindHost);
}

TEST_F(CrashReportUpload, AServerThatClosesWithoutAnAnswerIsAnErrorAndTheReportIsSentOnce)
{
    const RawServer server([](RawServer::Connection &connection) { connection.readRequest(); });
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code(), NSURLErrorNetworkConnectionLost);
    EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(CrashReportUpload, AServerThatRedirectsForEverIsAnError)
{
    const LoopbackServer server([](const auto &) {
        return LoopbackServer::Answer{307, {}, {{"Location", "/again"}}};
    });
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code(), NSURLErrorHTTPTooManyRedirects);
}

TEST_F(CrashReportUpload, AServerThatStallsBeforeTheAnswerIsATimeOutAfter20Seconds)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.stall();
    });
    const CapturedStandardError standardError;
    QElapsedTimer timer;
    timer.start();
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(outcome.arrives(40'000));
    EXPECT_GE(timer.elapsed(), 20'000);
    EXPECT_LT(timer.elapsed(), 25'000);
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code(), NSURLErrorTimedOut);
    EXPECT_TRUE(standardError.text().endsWith(logLine(*outcome.error)));
}

TEST_F(CrashReportUpload, AServerThatStallsWithinTheAnswerIsATimeOut)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
        connection.stall();
    });
    Outcome outcome;
    MBWCrashReporter().sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(outcome.arrives(40'000));
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->code(), NSURLErrorTimedOut);
}

TEST_F(CrashReportUpload, CancelEndsTheUploadWithTheCancellationErrorWhichIsLogged)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.stall();
    });
    const CapturedStandardError standardError;
    Outcome outcome;
    MBWCrashReporter reporter;
    reporter.sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.requests().size() == 1; }, 10'000));
    reporter.cancel();
    ASSERT_TRUE(outcome.arrives(5'000));
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->domain(), NSURLErrorDomain);
    EXPECT_EQ(outcome.error->code(), NSURLErrorCancelled);
    EXPECT_TRUE(outcome.wasOnMainThread);
    EXPECT_TRUE(standardError.text().endsWith(logLine(*outcome.error)));
}

TEST_F(CrashReportUpload, CancelWithoutAnUploadDoesNothing)
{
    MBWCrashReporter reporter;
    reporter.cancel();
    EXPECT_EQ(reporter.currentTask(), nullptr);
}

TEST_F(CrashReportUpload, CancelAfterTheEndDoesNothing)
{
    const LoopbackServer server;
    Outcome outcome;
    MBWCrashReporter reporter;
    reporter.sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), outcome.handler());
    ASSERT_TRUE(outcome.arrives());
    EXPECT_NE(reporter.currentTask(), nullptr) << "the task is replaced, never cleared";
    reporter.cancel();
    QTest::qWait(50);
    EXPECT_EQ(outcome.calls, 1);
    EXPECT_FALSE(outcome.error);
}

TEST_F(CrashReportUpload, AReporterCanSendAgainAndCancelReachesTheLastUploadOnly)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.stall();
    });
    Outcome first;
    Outcome second;
    MBWCrashReporter reporter;
    reporter.sendCrashReport(u"1"_s, std::nullopt, {}, server.url(), first.handler());
    const auto firstTask = reporter.currentTask();
    reporter.sendCrashReport(u"2"_s, std::nullopt, {}, server.url(), second.handler());
    EXPECT_NE(reporter.currentTask(), firstTask);
    reporter.cancel();
    ASSERT_TRUE(second.arrives(5'000));
    EXPECT_EQ(first.calls, 0);
    firstTask->cancel();
    EXPECT_TRUE(first.arrives(5'000));
}

TEST_F(CrashReportUpload, TheSessionIsMadeOnceAndCanBeReplaced)
{
    MBWCrashReporter reporter;
    const auto session = reporter.session();
    ASSERT_NE(session, nullptr);
    EXPECT_EQ(reporter.session(), session);
    const auto other = NSURLSession::sessionWithConfiguration(
        NSURLSessionConfiguration::ephemeralSessionConfiguration());
    reporter.setSession(other);
    EXPECT_EQ(reporter.session(), other);
}

TEST_F(CrashReportUpload, WithoutACompletionHandlerNothingIsSentAndTheCallerIsTold)
{
    const LoopbackServer server;
    MBWCrashReporter reporter;
    EXPECT_THROW(reporter.sendCrashReport(u"R"_s, std::nullopt, {}, server.url(), nullptr),
                 std::invalid_argument);
    EXPECT_EQ(reporter.currentTask(), nullptr);
}

TEST_F(CrashReportUpload, AReportOf50MegabytesArrivesWhole)
{
    const QString report(50'000'000, u'#');
    EXPECT_TRUE(bodySent(report, std::nullopt, {})
                    .endsWith("###\r\n\r\n" + report.toUtf8() + "\r\n--0xKhTmLbOuNdArY--\r\n"));
}
