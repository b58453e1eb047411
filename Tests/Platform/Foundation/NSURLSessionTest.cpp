#include <Marblewick/NSURLError.h>
#include <Marblewick/NSURLSession.h>

#include "Tests/Platform/Foundation/HangingNameLookup.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/RawServer.h"
#include "Tests/Support/SelfSignedCertificate.h"
#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

#include <arpa/inet.h>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using ::testing::ElementsAre;

namespace {

constexpr auto ephemeral = &NSURLSessionConfiguration::ephemeralSessionConfiguration;

struct Outcome
{
    std::optional<QByteArray> data;
    std::optional<NSHTTPURLResponse> response;
    std::optional<NSError> error;
    std::thread::id thread;

    qint64 status() const { return response ? response->statusCode : 0; }
    qint64 errorCode() const
    {
        EXPECT_NE(error.has_value(), response.has_value());
        EXPECT_EQ(data.has_value(), response.has_value());
        return error && error->domain() == NSURLErrorDomain ? error->code() : 0;
    }
};

/*! A task whose outcome the test can wait for. Neither the session nor, once it runs, the task is needed. */
class PendingTask
{
public:
    explicit PendingTask(const NSURLRequest &request,
                         const NSURLSessionConfiguration &configuration = ephemeral())
    {
        m_task = NSURLSession::sessionWithConfiguration(configuration)
                     ->dataTaskWithRequest(
                         request,
                         [record = m_record](const auto &data, const auto &response, const auto &error) {
                             const std::lock_guard lock(record->mutex);
                             record->outcomes.push_back({data, response, error, std::this_thread::get_id()});
                             record->changed.notify_all();
                         });
    }

    void resume() { m_task->resume(); }
    void cancel() { m_task->cancel(); }
    void release() { m_task.reset(); }

    bool hasOutcome() const { return callCount() > 0; }
    size_t callCount() const
    {
        const std::lock_guard lock(m_record->mutex);
        return m_record->outcomes.size();
    }
    Outcome outcome() const
    {
        std::unique_lock lock(m_record->mutex);
        if (m_record->changed.wait_for(lock, 30s, [this] { return !m_record->outcomes.empty(); }))
            return m_record->outcomes.front();
        ADD_FAILURE() << "no outcome";
        return {};
    }

private:
    struct Record
    {
        std::mutex mutex;
        std::condition_variable changed;
        std::vector<Outcome> outcomes;
    };
    const std::shared_ptr<Record> m_record = std::make_shared<Record>();
    std::shared_ptr<NSURLSessionDataTask> m_task;
};

Outcome outcomeOf(const NSURLRequest &request, const NSURLSessionConfiguration &configuration = ephemeral())
{
    PendingTask task(request, configuration);
    task.resume();
    return task.outcome();
}

NSURLRequest get(const QUrl &url, double timeout = 60)
{
    return NSURLRequest(url, NSURLRequestUseProtocolCachePolicy, timeout);
}

NSURLRequest post(const QUrl &url, const QByteArray &body, double timeout = 60)
{
    NSURLRequest request = get(url, timeout);
    request.setHTTPMethod("POST");
    request.setHTTPBody(body);
    return request;
}

/*! Everything that was resumed or cancelled before this call has been dealt with after it. */
void awaitWorker()
{
    PendingTask last(get(QUrl()));
    last.cancel();
    last.outcome();
}

RawServer::Script answering(const QByteArray &answer)
{
    return [answer](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send(answer);
    };
}

constexpr char okWithThreeBytes[] = "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabc";

/*! The port of a server that is gone. */
QUrl urlWithoutServer()
{
    return RawServer([](RawServer::Connection &) {}).url();
}

LoopbackServer::Handler redirectingOnce(int status, const QByteArray &location = "/target")
{
    return [status, location](const LoopbackServer::Request &request) {
        if (request.target == "/target")
            return LoopbackServer::Answer{200, "arrived", {}};
        return LoopbackServer::Answer{status, "moved", {{"Location", location}}};
    };
}

} // namespace

// Answers

TEST(NSURLSession, DeliversStatusAddressAndDataOfAnAnswer)
{
    const LoopbackServer server([](const auto &) { return LoopbackServer::Answer{200, "hello", {}}; });
    const Outcome outcome = outcomeOf(get(server.url(u"/a/../feed?version=1%202"_s)));
    ASSERT_FALSE(outcome.error) << qPrintable(outcome.error->description());
    EXPECT_EQ(outcome.status(), 200);
    EXPECT_EQ(outcome.data, "hello");
    EXPECT_EQ(outcome.response->url, server.url(u"/a/../feed?version=1%202"_s));
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].method, "GET");
    EXPECT_EQ(server.requests()[0].target, "/a/../feed?version=1%202");
    EXPECT_EQ(server.requests()[0].body, "");
}

TEST(NSURLSession, TakesAnErrorStatusForAnAnswerLikeAnyOther)
{
    for (int status : {404, 500}) {
        const LoopbackServer server([status](const auto &) {
            return LoopbackServer::Answer{status, "sorry", {}};
        });
        const Outcome outcome = outcomeOf(get(server.url()));
        EXPECT_FALSE(outcome.error);
        EXPECT_EQ(outcome.status(), status);
        EXPECT_EQ(outcome.data, "sorry");
    }
}

TEST(NSURLSession, DeliversEmptyDataOfAnAnswerWithoutBody)
{
    const RawServer server(answering("HTTP/1.1 204 No Content\r\n\r\n"));
    const Outcome outcome = outcomeOf(get(server.url()));
    EXPECT_EQ(outcome.status(), 204);
    EXPECT_EQ(outcome.data, "");
}

