#include "Tests/Support/LoopbackServer.h"

#include "Tests/Support/SelfSignedCertificate.h"

#include <gtest/gtest.h>

#include <httplib.h>
#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

// Under this name a request's content type waits until the body has been read; see keepBodyWhole().
constexpr char heldContentType[] = "Held-Content-Type";

/*! httplib takes a form apart and forgets its bytes, unless it does not see that it is one. */
void keepBodyWhole(const httplib::Request &request)
{
    httplib::Headers &headers = const_cast<httplib::Request &>(request).headers;
    while (auto field = headers.extract("Content-Type")) {
        field.key() = heldContentType;
        headers.insert(std::move(field));
    }
}

/*! httplib notes where a connection came from among the header fields that it read. */
bool isFromClient(const std::string &name)
{
    return name != "REMOTE_ADDR" && name != "REMOTE_PORT" && name != "LOCAL_ADDR" && name != "LOCAL_PORT";
}

LoopbackServer::Request recorded(const httplib::Request &request)
{
    LoopbackServer::Request result{QByteArray::fromStdString(request.method),
                                   QByteArray::fromStdString(request.target),
                                   {},
                                   QByteArray::fromStdString(request.body)};
    for (const auto &[name, value] : request.headers) {
        if (isFromClient(name))
            result.headers.emplaceBack(name == heldContentType ? QByteArray("Content-Type")
                                                               : QByteArray::fromStdString(name),
                                       QByteArray::fromStdString(value));
    }
    std::ranges::sort(result.headers);
    return result;
}

} // namespace

std::optional<QByteArray> LoopbackServer::Request::header(const QByteArray &name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

struct LoopbackServer::Private
{
    Private(std::unique_ptr<httplib::Server> httpServer, const QString &urlScheme, Handler requestHandler)
        : server(std::move(httpServer))
        , scheme(urlScheme)
        , handler(std::move(requestHandler))
    {
        server->set_keep_alive_max_count(1);
        server->set_pre_routing_handler([](const httplib::Request &request, httplib::Response &) {
            keepBodyWhole(request);
            return httplib::Server::HandlerResponse::Unhandled;
        });
        const auto serve = [this](const httplib::Request &request, httplib::Response &response) {
            answer(request, &response);
        };
        server->Get(".*", serve).Post(".*", serve).Put(".*", serve).Delete(".*", serve).Patch(".*", serve);
        port = server->bind_to_any_port("127.0.0.1");
        EXPECT_GT(port, 0);
        thread = std::thread([this] { server->listen_after_bind(); });
        while (!server->is_running())
            std::this_thread::yield();
    }

    ~Private()
    {
        server->stop();
        thread.join();
    }

    void answer(const httplib::Request &request, httplib::Response *response)
    {
        const Request record = recorded(request);
        {
            const std::lock_guard lock(mutex);
            requests.append(record);
        }
        const Answer result = handler(record);
        response->status = result.status;
        response->body = result.body.toStdString();
        for (const auto &[name, value] : result.headers)
            response->set_header(name.toStdString(), value.toStdString());
    }

    const std::unique_ptr<httplib::Server> server;
    const QString scheme;
    const Handler handler;
    int port = 0;
    std::thread thread;
    mutable std::mutex mutex;
    QList<Request> requests;
};

LoopbackServer::LoopbackServer()
    : LoopbackServer([](const Request &) { return Answer(); })
{ }

LoopbackServer::LoopbackServer(Handler handler)
    : d(std::make_unique<Private>(std::make_unique<httplib::Server>(), u"http"_s, std::move(handler)))
{ }

LoopbackServer::LoopbackServer(const SelfSignedCertificate &certificate, Handler handler)
    : d(std::make_unique<Private>(
        std::make_unique<httplib::SSLServer>(qPrintable(certificate.certificatePath()),
                                             qPrintable(certificate.keyPath())),
        u"https"_s, std::move(handler)))
{ }

LoopbackServer::~LoopbackServer() = default;

QUrl LoopbackServer::url(const QString &pathAndQuery) const
{
    return QUrl(d->scheme + u"://127.0.0.1:"_s + QString::number(d->port) + pathAndQuery);
}

QList<LoopbackServer::Request> LoopbackServer::requests() const
{
    const std::lock_guard lock(d->mutex);
    return d->requests;
}
