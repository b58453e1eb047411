#pragma once

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

class SelfSignedCertificate;

/*! A real HTTP server on 127.0.0.1, on threads of its own, that records what it is asked. It serves one
    request a connection. For misbehaviour there is RawServer.
*/
class LoopbackServer
{
public:
    using Header = std::pair<QByteArray, QByteArray>;

    struct Request
    {
        QByteArray method;
        QByteArray target; ///< path and query
        QList<Header> headers; ///< sorted by name
        QByteArray body; ///< as it was sent, forms too

        /*! The value of a header field, whose name counts without regard to case. */
        std::optional<QByteArray> header(const QByteArray &name) const;
    };
    struct Answer
    {
        int status = 200;
        QByteArray body;
        QList<Header> headers;
    };
    /*! Answers a request, on a thread of the server's. */
    using Handler = std::function<Answer(const Request &)>;

    /*! Answers everything with status 200 and an empty body. */
    LoopbackServer();
    explicit LoopbackServer(Handler handler);
    /*! The same by https. The certificate must outlive the server. */
    LoopbackServer(const SelfSignedCertificate &certificate, Handler handler);
    ~LoopbackServer();

    QUrl url(const QString &pathAndQuery = QStringLiteral("/")) const;
    /*! The requests so far, in the order in which they were complete. */
    QList<Request> requests() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