TEST(NSURLSession, DeliversABodyThatEndsWithTheConnection)
{
    const RawServer server(answering("HTTP/1.0 200 OK\r\n\r\nuntil the end"));
    EXPECT_EQ(outcomeOf(get(server.url())).data, "until the end");
}

TEST(NSURLSession, DeliversAChunkedBody)
{
    const RawServer server(
        answering("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"));
    EXPECT_EQ(outcomeOf(get(server.url())).data, "abcde");
}

TEST(NSURLSession, DeliversAChunkedBodyThatATrailerFollows)
{
    const RawServer server(
        answering("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\nX-Sum: 1\r\n\r\n"));
    EXPECT_EQ(outcomeOf(get(server.url())).data, "abc");
}

TEST(NSURLSession, SkipsInterimAnswers)
{
    const RawServer server(answering(QByteArray("HTTP/1.1 103 Early Hints\r\n\r\n") + okWithThreeBytes));
    const Outcome outcome = outcomeOf(get(server.url()));
    EXPECT_EQ(outcome.status(), 200);
    EXPECT_EQ(outcome.data, "abc");
}

TEST(NSURLSession, RunsSeveralTasksAtATime)
{
    const RawServer stalled([](RawServer::Connection &connection) { connection.stall(); });
    const LoopbackServer server;
    PendingTask first(get(stalled.url()));
    first.resume();
    EXPECT_EQ(outcomeOf(get(server.url())).status(), 200);
    EXPECT_FALSE(first.hasOutcome());
}

// Requests

TEST(NSURLSession, SendsNothingThatWasNotAskedFor)
{
    const RawServer server(answering(okWithThreeBytes));
    outcomeOf(get(server.url(u"/feed"_s)));
    const QByteArray host = server.url().authority().toUtf8();
    EXPECT_THAT(server.requests(), ElementsAre("GET /feed HTTP/1.1\r\nHost: " + host + "\r\n\r\n"));
}

TEST(NSURLSession, SendsABodyWithItsLengthAndNothingThatWasNotAskedFor)
{
    const RawServer server(answering(okWithThreeBytes));
    outcomeOf(post(server.url(), QByteArray("a\0b", 3)));
    const QByteArray host = server.url().authority().toUtf8();
    EXPECT_THAT(server.requests(), ElementsAre("POST / HTTP/1.1\r\nHost: " + host
                                               + "\r\nContent-Length: 3\r\n\r\n" + QByteArray("a\0b", 3)));
}

TEST(NSURLSession, SendsHeaderFieldsAsUTF8AndEmptyOnesToo)
{
    const RawServer server(answering(okWithThreeBytes));
    NSURLRequest request = post(server.url(), "x");
    request.setValueForHTTPHeaderField(u"multipart/form-data; boundary=b"_s, u"Content-Type"_s);
    request.setValueForHTTPHeaderField(u"Käfer"_s, u"User-Agent"_s);
    request.setValueForHTTPHeaderField(u""_s, u"X-Empty"_s);
    request.setValueForHTTPHeaderField(u" "_s, u"X-Blank"_s);
    request.setValueForHTTPHeaderField(u"99"_s, u"Content-Length"_s);
    outcomeOf(request);
    const QByteArray sent = server.requests().value(0);
    EXPECT_TRUE(sent.contains("\r\nContent-Type: multipart/form-data; boundary=b\r\n")) << sent.constData();
    EXPECT_TRUE(sent.contains("\r\nUser-Agent: K\u00e4fer\r\n")) << sent.constData();
    EXPECT_TRUE(sent.contains("\r\nX-Empty:\r\n")) << sent.constData();
    EXPECT_TRUE(sent.contains("\r\nX-Blank:\r\n")) << sent.constData();
    EXPECT_TRUE(sent.contains("\r\nContent-Length: 1\r\n")) << sent.constData();
    EXPECT_EQ(sent.toLower().count("content-length"), 1);
}

TEST(NSURLSession, SendsAnEmptyPostBody)
{
    const LoopbackServer server;
    EXPECT_EQ(outcomeOf(post(server.url(), {})).status(), 200);
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].method, "POST");
    EXPECT_EQ(server.requests()[0].header("Content-Length"), "0");
}

TEST(NSURLSession, SendsALargeBodyWholeAndDoesNotAskBeforehand)
{
    const LoopbackServer server;
    QByteArray body(5'000'000, Qt::Uninitialized);
    for (qsizetype i = 0; i < body.size(); ++i)
        body[i] = static_cast<char>(i * 7 + i / 251);
    NSURLRequest request = post(server.url(), body);
    request.setValueForHTTPHeaderField(u"multipart/form-data; boundary=b"_s, u"Content-Type"_s);
    EXPECT_EQ(outcomeOf(request).status(), 200);
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_TRUE(server.requests()[0].body == body);
    EXPECT_EQ(server.requests()[0].header("Expect"), std::nullopt);
    EXPECT_EQ(server.requests()[0].header("Content-Type"), "multipart/form-data; boundary=b");
}

TEST(NSURLSession, SendsOtherMethods)
{
    const LoopbackServer server;
    NSURLRequest request = post(server.url(), "x");
    request.setHTTPMethod("PUT");
    EXPECT_EQ(outcomeOf(request).status(), 200);
    request = get(server.url());
    request.setHTTPMethod("DELETE");
    EXPECT_EQ(outcomeOf(request).status(), 200);
    request.setHTTPMethod("HEAD");
    EXPECT_EQ(outcomeOf(request).status(), 200);
    ASSERT_EQ(server.requests().size(), 3);
    EXPECT_EQ(server.requests()[0].method, "PUT");
    EXPECT_EQ(server.requests()[0].body, "x");
    EXPECT_EQ(server.requests()[1].method, "DELETE");
    EXPECT_EQ(server.requests()[2].method, "HEAD");
}

