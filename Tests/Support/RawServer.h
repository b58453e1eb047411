#pragma once

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

/*! A TCP server on 127.0.0.1 for what no proper server does. Each connection runs a script, on a thread of
    its own, and is closed when the script returns.
*/
class RawServer
{
public:
    /*! One connection, in the hands of a script. When the server is destroyed, everything here returns at
        once.
    */
    class Connection
    {
    public:
        Connection(RawServer *server, int socket, int number);

        /*! Which one it is, counted from 0. */
        int number() const { return m_number; }
        /*! Reads up to the end of the header and of the body that its Content-Length announces. */
        QByteArray readRequest();
        /*! The same, a piece of at most that many bytes at a time, with a pause before each. */
        QByteArray readRequestSlowly(qsizetype piece, std::chrono::milliseconds pause);
        void send(const QByteArray &bytes);
        /*! Sends byte after byte, with a pause before each. */
        void trickle(const QByteArray &bytes, std::chrono::milliseconds pause);
        /*! Does nothing until the client has closed the connection. */
        void stall();
        /*! As stall(), but does not even take what the client sends. */
        void stallWithoutReading();

    private:
        friend class RawServer;
        bool readMore(qsizetype maximum = 65536);
        bool wait(std::chrono::milliseconds pause);
        QByteArray readRequest(const std::function<bool()> &readPiece);

        RawServer *const m_server;
        const int m_socket;
        const int m_number;
        QByteArray m_received;
        std::thread m_thread;
    };
    using Script = std::function<void(Connection &)>;

    explicit RawServer(Script script);
    ~RawServer();
    RawServer(const RawServer &) = delete;
    RawServer &operator=(const RawServer &) = delete;

    QUrl url(const QString &pathAndQuery = QStringLiteral("/")) const;
    int connectionCount() const;
    /*! The raw bytes of each request that a script has read. */
    QList<QByteArray> requests() const;

private:
    void acceptConnections();
    void serve(Connection *connection);

    const Script m_script;
    int m_socket = -1;
    int m_port = 0;
    std::thread m_thread;
    mutable std::mutex m_mutex; // guards what follows
    std::condition_variable m_closing;
    bool m_isClosing = false;
    std::list<Connection> m_connections;
    QList<QByteArray> m_requests;
};
