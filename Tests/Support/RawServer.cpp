#include "Tests/Support/RawServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

qsizetype announcedBodySize(const QByteArray &head)
{
    const QByteArray name("\r\ncontent-length:");
    const qsizetype field = head.toLower().indexOf(name);
    if (field < 0)
        return 0;
    const qsizetype value = field + name.size();
    return head.mid(value, head.indexOf("\r\n", value) - value).trimmed().toLongLong();
}

} // namespace

RawServer::Connection::Connection(RawServer *server, int socket, int number)
    : m_server(server)
    , m_socket(socket)
    , m_number(number)
{ }

bool RawServer::Connection::readMore(qsizetype maximum)
{
    QByteArray piece(maximum, Qt::Uninitialized);
    const ssize_t size = ::recv(m_socket, piece.data(), static_cast<size_t>(maximum), 0);
    m_received.append(piece.constData(), std::max<ssize_t>(size, 0));
    return size > 0;
}

/*! False where the server is about to go. */
bool RawServer::Connection::wait(std::chrono::milliseconds pause)
{
    std::unique_lock lock(m_server->m_mutex);
    return !m_server->m_closing.wait_for(lock, pause, [this] { return m_server->m_isClosing; });
}

QByteArray RawServer::Connection::readRequest(const std::function<bool()> &readPiece)
{
    const QByteArray blankLine("\r\n\r\n");
    while (!m_received.contains(blankLine) && readPiece()) { }
    const qsizetype headSize = m_received.indexOf(blankLine) + blankLine.size();
    const qsizetype size = headSize + announcedBodySize(m_received.left(headSize));
    while (m_received.size() < size && readPiece()) { }
    const std::lock_guard lock(m_server->m_mutex);
    m_server->m_requests.append(m_received);
    return m_received;
}

QByteArray RawServer::Connection::readRequest()
{
    return readRequest([this] { return readMore(); });
}

QByteArray RawServer::Connection::readRequestSlowly(qsizetype piece, std::chrono::milliseconds pause)
{
    return readRequest([=, this] { return wait(pause) && readMore(piece); });
}

void RawServer::Connection::send(const QByteArray &bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t size = ::send(m_socket, bytes.constData() + sent,
                                    static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (size <= 0)
            return;
        sent += size;
    }
}

void RawServer::Connection::trickle(const QByteArray &bytes, std::chrono::milliseconds pause)
{
    for (char byte : bytes) {
        if (!wait(pause))
            return;
        send(QByteArray(1, byte));
    }
}

void RawServer::Connection::stall()
{
    while (readMore()) { }
}

void RawServer::Connection::stallWithoutReading()
{
    pollfd closed{m_socket, POLLRDHUP, 0};
    ::poll(&closed, 1, -1);
}

RawServer::RawServer(Script script)
    : m_script(std::move(script))
    , m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(m_socket, reinterpret_cast<sockaddr *>(&address), size), 0);
    EXPECT_EQ(::listen(m_socket, 16), 0);
    EXPECT_EQ(::getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &size), 0);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread(&RawServer::acceptConnections, this);
}

RawServer::~RawServer()
{
    ::shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    {
        const std::lock_guard lock(m_mutex);
        m_isClosing = true;
        m_closing.notify_all();
    }
    for (Connection &connection : m_connections)
        ::shutdown(connection.m_socket, SHUT_RDWR);
    for (Connection &connection : m_connections) {
        connection.m_thread.join();
        ::close(connection.m_socket);
    }
    ::close(m_socket);
}

void RawServer::acceptConnections()
{
    for (int number = 0;; ++number) {
        const int socket = ::accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        const std::lock_guard lock(m_mutex);
        Connection &connection = m_connections.emplace_back(this, socket, number);
        connection.m_thread = std::thread(&RawServer::serve, this, &connection);
    }
}

void RawServer::serve(Connection *connection)
{
    m_script(*connection);
    // The socket's number stays taken until the server goes, so that it cannot become another's meanwhile.
    ::shutdown(connection->m_socket, SHUT_RDWR);
}

QUrl RawServer::url(const QString &pathAndQuery) const
{
    return QUrl(u"http://127.0.0.1:"_s + QString::number(m_port) + pathAndQuery);
}

int RawServer::connectionCount() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_connections.size());
}

QList<QByteArray> RawServer::requests() const
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}