TEST(NSURLSession, SendsNoCookieBack)
{
    const LoopbackServer server([](const auto &) {
        return LoopbackServer::Answer{200, {}, {{"Set-Cookie", "a=b; Path=/"}}};
    });
    const auto session = NSURLSession::sessionWithConfiguration(ephemeral());
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(outcomeOf(get(server.url())).status(), 200);
    ASSERT_EQ(server.requests().size(), 2);
    EXPECT_EQ(server.requests()[1].header("Cookie"), std::nullopt);
}

TEST(NSURLSession, SendsNoCookieToTheTargetOfARedirectThatSetsOne)
{
    const LoopbackServer server([](const LoopbackServer::Request &request) {
        return request.target == "/target"
                   ? LoopbackServer::Answer()
                   : LoopbackServer::Answer{
                       302, {}, {{"Location", "/target"}, {"Set-Cookie", "a=b; Path=/"}}};
    });
    EXPECT_EQ(outcomeOf(get(server.url())).status(), 200);
    ASSERT_EQ(server.requests().size(), 2);
    EXPECT_EQ(server.requests()[1].header("Cookie"), std::nullopt);
}

TEST(NSURLSession, SendsTheCredentialsOfTheAddressButKeepsThemOutOfErrors)
{
    const LoopbackServer server;
    QUrl url = server.url();
    url.setUserInfo(u"user:secret"_s);
    EXPECT_EQ(outcomeOf(get(url)).status(), 200);
    EXPECT_EQ(server.requests().value(0).header("Authorization"),
              "Basic " + QByteArray("user:secret").toBase64());

    url = urlWithoutServer();
    const QString plain = url.toString();
    url.setUserInfo(u"user:secret"_s);
    url.setFragment(u"private"_s);
    const Outcome outcome = outcomeOf(get(url));
    ASSERT_TRUE(outcome.error);
    EXPECT_EQ(outcome.error->userInfo().value(NSURLErrorFailingURLStringErrorKey).toString(), plain);
}

TEST(NSURLSession, UsesAConnectionForOneRequestOnly)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.send(okWithThreeBytes);
        connection.stall();
    });
    EXPECT_EQ(outcomeOf(get(server.url())).status(), 200);
    EXPECT_EQ(outcomeOf(get(server.url())).status(), 200);
    EXPECT_EQ(server.connectionCount(), 2);
}

// Redirects

TEST(NSURLSession, TurnsAPostIntoAGetOnRedirects301To303)
{
    for (int status : {301, 302, 303}) {
        const LoopbackServer server(redirectingOnce(status));
        const Outcome outcome = outcomeOf(post(server.url(u"/start"_s), "body"));
        EXPECT_EQ(outcome.data, "arrived");
        EXPECT_EQ(outcome.response->url, server.url(u"/target"_s));
        ASSERT_EQ(server.requests().size(), 2);
        EXPECT_EQ(server.requests()[1].method, "GET") << status;
        EXPECT_EQ(server.requests()[1].body, "");
        EXPECT_EQ(server.requests()[1].header("Content-Length"), std::nullopt);
    }
}

