#include "ReportServer.h"

#include <httplib.h>

#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;

struct ReportServer::Private
{
    httplib::Server server;
    int port = -1;
    std::thread thread;
    std::mutex mutex;
    std::vector<Request> requests;
};

ReportServer::ReportServer()
    : d(std::make_unique<Private>())
{
    d->server.Post("/report", [this](const httplib::Request &received, httplib::Response &,
                                     const httplib::ContentReader &readContent) {
        Request request;
        request.line = QByteArray::fromStdString(received.method + ' ' + received.path);
        for (const auto &[name, value] : received.headers) {
            if (!name.starts_with("REMOTE_") && !name.starts_with("LOCAL_")) // the server's own additions
                request.headerFields.push_back(QByteArray::fromStdString(name + ": " + value));
        }
        if (!received.is_multipart_form_data()) // Not from a crash reporter.
            return;
        readContent(
            [&](const httplib::MultipartFormData &field) {
                request.formFields.emplace_back(QByteArray::fromStdString(field.name), QByteArray());
                return true;
            },
            [&](const char *data, size_t length) {
                request.formFields.back().second.append(data, static_cast<qsizetype>(length));
                return true;
            });
        const std::lock_guard lock(d->mutex);
        d->requests.push_back(request);
    });
    d->port = d->server.bind_to_any_port("127.0.0.1");
    if (d->port > 0)
        d->thread = std::thread([this] { d->server.listen_after_bind(); });
}

ReportServer::~ReportServer()
{
    d->server.stop();
    if (d->thread.joinable())
        d->thread.join();
}

QString ReportServer::url() const
{
    return d->port > 0 ? u"http://127.0.0.1:%1/report"_s.arg(d->port) : QString();
}

std::vector<ReportServer::Request> ReportServer::takeRequests()
{
    const std::lock_guard lock(d->mutex);
    return std::exchange(d->requests, {});
}
