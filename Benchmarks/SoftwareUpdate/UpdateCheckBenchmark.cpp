#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Command.h"
#include "Benchmarks/Comparison.h"
#include "Benchmarks/Loopback.h"

#include <Marblewick/MBWSWUpdateChecker.h>
#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSKeyedArchiver.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTemporaryDir>

#include <cstdlib>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! Answers every GET with the same bytes, one connection after another. */
class FeedServer
{
public:
    explicit FeedServer(const QByteArray &feed)
        : m_answer("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: "
                   + QByteArray::number(feed.size()) + "\r\n\r\n" + feed)
    {
        m_thread = std::thread([this] { serve(); });
    }
    ~FeedServer()
    {
        ::shutdown(m_socket, SHUT_RDWR);
        m_thread.join();
        ::close(m_socket);
    }
    FeedServer(const FeedServer &) = delete;
    FeedServer &operator=(const FeedServer &) = delete;

    QString url() const { return u"http://127.0.0.1:%1/feed"_s.arg(m_port); }

private:
    void serve() const
    {
        int connection = -1;
        while ((connection = ::accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
            char request[4096];
            // A request of a few fields comes in one piece on loopback; its sender may be gone by the answer.
            if (::read(connection, request, sizeof request) > 0)
                ::send(connection, m_answer.constData(), static_cast<size_t>(m_answer.size()), MSG_NOSIGNAL);
            ::close(connection);
        }
    }

    const QByteArray m_answer;
    quint16 m_port = 0;
    const int m_socket = listenOnLoopback(&m_port);
    std::thread m_thread;
};

/*! A record of the release that runs: nothing is to be shown. */
QByteArray feed()
{
    MBWSWUpdateInfo info;
    info.setProductIdentifier(u"com.example.cartographer"_s);
    info.setProductName(u"Cartographer"_s);
    info.setVersionIdentifier(1);
    info.setVersionString(u"1.0"_s);
    info.setUpdateInfoURL(QUrl(u"https://example.com/cartographer/notes"_s));
    info.setDirectDownloadURL(QUrl(u"https://example.com/cartographer.tar.xz"_s));
    info.setSystemVersion(u"11.0"_s);
    return NSKeyedArchiver::archivedDataWithRootObject(info);
}

void check(const QString &url)
{
    QEventLoop loop;
    const auto checker = MBWSWUpdateChecker::initWithCurrentVersion(1, QUrl(url));
    QObject::connect(checker.get(), &MBWSWUpdateChecker::softwareUpToDate, &loop, &QEventLoop::quit);
    QObject::connect(checker.get(), &MBWSWUpdateChecker::updateCheckFailed, [] { std::abort(); });
    loop.exec();
}

} // namespace

void benchmarkUpdateCheck()
{
    const QTemporaryDir home;
    for (const char *folder : {"XDG_STATE_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
        qputenv(folder, home.path().toUtf8());
    qputenv("no_proxy", "127.0.0.1");
    qputenv("QT_QPA_PLATFORM", "offscreen");

    const FeedServer server(feed());
    const QString curl = u"curl -s --noproxy '*' -o /dev/null -w '%{time_total}' "_s + server.url();
    const auto ours = [&] { return 1000 * secondsOf([&] { check(server.url()); }); };
    const Comparison command{.ours = ours,
                             .peer = [&] { return 1000 * secondsOf([&] { firstLineOf(curl); }); }};
    printRatio("check for updates, to its outcome / curl command", command.run(), "ms", "at most 1.5");
    const Comparison transfer{.ours = ours, .peer = [&] { return 1000 * firstLineOf(curl).toDouble(); }};
    printRatio("the same / what curl says its transfer took", transfer.run(), "ms", "");

    const QString hosts = QCoreApplication::applicationDirPath();
    const auto launch = [&](const QString &host) { return 1000 * secondsToFirstLineOf(hosts + u'/' + host); };
    const Comparison launches{.ours = [&] { return launch(u"updating-host "_s + server.url()); },
                              .peer = [&] { return launch(u"empty-host"_s); },
                              .repetitions = 30};
    printDifference(
        "launch with a check for updates, to its first shown window / the same host without the library",
        launches.run(), "ms", "at most 3 ms");
}