TEST(NSURLSession, PostsTheBodyAgainOnRedirects307And308)
{
    for (int status : {307, 308}) {
        const LoopbackServer server(redirectingOnce(status));
        const QByteArray body(300'000, 'x');
        EXPECT_EQ(outcomeOf(post(server.url(u"/start"_s), body)).data, "arrived");
        ASSERT_EQ(server.requests().size(), 2);
        EXPECT_EQ(server.requests()[1].method, "POST") << status;
        EXPECT_TRUE(server.requests()[1].body == body);
    }
}

TEST(NSURLSession, FollowsTwentyRedirectsButNotOneMore)
{
    const LoopbackServer server([](const LoopbackServer::Request &request) {
        const int left = request.target.mid(1).toInt();
        if (left == 0)
            return LoopbackServer::Answer{200, "arrived", {}};
        return LoopbackServer::Answer{302, {}, {{"Location", '/' + QByteArray::number(left - 1)}}};
    });
    EXPECT_EQ(outcomeOf(get(server.url(u"/20"_s))).data, "arrived");
    EXPECT_EQ(server.requests().size(), 21);
    EXPECT_EQ(outcomeOf(get(server.url(u"/21"_s))).errorCode(), NSURLErrorHTTPTooManyRedirects);
}

TEST(NSURLSession, EndsACircleOfRedirects)
{
    const LoopbackServer server([](const auto &) {
        return LoopbackServer::Answer{302, {}, {{"Location", "/"}}};
    });
    EXPECT_EQ(outcomeOf(get(server.url())).errorCode(), NSURLErrorHTTPTooManyRedirects);
}

TEST(NSURLSession, RefusesARedirectToAnythingButHTTPAndHTTPS)
{
    for (const char *location : {"file:///etc/passwd", "ftp://127.0.0.1/x", "gopher://127.0.0.1/", "app:x"}) {
        const LoopbackServer server(redirectingOnce(302, location));
        const Outcome outcome = outcomeOf(get(server.url()));
        EXPECT_EQ(outcome.errorCode(), NSURLErrorUnsupportedURL) << location;
    }
}

TEST(NSURLSession, NamesTheRedirectThatFailedInTheError)
{
    const QUrl target = urlWithoutServer();
    const LoopbackServer server(redirectingOnce(302, target.toEncoded()));
    const Outcome outcome = outcomeOf(get(server.url()));
    EXPECT_EQ(outcome.errorCode(), NSURLErrorCannotConnectToHost);
    EXPECT_EQ(outcome.error->userInfo().value(NSURLErrorFailingURLStringErrorKey).toString(),
              target.toString());
}

// Failures

TEST(NSURLSession, RefusesAnAddressThatIsNotOfTheWeb)
{
    for (const QString &address : {u""_s, u"http://a b/"_s, u"file:///etc/passwd"_s, u"ftp://127.0.0.1/"_s,
                                   u"mailto:a@b"_s, u"/path"_s}) {
        const Outcome outcome = outcomeOf(get(QUrl(address)));
        EXPECT_EQ(outcome.errorCode(), NSURLErrorUnsupportedURL) << qPrintable(address);
        EXPECT_NE(outcome.thread, std::this_thread::get_id());
    }
}

TEST(NSURLSession, RefusesAnAddressWithoutHost)
{
    EXPECT_EQ(outcomeOf(get(QUrl(u"http:///path"_s))).errorCode(), NSURLErrorBadURL);
    EXPECT_EQ(outcomeOf(get(QUrl(u"http:path"_s))).errorCode(), NSURLErrorBadURL);
}

TEST(NSURLSession, TellsThatAHostIsUnknown)
{
    EXPECT_EQ(outcomeOf(get(QUrl(u"http://no-such-host.invalid/"_s))).errorCode(), NSURLErrorCannotFindHost);
}

TEST(NSURLSession, TellsThatNobodyListens)
{
    const QUrl url = urlWithoutServer();
    const Outcome outcome = outcomeOf(get(url));
    EXPECT_EQ(outcome.errorCode(), NSURLErrorCannotConnectToHost);
    EXPECT_EQ(outcome.error->localizedDescription(), u"The server could not be reached."_s);
    EXPECT_EQ(outcome.error->userInfo().value(NSURLErrorFailingURLStringErrorKey).toString(), url.toString());
}

TEST(NSURLSession, SendsAPostOnceWhenTheServerClosesWithoutAnswering)
{
    const RawServer server([](RawServer::Connection &connection) { connection.readRequest(); });
    EXPECT_EQ(outcomeOf(post(server.url(), "body")).errorCode(), NSURLErrorNetworkConnectionLost);
    EXPECT_EQ(server.connectionCount(), 1);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST(NSURLSession, SendsAPostOnceWhenTheServerClosesAfterAnEarlierAnswer)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        if (connection.number() == 0)
            connection.send(okWithThreeBytes);
    });
    EXPECT_EQ(outcomeOf(post(server.url(), "first")).status(), 200);
    EXPECT_EQ(outcomeOf(post(server.url(), "second")).errorCode(), NSURLErrorNetworkConnectionLost);
    EXPECT_EQ(server.connectionCount(), 2);
}

TEST(NSURLSession, SurvivesAServerThatClosesInTheMiddleOfABody)
{
    const RawServer server([](RawServer::Connection &) {});
    const Outcome outcome = outcomeOf(post(server.url(), QByteArray(20'000'000, 'x')));
    EXPECT_EQ(outcome.errorCode(), NSURLErrorNetworkConnectionLost);
    EXPECT_EQ(server.connectionCount(), 1);
}

TEST(NSURLSession, TakesAnAnswerThatEndsEarlyForALostConnection)
{
    for (const char *answer : {"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc",
                               "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n",
                               "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nabc",
                               "HTTP/1.1 200 OK\r\nContent-Le", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n",
                               "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 O", "HTTP/1.1 100 Continue\r\n\r\n"}) {
        const RawServer server(answering(answer));
        EXPECT_EQ(outcomeOf(get(server.url())).errorCode(), NSURLErrorNetworkConnectionLost) << answer;
    }
}

TEST(NSURLSession, RefusesAnAnswerThatIsNotHTTP)
{
    for (const char *answer :
         {"rubbish\r\n\r\n", "SSH-2.0-server\r\n", "HTTP/7.3 200 OK\r\n\r\n", "\0\1\2\3\n"}) {
        const RawServer server(answering(QByteArray(answer, answer[0] ? -1 : 5)));
        EXPECT_EQ(outcomeOf(get(server.url())).errorCode(), NSURLErrorBadServerResponse) << answer;
    }
}

TEST(NSURLSession, RefusesAnAnswerThatIsNotHTTPAfterARedirect)
{
    const RawServer rubbish(answering("rubbish\r\n\r\n"));
    const LoopbackServer server(redirectingOnce(302, rubbish.url().toEncoded()));
    EXPECT_EQ(outcomeOf(get(server.url())).errorCode(), NSURLErrorBadServerResponse);
}

TEST(NSURLSession, TakesABodyUpToTheMaximumSizeAndNoneLarger)
{
    NSURLSessionConfiguration configuration = ephemeral();
    EXPECT_EQ(configuration.maximumResponseSize, 64 * 1024 * 1024);
    configuration.maximumResponseSize = 3;
    const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    const QByteArray untilClose = "HTTP/1.1 200 OK\r\n\r\n";
    for (const QByteArray &answer :
         {QByteArray(okWithThreeBytes), chunked + "3\r\nabc\r\n0\r\n\r\n", untilClose + "abc"}) {
        const RawServer server(answering(answer));
        EXPECT_EQ(outcomeOf(get(server.url()), configuration).data, "abc");
    }
    for (const QByteArray &answer : {QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nabcd"),
                                     chunked + "4\r\nabcd\r\n0\r\n\r\n", untilClose + "abcd"}) {
        const RawServer server(answering(answer));
        EXPECT_EQ(outcomeOf(get(server.url()), configuration).errorCode(), NSURLErrorDataLengthExceedsMaximum)
            << answer.constData();
    }
}

