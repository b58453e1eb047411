#include <Marblewick/NSLog.h>

#include "Tests/Support/CapturedStandardError.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QRegularExpression>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! The fields of a log line: date, name, process id, thread id, message. Empty where it is no log line. */
QStringList fields(const QString &line)
{
    static const QRegularExpression form(
        u"\\A(\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}) ([^\\[]+)\\[(\\d+):(\\d+)\\] (.*)\\n\\z"_s);
    return form.match(line).capturedTexts().mid(1);
}

QString message(QStringView format, std::initializer_list<std::optional<QString>> arguments = {})
{
    const CapturedStandardError log;
    NSLog(format, arguments);
    return fields(log.text()).value(4, u"not one line"_s);
}

/*! Standard error as a pipe, from construction to destruction. */
class StandardErrorPipe
{
public:
    StandardErrorPipe()
    {
        EXPECT_EQ(::pipe2(m_ends.data(), O_CLOEXEC), 0);
        EXPECT_GE(::dup2(m_ends[1], STDERR_FILENO), 0);
        ::close(m_ends[1]);
    }
    ~StandardErrorPipe()
    {
        close();
        ::close(m_ends[0]);
    }
    StandardErrorPipe(const StandardErrorPipe &) = delete;
    StandardErrorPipe &operator=(const StandardErrorPipe &) = delete;

    int readEnd() const { return m_ends[0]; }

    /*! Gives the former standard error back, so that a reader of the pipe comes to its end. */
    void close()
    {
        if (m_original >= 0) {
            ::dup2(m_original, STDERR_FILENO);
            ::close(m_original);
        }
        m_original = -1;
    }

private:
    int m_original = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    std::array<int, 2> m_ends{};
};

} // namespace

TEST(NSLog, WritesDateNameProcessThreadAndMessage)
{
    const QDateTime before = QDateTime::currentDateTime();
    const CapturedStandardError log;
    NSLog(u"Grüße, %@", {u"Welt 😀"_s});
    const QStringList parts = fields(log.text());
    ASSERT_EQ(parts.size(), 5) << qPrintable(log.text());
    const auto date = QDateTime::fromString(parts[0], u"yyyy-MM-dd HH:mm:ss.zzz"_s);
    EXPECT_GE(date, before);
    EXPECT_LE(date, QDateTime::currentDateTime());
    EXPECT_EQ(parts[1], u"FoundationTests"_s);
    EXPECT_EQ(parts[2], QString::number(::getpid()));
    EXPECT_EQ(parts[3], QString::number(::gettid()));
    EXPECT_EQ(parts[4], u"Grüße, Welt 😀"_s);
}

TEST(NSLog, WritesNilAsNull) { EXPECT_EQ(message(u"%@ and %@", {std::nullopt, u"b"_s}), u"(null) and b"_s); }

TEST(NSLog, WritesOneLineWhateverTheMessageHolds)
{
    const QString forged = u"x\n2026-01-01 00:00:00.000 Other[1:1] forged\r\n"_s;
    EXPECT_EQ(message(u"%@", {forged}), u"x\\n2026-01-01 00:00:00.000 Other[1:1] forged\\r\\n"_s);
    EXPECT_EQ(message(u"a\nb"), u"a\\nb"_s);
    EXPECT_EQ(message(u"%@", {u"\x1b]0;title\x07\u0085\u2028\u202e\x7f\xd800"_s}),
              u"\\u{1b}]0;title\\u{7}\\u{85}\\u{2028}\\u{202e}\\u{7f}\\u{d800}"_s);
    EXPECT_EQ(message(u"%@", {QString(QChar(0))}), u"\\0"_s);
    EXPECT_EQ(message(u""), QString());
}

TEST(NSLog, DoesNotMixTheLinesOfSeveralThreads)
{
    constexpr int threadCount = 8;
    constexpr int linesPerThread = 100;
    QByteArray written;
    {
        StandardErrorPipe log;
        std::jthread reader([&] {
            std::array<char, 1000> buffer;
            for (ssize_t count = 0; (count = ::read(log.readEnd(), buffer.data(), buffer.size())) > 0;)
                written.append(buffer.data(), count);
        });
        {
            std::vector<std::jthread> writers;
            for (int thread = 0; thread < threadCount; ++thread) {
                writers.emplace_back([thread] {
                    // Longer than what a pipe takes in one piece.
                    const QString text(10000, QChar(u'a' + thread));
                    for (int i = 0; i < linesPerThread; ++i)
                        NSLog(u"%@", {text});
                });
            }
        }
        log.close();
    }
    const QList<QByteArray> lines = written.split('\n');
    ASSERT_EQ(lines.size(), threadCount * linesPerThread + 1);
    EXPECT_EQ(lines.last(), "");
    for (const QByteArray &line : lines.first(lines.size() - 1)) {
        const QString text = fields(QString::fromUtf8(line) + u'\n').value(4);
        ASSERT_EQ(text.size(), 10000) << line.left(100).constData();
        ASSERT_EQ(text.count(text.front()), 10000);
    }
}

TEST(NSLog, SurvivesAClosedStandardError)
{
    const auto logToNowhere = [] {
        ::close(STDERR_FILENO);
        NSLog(u"message");
        ::_exit(0);
    };
    EXPECT_EXIT(logToNowhere(), ::testing::ExitedWithCode(0), "");
}

TEST(NSLog, SurvivesAPipeWhoseReaderHasGoneAndLeavesTheSignalAsItWas)
{
    const auto logToBrokenPipe = [] {
        StandardErrorPipe log;
        ::close(log.readEnd());
        NSLog(u"message");
        sigset_t blocked;
        sigset_t pending;
        ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        ::sigpending(&pending);
        ::_exit(::sigismember(&blocked, SIGPIPE) || ::sigismember(&pending, SIGPIPE));
    };
    EXPECT_EXIT(logToBrokenPipe(), ::testing::ExitedWithCode(0), "");
}

TEST(NSLog, SurvivesAFullDisk)
{
    const auto logToFullDevice = [] {
        ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        NSLog(u"message");
        ::_exit(0);
    };
    EXPECT_EXIT(logToFullDevice(), ::testing::ExitedWithCode(0), "");
}
