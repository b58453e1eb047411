#include "Tools/Marblewick/Serve.h"

#include "Tools/Marblewick/Console.h"

#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSString.h>

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! What the server offers. Paths are bytes; an empty one means that it offers no such thing. */
struct ServeOptions
{
    int port = 0; ///< 0 for any that is free
    std::string feedFile; ///< served at /feed, as it is at each request
    std::string notesFolder; ///< served under /notes/
    std::string reportsFolder; ///< receives the reports that are posted to /report, a file for each
};

constexpr char loopback[] = "127.0.0.1";
constexpr qint64 maximumFileSize = qint64{1024} * 1024 * 1024; // large enough to try a feed that is too large
constexpr size_t maximumReportSize = size_t{512} * 1024 * 1024;

enum HTTPStatus { OK = 200, BadRequest = 400, NotFound = 404, InternalServerError = 500 };

const NSFileManager *files() { return NSFileManager::defaultManager(); }

QString pathOf(const std::string &bytes) { return NSFileManager::stringWithFileSystemRepresentation(bytes); }

/*! Prints a line at once, for who waits for it. Requests come on several threads. */
void printLine(const QString &line)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::printf("%s\n", qUtf8Printable(NSString::escapingControlCharacters(line)));
    std::fflush(stdout);
}

void answerText(httplib::Response &answer, HTTPStatus status, const QString &text)
{
    answer.status = status;
    answer.set_content((text + u'\n').toStdString(), "text/plain; charset=utf-8");
}

/*! Ends a server when the process is told to end. Has to be made before any other thread. */
class EndingBySignal
{
public:
    explicit EndingBySignal(httplib::Server *server)
    {
        ::sigemptyset(&m_signals);
        ::sigaddset(&m_signals, SIGINT);
        ::sigaddset(&m_signals, SIGTERM);
        ::pthread_sigmask(SIG_BLOCK, &m_signals, nullptr);
        m_thread = std::thread([this, server] {
            int signal = 0;
            ::sigwait(&m_signals, &signal);
            // The library does not stop a server that has yet to begin.
            while (!server->is_running() && !m_isOver)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            server->stop();
        });
    }
    ~EndingBySignal()
    {
        m_isOver = true; // where the server ended by itself, or never began
        ::pthread_kill(m_thread.native_handle(), SIGINT);
        m_thread.join();
    }
    EndingBySignal(const EndingBySignal &) = delete;
    EndingBySignal &operator=(const EndingBySignal &) = delete;

private:
    sigset_t m_signals{};
    std::atomic<bool> m_isOver = false;
    std::thread m_thread;
};

class DevelopmentServer
{
public:
    explicit DevelopmentServer(const ServeOptions &options)
        : m_options(options)
    { }