TEST(NSURLSession, GetsAURLWithoutFurtherAdo)
{
    const RawServer server(answering(okWithThreeBytes));
    std::promise<std::optional<QByteArray>> data;
    NSURLSession::sessionWithConfiguration(ephemeral())
        ->dataTaskWithURL(server.url(u"/feed"_s),
                          [&](const auto &received, const auto &, const auto &) { data.set_value(received); })
        ->resume();
    EXPECT_EQ(data.get_future().get(), "abc");
    EXPECT_TRUE(server.requests().value(0).startsWith("GET /feed HTTP/1.1\r\n"));
}

TEST(NSURLSession, DecodesAnAnswerThatComesCompressedUnasked)
{
    constexpr char gzipped[] = "\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03KLJ\x06\x00\xc2" // "abc"
                               "A$5\x03\x00\x00\x00";
    const RawServer server(answering("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 23\r\n\r\n"
                                     + QByteArray(gzipped, sizeof gzipped - 1)));
    EXPECT_EQ(outcomeOf(get(server.url())).data, "abc");
}

TEST(NSURLSession, RefusesAnAnswerThatIsNotInTheContentEncodingThatItNames)
{
    const RawServer server(
        answering("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 3\r\n\r\nabc"));
    EXPECT_EQ(outcomeOf(get(server.url())).errorCode(), NSURLErrorCannotDecodeContentData);
}

TEST(NSURLSession, EndsASmallAnswerThatDecodesToMoreThanTheMaximumSize)
{
    NSURLSessionConfiguration configuration = ephemeral();
    configuration.maximumResponseSize = 1'000'000;
    const QByteArray deflated = qCompress(QByteArray(1'000'001, 'x')).mid(4); // without Qt's own size field
    ASSERT_LT(deflated.size(), 2'000);
    const RawServer server(answering("HTTP/1.1 200 OK\r\nContent-Encoding: deflate\r\nContent-Length: "
                                     + QByteArray::number(deflated.size()) + "\r\n\r\n" + deflated));
    EXPECT_EQ(outcomeOf(get(server.url()), configuration).errorCode(), NSURLErrorDataLengthExceedsMaximum);
}

TEST(NSURLSession, EndsAnAnswerWhoseHeaderOrRedirectHasNoEnd)
{
    const auto sendingWithoutEnd = [](const QByteArray &start, const QByteArray &piece) {
        return [start, piece](RawServer::Connection &connection) {
            connection.readRequest();
            connection.send(start);
            connection.send(piece.repeated(200'000));
            connection.stall();
        };
    };
    const RawServer header(sendingWithoutEnd("HTTP/1.1 200 OK\r\n", "X-Filler: abcdefghijklmnop\r\n"));
    EXPECT_EQ(outcomeOf(get(header.url())).errorCode(), NSURLErrorNetworkConnectionLost);

    NSURLSessionConfiguration configuration = ephemeral();
    configuration.maximumResponseSize = 1000;
    const RawServer redirect(sendingWithoutEnd(
        "HTTP/1.1 302 Found\r\nLocation: /\r\nTransfer-Encoding: chunked\r\n\r\n", "3\r\nabc\r\n"));
    EXPECT_EQ(outcomeOf(get(redirect.url()), configuration).errorCode(), NSURLErrorDataLengthExceedsMaximum);
}

TEST(NSURLSession, FailsWithTheReasonWhereTheHTTPLibraryIsMissing)
{
    // Another copy of the framework's library, without the folder of plugins beside it.
    const TemporaryHome home;
    const QFileInfo library(QStringLiteral(MARBLEWICK_CORE_LIBRARY));
    ASSERT_TRUE(QFile::link(library.filePath(), home.path() + u'/' + library.fileName()));
    qputenv("LD_LIBRARY_PATH", home.path().toUtf8());
    ChildProgram host({QStringLiteral(URL_SESSION_HOST), u"fetch"_s, u"http://127.0.0.1/"_s});
    EXPECT_EQ(host.exitStatus(), 7);
    EXPECT_TRUE(host.output().startsWith("error -1 ")) << host.output().constData();
    EXPECT_TRUE(host.output().contains("marblewick-http")) << host.output().constData();
}

// Time-outs

namespace {

constexpr double shortTimeout = 0.5; // seconds

void expectTimeout(const NSURLRequest &request)
{
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(outcomeOf(request).errorCode(), NSURLErrorTimedOut);
    EXPECT_GE(timer.elapsed(), 500);
    EXPECT_LT(timer.elapsed(), 1000);
}

} // namespace

TEST(NSURLSession, TimesOutWhileTheNameLookupHangs)
{
    expectTimeout(get(QUrl(u"http://%1/"_s.arg(QLatin1StringView(hostWhoseLookupHangs))), shortTimeout));
}

TEST(NSURLSession, TimesOutWhileNobodyTakesTheConnection)
{
    // A socket whose queue of connections is full leaves further ones without an answer.
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    ASSERT_EQ(::bind(socket, generic, size), 0);
    ASSERT_EQ(::listen(socket, 0), 0);
    ASSERT_EQ(::getsockname(socket, generic, &size), 0);
    const int queued = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_EQ(::connect(queued, generic, size), 0);

    expectTimeout(get(QUrl(u"http://127.0.0.1:%1/"_s.arg(ntohs(address.sin_port))), shortTimeout));
    ::close(queued);
    ::close(socket);
}

TEST(NSURLSession, TimesOutWhileTheServerDoesNotAnswer)
{
    const RawServer server([](RawServer::Connection &connection) { connection.stall(); });
    expectTimeout(post(server.url(), "body", shortTimeout));
}

TEST(NSURLSession, TimesOutWhileTheServerDoesNotTakeTheBody)
{
    const RawServer server([](RawServer::Connection &connection) { connection.stallWithoutReading(); });
    expectTimeout(post(server.url(), QByteArray(20'000'000, 'x'), shortTimeout));
}

TEST(NSURLSession, TimesOutInTheMiddleOfAnAnswer)
{
    for (const char *start :
         {"HTTP/1.1 200 OK\r\nContent-Le", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc"}) {
        const RawServer server([start](RawServer::Connection &connection) {
            connection.readRequest();
            connection.send(start);
            connection.stall();
        });
        expectTimeout(get(server.url(), shortTimeout));
    }
}

TEST(NSURLSession, WaitsForASlowAnswerAsLongAsBytesCome)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.trickle("HTTP/1.1 200 OK\r\n\r\nslow", 100ms);
    });
    const Outcome outcome = outcomeOf(get(server.url(), shortTimeout));
    EXPECT_EQ(outcome.data, "slow");
}

TEST(NSURLSession, WaitsForASlowReaderAsLongAsItTakesBytes)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequestSlowly(64 * 1024, 50ms);
        connection.send(okWithThreeBytes);
    });
    EXPECT_EQ(outcomeOf(post(server.url(), QByteArray(2'000'000, 'x'), shortTimeout)).status(), 200);
}

