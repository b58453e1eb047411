#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"
#include "Benchmarks/Loopback.h"

#include <Marblewick/MBWCrashReporter.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <chrono>
#include <cstdlib>
#include <future>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr qsizetype reportSize = 50'000'000;

/*! Takes one POST at a time and tells when its last byte came. */
class Sink
{
public:
    Sink() = default;
    ~Sink() { ::close(m_socket); }
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;

    QString url() const { return u"http://127.0.0.1:%1/"_s.arg(m_port); }

    struct Times
    {
        Clock::time_point accepted;
        Clock::time_point lastByte;
    };

    /*! Serves the next connection on another thread. */
    std::future<Times> serve()
    {
        return std::async(std::launch::async, [this] {
            const int connection = ::accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
            Times times{Clock::now(), {}};
            std::vector<char> buffer(1 << 20);
            QByteArray head;
            qsizetype missing = -1;
            while (missing != 0) {
                const ssize_t count = ::read(connection, buffer.data(), buffer.size());
                if (count <= 0)
                    std::abort();
                if (missing > 0) {
                    missing -= count;
                } else {
                    head.append(buffer.data(), count);
                    missing = missingAfter(head);
                }
            }
            times.lastByte = Clock::now();
            constexpr QByteArrayView answer(
                "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
            if (::write(connection, answer.data(), static_cast<size_t>(answer.size())) != answer.size())
                std::abort();
            ::close(connection);
            return times;
        });
    }

private:
    /*! Bytes still to come after these; -1 where the header is not complete. */
    static qsizetype missingAfter(const QByteArray &received)
    {
        const qsizetype end = received.indexOf("\r\n\r\n");
        if (end < 0)
            return -1;
        const QByteArray field("content-length: ");
        const qsizetype start = received.toLower().indexOf(field) + field.size();
        const qsizetype length = received.mid(start, received.indexOf('\r', start) - start).toLongLong();
        return end + 4 + length - received.size();
    }

    quint16 m_port = 0;
    const int m_socket = listenOnLoopback(&m_port);
};

struct Upload
{
    double total = 0; ///< ms from the call, or the command's start, to the server's last byte
    double transfer = 0; ///< ms from the accepted connection to the server's last byte
};

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

Upload upload(Sink &sink, const std::function<void()> &send)
{
    std::future<Sink::Times> served = sink.serve();
    const Clock::time_point start = Clock::now();
    send();
    const Sink::Times times = served.get();
    return {milliseconds(times.lastByte - start), milliseconds(times.lastByte - times.accepted)};
}

void sendByReporter(const Sink &sink, const QString &report)
{
    QEventLoop loop;
    MBWCrashReporter().sendCrashReport(report, u"ada@example.com"_s, u"d"_s, QUrl(sink.url()),
                                       [&](const auto &error) {
                                           if (error)
                                               std::abort();
                                           loop.quit();
                                       });
    loop.exec();
}

void sendByCurl(const Sink &sink, const QString &file)
{
    const QString command = u"curl -s --noproxy '*' -H Expect: --data-binary @%1 %2"_s.arg(file, sink.url());
    if (std::system(command.toUtf8().constData()) != 0)
        std::abort();
}

} // namespace

void benchmarkUpload()
{
    qputenv("no_proxy", "127.0.0.1");
    const QString report(reportSize, u'r');
    const QTemporaryDir folder;
    const QString file = folder.filePath(u"body"_s);
    QFile body(file);
    if (!body.open(QIODevice::WriteOnly) || body.write(report.toUtf8()) != reportSize)
        std::abort();
    body.close();

    Sink sink;
    const auto ours = [&] { return upload(sink, [&] { sendByReporter(sink, report); }); };
    const auto peer = [&] { return upload(sink, [&] { sendByCurl(sink, file); }); };
    constexpr double megabits = reportSize * 8 / 1000.0;
    const Comparison total{.ours = [&] { return megabits / ours().total; },
                           .peer = [&] { return megabits / peer().total; }};
    printRatio("50 MB report, send to the server's last byte / curl command", total.run(), "Mb/s",
               "at least 0.8");
    const Comparison transfer{.ours = [&] { return megabits / ours().transfer; },
                              .peer = [&] { return megabits / peer().transfer; }};
    printRatio("the same from the accepted connection on / curl command", transfer.run(), "Mb/s",
               "at least 0.8");
}