    bool run()
    {
        if (!setUpFolders())
            return false;
        const EndingBySignal ending(&m_server);
        // The library's own choice lets two servers share a port, and each would get some of the requests.
        m_server.set_socket_options([](socket_t socket) {
            constexpr int yes = 1;
            ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
        const int port = bind();
        if (port < 0) {
            complain(m_options.port == 0
                         ? u"no port of 127.0.0.1 is free"_s
                         : u"port %1 of 127.0.0.1 is taken or not allowed"_s.arg(m_options.port));
            return false;
        }
        m_server.set_payload_max_length(maximumReportSize);
        m_server.set_keep_alive_max_count(1); // so that ending it waits for nobody
        m_server.Get("/feed", [this](const auto &, httplib::Response &answer) { answerFeed(&answer); });
        m_server.Post("/report",
                      [this](const httplib::Request &request, httplib::Response &answer,
                             const httplib::ContentReader &read) { takeReport(request, read, &answer); });
        m_server.set_logger([](const httplib::Request &request, const httplib::Response &answer) {
            printLine(QString::fromStdString(request.method + ' ' + request.path) + u' '
                      + QString::number(answer.status));
        });
        printLine(u"Listening at http://127.0.0.1:%1"_s.arg(port));
        return m_server.listen_after_bind();
    }

private:
    bool setUpFolders()
    {
        const std::string &notes = m_options.notesFolder;
        if (!notes.empty() && !m_server.set_mount_point("/notes", notes)) {
            complainAbout(notes, u"is no folder"_s);
            return false;
        }
        NSError error;
        const std::string &reports = m_options.reportsFolder;
        if (!reports.empty() && !files()->createDirectoryAtPath(pathOf(reports), &error)) {
            complainAbout(reports, error.localizedDescription());
            return false;
        }
        return true;
    }

    /*! The port, or -1. */
    int bind()
    {
        if (m_options.port == 0)
            return m_server.bind_to_any_port(loopback);
        return m_server.bind_to_port(loopback, m_options.port) ? m_options.port : -1;
    }

    void answerFeed(httplib::Response *answer) const
    {
        if (m_options.feedFile.empty())
            return answerText(*answer, NotFound, u"No feed: start the server with --feed."_s);
        NSError error;
        const std::optional<QByteArray> feed = files()->contentsAtPath(pathOf(m_options.feedFile),
                                                                       maximumFileSize, &error);
        if (!feed)
            return answerText(*answer, NotFound, error.localizedDescription());
        answer->set_content(feed->constData(), static_cast<size_t>(feed->size()), "application/octet-stream");
    }

    void takeReport(const httplib::Request &request, const httplib::ContentReader &read,
                    httplib::Response *answer)
    {
        QMap<std::string, QByteArray> fields;
        std::string current;
        const bool isRead = request.is_multipart_form_data()
                            && read(
                                [&](const httplib::MultipartFormData &field) {
                                    current = field.name;
                                    return true;
                                },
                                [&](const char *bytes, size_t size) {
                                    fields[current].append(bytes, static_cast<qsizetype>(size));
                                    return true;
                                });
        if (!isRead || !fields.contains("crashlog"))
            return answerText(*answer, BadRequest, u"This is no form with a field \"crashlog\"."_s);

        const QByteArray report = fields.value("crashlog");
        printLine(u"A report of "_s + QString::fromUtf8(fields.value("product")) + u", "_s
                  + QString::number(report.size()) + u" bytes"_s);
        if (m_options.reportsFolder.empty())
            return;
        NSError error;
        const QString file = newReportFile();
        if (files()->createFileAtPath(file, report, &error))
            return printLine(u"Saved as "_s + file);
        complain(file + u": "_s + error.localizedDescription());
        answerText(*answer, InternalServerError, u"The report could not be saved."_s);
    }

    /*! A path in the folder of reports at which there is no file yet. */
    QString newReportFile()
    {
        const std::lock_guard lock(m_mutex);
        const QString folder = pathOf(m_options.reportsFolder);
        QString path;
        do
            path = folder + u"/report-%1.txt"_s.arg(++m_reportNumber);
        while (files()->fileExistsAtPath(path));
        return path;
    }

    const ServeOptions m_options;
    httplib::Server m_server;
    std::mutex m_mutex; // guards the number
    int m_reportNumber = 0;
};

} // namespace

void addServeCommand(CLI::App *app, Action *action)
{
    CLI::App *const command = app->add_subcommand("serve", "A server on 127.0.0.1 to develop a host against");
    const auto options = std::make_shared<ServeOptions>();
    command->add_option("--port", options->port, "Port; any that is free without")
        ->check(CLI::Range(1, 65535))
        ->type_name("NUMBER");
    addFile(command, "--feed", "Release record to serve at /feed", &options->feedFile);
    addFile(command, "--notes", "Folder to serve under /notes/", &options->notesFolder);
    addFile(command, "--reports", "Folder for the crash reports that are posted to /report",
            &options->reportsFolder);
    command->callback([=] { *action = [=] { return DevelopmentServer(*options).run(); }; });
}