// Cancelling

TEST(NSURLSession, CancelsATaskThatWasNeverResumed)
{
    const LoopbackServer server;
    PendingTask task(get(server.url()));
    task.cancel();
    task.resume();
    const Outcome outcome = task.outcome();
    EXPECT_EQ(outcome.errorCode(), NSURLErrorCancelled);
    EXPECT_NE(outcome.thread, std::this_thread::get_id());
    awaitWorker();
    EXPECT_EQ(task.callCount(), 1u);
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST(NSURLSession, CancelsATaskRightAfterItsStart)
{
    const RawServer server([](RawServer::Connection &connection) { connection.stall(); });
    PendingTask task(get(server.url()));
    task.resume();
    task.cancel();
    EXPECT_EQ(task.outcome().errorCode(), NSURLErrorCancelled);
    awaitWorker();
    EXPECT_EQ(task.callCount(), 1u);
}

TEST(NSURLSession, CancelsATaskInFlightFromAnyThread)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.stall();
    });
    PendingTask task(get(server.url()));
    task.resume();
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.requests().size() == 1; }));
    QElapsedTimer timer;
    timer.start();
    std::thread([&task] { task.cancel(); }).join();
    const Outcome outcome = task.outcome();
    EXPECT_LT(timer.elapsed(), 200);
    EXPECT_EQ(outcome.errorCode(), NSURLErrorCancelled);
    EXPECT_EQ(outcome.error->localizedDescription(), u"The request was cancelled."_s);
    task.cancel();
    awaitWorker();
    EXPECT_EQ(task.callCount(), 1u);
}

TEST(NSURLSession, CancelsAtOnceWhileTheNameLookupHangs)
{
    PendingTask task(get(QUrl(u"http://%1/"_s.arg(QLatin1StringView(hostWhoseLookupHangs)))));
    task.resume();
    awaitWorker();
    QElapsedTimer timer;
    timer.start();
    task.cancel();
    EXPECT_EQ(task.outcome().errorCode(), NSURLErrorCancelled);
    EXPECT_LT(timer.elapsed(), 200);
}

TEST(NSURLSession, IgnoresACancelAfterTheOutcome)
{
    const LoopbackServer server;
    PendingTask task(get(server.url()));
    task.resume();
    EXPECT_EQ(task.outcome().status(), 200);
    task.cancel();
    awaitWorker();
    EXPECT_EQ(task.callCount(), 1u);
}

TEST(NSURLSession, LetsATaskBeCancelledInItsOwnCompletion)
{
    const LoopbackServer server;
    std::atomic<int> calls = 0;
    std::shared_ptr<NSURLSessionDataTask> task;
    task = NSURLSession::sessionWithConfiguration(ephemeral())
               ->dataTaskWithRequest(get(server.url()), [&](const auto &, const auto &, const auto &) {
                   task->cancel();
                   task->resume();
                   ++calls;
               });
    task->resume();
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls > 0; }));
    awaitWorker();
    EXPECT_EQ(calls, 1);
}

// The worker thread

TEST(NSURLSession, CallsCompletionsOnOneThreadThatIsNotTheMainThread)
{
    const LoopbackServer server;
    const Outcome answer = outcomeOf(get(server.url()));
    const Outcome failure = outcomeOf(get(QUrl()));
    EXPECT_NE(answer.thread, std::this_thread::get_id());
    EXPECT_EQ(answer.thread, failure.thread);
}

