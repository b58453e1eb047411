#include <Marblewick/MBWCrashReporter.h>
#include <Marblewick/NSURLSession.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace Marblewick;
using testing::HasSubstr;

namespace {

QString command() { return QCoreApplication::applicationDirPath() + u"/marblewick"_s; }

/*! `marblewick serve`, until the test ends. */
class RunningServer
{
public:
    explicit RunningServer(const QStringList &options)
        : m_program(QStringList{command(), u"serve"_s} + options)
    {
        EXPECT_TRUE(QTest::qWaitFor([this] { return m_program.output().contains('\n'); }, 10'000));
    }

    QByteArray output() const { return m_program.output(); }
    QString url() const { return QString::fromUtf8(output().split('\n').first()).section(u' ', 2); }

private:
    ChildProgram m_program;
};

struct Answer
{
    bool isThere = false;
    qint64 status = 0;
    QByteArray body;
};

Answer get(const QString &url, const QByteArray &method = "GET", const QByteArray &body = {})
{
    NSURLRequest request{QUrl(url)};
    request.setHTTPMethod(method);
    request.setHTTPBody(body);
    const auto answer = std::make_shared<Answer>();
    NSURLSession::sessionWithConfiguration(NSURLSessionConfiguration::ephemeralSessionConfiguration())
        ->dataTaskWithRequest(
            request,
            [answer](const auto &data, const auto &response, const auto &) {
                const Answer received{true, response ? response->statusCode : 0, data.value_or(QByteArray())};
                QMetaObject::invokeMethod(qApp, [=] { *answer = received; });
            })
        ->resume();
    EXPECT_TRUE(QTest::qWaitFor([&] { return answer->isThere; }, 10'000));
    return *answer;
}

class MarblewickServe : public testing::Test
{
protected:
    QString path(const QString &name) const { return home.path() + u'/' + name; }

    const TemporaryHome home;
};

} // namespace

TEST_F(MarblewickServe, SaysFirstWhereItListens)
{
    const RunningServer server({});
    EXPECT_TRUE(server.url().startsWith(u"http://127.0.0.1:")) << server.output().constData();
}

TEST_F(MarblewickServe, ServesTheFeedAsItIsAtEachRequest)
{
    writeFile(path(u"feed"_s), "one");
    const RunningServer server({u"--feed"_s, path(u"feed"_s)});
    EXPECT_EQ(get(server.url() + u"/feed"_s).body, "one");
    writeFile(path(u"feed"_s), "two");
    EXPECT_EQ(get(server.url() + u"/feed"_s).body, "two");
}

TEST_F(MarblewickServe, AnswersThatThereIsNoFeedWhereNoneWasNamedOrItIsGone)
{
    const RunningServer none({});
    EXPECT_EQ(get(none.url() + u"/feed"_s).status, 404);
    const RunningServer gone({u"--feed"_s, path(u"gone"_s)});
    EXPECT_EQ(get(gone.url() + u"/feed"_s).status, 404);
}

TEST_F(MarblewickServe, ServesTheNotesAndNothingBesideTheirFolder)
{
    writeFile(path(u"notes/1.5/index.html"_s), "<h1>1.5</h1>");
    writeFile(path(u"secret"_s), "secret");
    const RunningServer server({u"--notes"_s, path(u"notes"_s)});
    EXPECT_EQ(get(server.url() + u"/notes/1.5/index.html"_s).body, "<h1>1.5</h1>");
    EXPECT_EQ(get(server.url() + u"/notes/%2e%2e/secret"_s).status, 404);
    EXPECT_EQ(get(server.url() + u"/notes/none.html"_s).status, 404);
}

TEST_F(MarblewickServe, SavesEachReportThatACrashReporterSends)
{
    QCoreApplication::setApplicationName(u"App"_s);
    const RunningServer server({u"--reports"_s, path(u"reports"_s)});
    for (const QString &report : {u"first"_s, u"second"_s}) {
        bool isSent = false;
        MBWCrashReporter().sendCrashReport(report, std::nullopt, u"Boom"_s, QUrl(server.url() + u"/report"_s),
                                           [&](const auto &error) {
                                               EXPECT_FALSE(error);
                                               isSent = true;
                                           });
        EXPECT_TRUE(QTest::qWaitFor([&] { return isSent; }, 10'000));
    }
    EXPECT_EQ(readFile(path(u"reports/report-1.txt"_s)),
              "Email: NO EMAIL PROVIDED\r\nDescription: Boom\r\n\r\n###\r\n\r\nfirst");
    EXPECT_TRUE(readFile(path(u"reports/report-2.txt"_s)).endsWith("second"));
    EXPECT_THAT(server.output().toStdString(), HasSubstr("A report of App, "));
}

TEST_F(MarblewickServe, KeepsTheReportsOfAnEarlierRun)
{
    writeFile(path(u"reports/report-1.txt"_s), "earlier");
    const RunningServer server({u"--reports"_s, path(u"reports"_s)});
    bool isSent = false;
    MBWCrashReporter().sendCrashReport(u"new"_s, std::nullopt, QString(), QUrl(server.url() + u"/report"_s),
                                       [&](const auto &) { isSent = true; });
    EXPECT_TRUE(QTest::qWaitFor([&] { return isSent; }, 10'000));
    EXPECT_EQ(readFile(path(u"reports/report-1.txt"_s)), "earlier");
    EXPECT_TRUE(readFile(path(u"reports/report-2.txt"_s)).endsWith("new"));
}

TEST_F(MarblewickServe, RefusesAPostThatIsNoReport)
{
    const RunningServer server({u"--reports"_s, path(u"reports"_s)});
    EXPECT_EQ(get(server.url() + u"/report"_s, "POST", "text").status, 400);
    EXPECT_EQ(QDir(path(u"reports"_s)).entryList(QDir::Files), QStringList());
}

TEST_F(MarblewickServe, PrintsALineForEachRequestThatCannotForgeAnother)
{
    const RunningServer server({});
    get(server.url() + u"/none%0AGET%20/forged"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.output().count('\n') == 2; }, 10'000));
    EXPECT_TRUE(server.output().endsWith("\nGET /none\\nGET /forged 404\n")) << server.output().constData();
}

TEST_F(MarblewickServe, EndsWellWhenItIsToldTo)
{
    for (const char *signal : {"INT", "TERM"}) {
        ChildProgram shell({u"bash"_s, u"-c"_s,
                            u"coproc server { exec '%1' serve; }; pid=$server_PID; "
                            "read -r <&\"${server[0]}\"; kill -%2 $pid; wait $pid"_s.arg(
                                command(), QLatin1StringView(signal))});
        EXPECT_EQ(shell.exitStatus(), 0) << signal;
    }
}

TEST_F(MarblewickServe, SaysThatItsPortIsTaken)
{
    const RunningServer server({});
    const QString port = server.url().section(u':', 2);
    CapturedStandardError errors;
    ChildProgram second({command(), u"serve"_s, u"--port"_s, port});
    EXPECT_EQ(second.exitStatus(), 1);
    EXPECT_EQ(errors.text(), u"marblewick: port %1 of 127.0.0.1 is taken or not allowed\n"_s.arg(port));
}

TEST_F(MarblewickServe, SaysThatTheFolderOfNotesIsNone)
{
    CapturedStandardError errors;
    ChildProgram serve({command(), u"serve"_s, u"--notes"_s, path(u"none"_s)});
    EXPECT_EQ(serve.exitStatus(), 1);
    EXPECT_EQ(errors.text(), u"marblewick: "_s + path(u"none"_s) + u": is no folder\n"_s);
}

TEST_F(MarblewickServe, SaysThatTheFolderOfReportsCannotBeMade)
{
    writeFile(path(u"file"_s), "");
    CapturedStandardError errors;
    ChildProgram serve({command(), u"serve"_s, u"--reports"_s, path(u"file"_s)});
    EXPECT_EQ(serve.exitStatus(), 1);
    EXPECT_THAT(errors.text().toStdString(), HasSubstr("/file: "));
}

TEST_F(MarblewickServe, RefusesAPortThatIsNone)
{
    for (const QString &port : {u"0"_s, u"65536"_s, u"-1"_s, u"http"_s, QString()}) {
        CapturedStandardError errors;
        ChildProgram serve({command(), u"serve"_s, u"--port"_s, port});
        EXPECT_EQ(serve.exitStatus(), 2) << qPrintable(port);
    }
}