TEST(NSURLSession, RunsATaskOnceHoweverOftenItIsResumed)
{
    const LoopbackServer server;
    PendingTask task(get(server.url()));
    task.resume();
    task.resume();
    EXPECT_EQ(task.outcome().status(), 200);
    task.resume();
    awaitWorker();
    EXPECT_EQ(task.callCount(), 1u);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST(NSURLSession, RunsATaskThatNobodyKeeps)
{
    const LoopbackServer server;
    PendingTask task(get(server.url()));
    task.resume();
    task.release();
    EXPECT_EQ(task.outcome().status(), 200);
}

TEST(NSURLSession, ReleasesACompletionOnItsThreadRightAfterTheCall)
{
    const LoopbackServer server;
    std::atomic<std::thread::id> released;
    struct Noting
    {
        std::atomic<std::thread::id> &thread;
        ~Noting() { thread = std::this_thread::get_id(); }
    };
    auto noting = std::make_shared<Noting>(released);
    const auto task = NSURLSession::sessionWithConfiguration(ephemeral())
                          ->dataTaskWithRequest(get(server.url()),
                                                [noting](const auto &, const auto &, const auto &) {});
    noting.reset();
    task->resume();
    ASSERT_TRUE(QTest::qWaitFor([&] { return released.load() != std::thread::id(); }));
    EXPECT_NE(released.load(), std::this_thread::get_id());
}

TEST(NSURLSession, StartsThreadAndHTTPLibraryWithTheFirstTaskOnly)
{
    const LoopbackServer server;
    PendingTask task(get(server.url()));
    const QByteArray before = readFile(u"/proc/self/maps"_s);
    EXPECT_FALSE(before.contains("libcurl"));
    EXPECT_FALSE(before.contains("marblewick-http"));
    task.resume();
    EXPECT_EQ(task.outcome().status(), 200);
    const QByteArray after = readFile(u"/proc/self/maps"_s);
    EXPECT_TRUE(after.contains("libcurl"));
    EXPECT_TRUE(after.contains("marblewick-http"));
}

TEST(NSURLSession, KeepsTheHostsSignalsOffItsThread)
{
    const auto blocked = std::make_shared<std::promise<sigset_t>>();
    NSURLSession::sessionWithConfiguration(ephemeral())
        ->dataTaskWithRequest(get(QUrl()),
                              [&](const auto &, const auto &, const auto &) {
                                  sigset_t signals;
                                  ::pthread_sigmask(SIG_BLOCK, nullptr, &signals);
                                  blocked->set_value(signals);
                              })
        ->resume();
    const sigset_t signals = blocked->get_future().get();
    for (int signal : {SIGPIPE, SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGALRM, SIGUSR1})
        EXPECT_EQ(::sigismember(&signals, signal), 1) << signal;
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
        EXPECT_EQ(::sigismember(&signals, signal), 0) << signal;
    sigset_t own;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &own);
    EXPECT_EQ(::sigismember(&own, SIGTERM), 0);
}

TEST(NSURLSession, KeepsItsConnectionsFromTheProgramsThatTheHostStarts)
{
    const RawServer server([](RawServer::Connection &connection) {
        connection.readRequest();
        connection.stall();
    });
    PendingTask task(get(server.url()));
    task.resume();
    ASSERT_TRUE(QTest::qWaitFor([&] { return server.requests().size() == 1; }));
    int connections = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) != 0
            || peer.sin_family != AF_INET || ntohs(peer.sin_port) != server.url().port())
            continue;
        ++connections;
        EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(connections, 1);
}

// TLS

TEST(NSURLSession, RefusesACertificateThatNobodyVouchesFor)
{
    const SelfSignedCertificate certificate;
    const LoopbackServer server(certificate, [](const auto &) { return LoopbackServer::Answer(); });
    EXPECT_EQ(outcomeOf(get(server.url())).errorCode(), NSURLErrorServerCertificateUntrusted);
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST(NSURLSession, TellsThatTheTLSHandshakeFailed)
{
    const RawServer server([](RawServer::Connection &connection) { connection.send("no TLS here\r\n\r\n"); });
    QUrl url = server.url();
    url.setScheme(u"https"_s);
    EXPECT_EQ(outcomeOf(get(url)).errorCode(), NSURLErrorSecureConnectionFailed);
}

namespace {

/*! What a host prints that fetches `url` where the system trusts `certificate`. */
QByteArray fetchedWithTrustIn(const SelfSignedCertificate &certificate, const QUrl &url)
{
    // A mount namespace puts the certificate where the system's are, for the host alone.
    ChildProgram host({u"unshare"_s, u"--map-root-user"_s, u"--mount"_s, u"sh"_s, u"-c"_s,
                       u"mount --bind \"$0\" /etc/ssl/certs/ca-certificates.crt && exec \"$@\""_s,
                       certificate.certificatePath(), QStringLiteral(URL_SESSION_HOST), u"fetch"_s,
                       url.toString()});
    EXPECT_EQ(host.exitStatus(), 7);
    return host.output();
}

bool canMount()
{
    return ChildProgram({u"unshare"_s, u"--map-root-user"_s, u"--mount"_s, u"true"_s}).exitStatus() == 0;
}

} // namespace

TEST(NSURLSession, TakesACertificateThatTheSystemTrusts)
{
    if (!canMount())
        GTEST_SKIP() << "mount namespaces are not to be had here";
    const SelfSignedCertificate certificate;
    const LoopbackServer server(certificate, [](const auto &) {
        return LoopbackServer::Answer{200, "safe", {}};
    });
    EXPECT_EQ(fetchedWithTrustIn(certificate, server.url()), "200 safe\n");
}

TEST(NSURLSession, KeepsToHTTPSOnceARequestBeganWithIt)
{
    if (!canMount())
        GTEST_SKIP() << "mount namespaces are not to be had here";
    const SelfSignedCertificate certificate;
    const LoopbackServer plain;
    const LoopbackServer secure(certificate, redirectingOnce(302, plain.url().toEncoded()));
    EXPECT_EQ(fetchedWithTrustIn(certificate, secure.url()),
              "error -1002 The address is not one of the web.\n");
    EXPECT_TRUE(plain.requests().isEmpty());
    EXPECT_EQ(fetchedWithTrustIn(certificate, secure.url(u"/target"_s)), "200 arrived\n");
    const LoopbackServer upgrading(redirectingOnce(302, secure.url(u"/target"_s).toEncoded()));
    EXPECT_EQ(fetchedWithTrustIn(certificate, upgrading.url()), "200 arrived\n");
}

// The end of the process

namespace {

struct HostEnd
{
    int exitStatus = -1;
    QByteArray output;
    qint64 milliseconds = 0; ///< from the line of input that ends it
};

void addSanitizerOption(const char *variable, const QByteArray &option)
{
    qputenv(variable, qgetenv(variable) + ':' + option);
}

/*! Runs a host until its request is in flight, then ends it. */
HostEnd endOfHost(const QStringList &arguments, const std::function<bool(const ChildProgram &)> &isInFlight)
{
    addSanitizerOption("TSAN_OPTIONS", "atexit_sleep_ms=0");
    ChildProgram host(QStringList(QStringLiteral(URL_SESSION_HOST)) + arguments);
    EXPECT_TRUE(QTest::qWaitFor([&] { return isInFlight(host); }, 20000));
    QElapsedTimer timer;
    timer.start();
    host.write("\n");
    const int exitStatus = host.exitStatus();
    return {exitStatus, host.output(), timer.elapsed()};
}

constexpr qint64 atOnce = 900; // milliseconds; most of it is for the leak checker

const QStringList waysToEnd = {u"destroy-application"_s, u"exit"_s, u"no-application"_s};

void stallAfterRequest(RawServer::Connection &connection)
{
    connection.readRequest();
    connection.stall();
}

} // namespace

TEST(NSURLSession, LetsTheProcessEndAtOnceWithARequestInFlight)
{
    for (const QString &way : waysToEnd) {
        const RawServer server(stallAfterRequest);
        const HostEnd end = endOfHost({way, server.url().toString()},
                                      [&](const auto &) { return server.requests().size() == 1; });
        EXPECT_EQ(end.exitStatus, 7) << qPrintable(way);
        EXPECT_EQ(end.output, "") << qPrintable(way);
        EXPECT_LT(end.milliseconds, atOnce) << qPrintable(way);
    }
}

TEST(NSURLSession, LetsTheProcessEndAtOnceInTheMiddleOfATLSHandshake)
{
    for (const QString &way : waysToEnd) {
        const RawServer server([](RawServer::Connection &connection) { connection.stall(); });
        QUrl url = server.url();
        url.setScheme(u"https"_s);
        const HostEnd end = endOfHost({way, url.toString()},
                                      [&](const auto &) { return server.connectionCount() == 1; });
        EXPECT_EQ(end.exitStatus, 7) << qPrintable(way);
        EXPECT_EQ(end.output, "") << qPrintable(way);
        EXPECT_LT(end.milliseconds, atOnce) << qPrintable(way);
    }
}

TEST(NSURLSession, LetsTheProcessEndAtOnceWhileTheNameLookupHangs)
{
    for (const QString &way : waysToEnd) {
        const HostEnd end = endOfHost({way, u"http://%1/"_s.arg(QLatin1StringView(hostWhoseLookupHangs))},
                                      [](const ChildProgram &host) { return !host.output().isEmpty(); });
        EXPECT_EQ(end.exitStatus, 7) << qPrintable(way);
        EXPECT_EQ(end.output, nameLookupHangs) << qPrintable(way);
        EXPECT_LT(end.milliseconds, atOnce) << qPrintable(way);
    }
}

TEST(NSURLSession, LetsACompletionEndTheProcess)
{
    const LoopbackServer server;
    const HostEnd end = endOfHost({u"exit-in-completion"_s, server.url().toString()},
                                  [&](const auto &) { return server.requests().size() == 1; });
    EXPECT_EQ(end.exitStatus, 7);
}

TEST(NSURLSession, WorksAgainWithTheNextApplicationObject)
{
    const LoopbackServer server([](const auto &) { return LoopbackServer::Answer{200, "hello", {}}; });
    const HostEnd end = endOfHost({u"two-applications"_s, server.url().toString()},
                                  [](const auto &) { return true; });
    EXPECT_EQ(end.exitStatus, 7);
    EXPECT_EQ(end.output, "200 hello\n200 hello\n");
}

TEST(NSURLSession, WorksInAForkedChildAndLetsItExit)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer allows no threads in a forked child";
#endif
    // In the child the leak checker would miss what only the parent's threads hold on to.
    addSanitizerOption("ASAN_OPTIONS", "detect_leaks=0");
    const RawServer stalled(stallAfterRequest);
    const LoopbackServer server([](const auto &) { return LoopbackServer::Answer{200, "hello", {}}; });
    const HostEnd end = endOfHost({u"fork"_s, stalled.url().toString(), server.url().toString()},
                                  [&](const auto &) { return stalled.requests().size() == 1; });
    EXPECT_EQ(end.exitStatus, 7);
    EXPECT_EQ(end.output, "200 hello\n");
    EXPECT_EQ(stalled.requests().size(), 1);
}
