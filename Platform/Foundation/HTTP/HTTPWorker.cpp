#include "Platform/Foundation/HTTP/HTTPWorker.h"

#include "Platform/Foundation/Plugin.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdlib>
#include <pthread.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! Keeps the signals that can be meant for any thread away from a thread that is made during its lifetime:
    the host's handlers run where the host expects them. Faults of the thread itself still arrive.
*/
class AsynchronousSignalsBlocked
{
public:
    AsynchronousSignalsBlocked()
    {
        sigset_t signals;
        ::sigfillset(&signals);
        for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
            ::sigdelset(&signals, fault);
        ::pthread_sigmask(SIG_BLOCK, &signals, &m_previous);
    }
    ~AsynchronousSignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }
    AsynchronousSignalsBlocked(const AsynchronousSignalsBlocked &) = delete;
    AsynchronousSignalsBlocked &operator=(const AsynchronousSignalsBlocked &) = delete;

private:
    sigset_t m_previous{};
};

/*! Why a URL is not one to send a request to; 0 where it is. */
qint64 errorCodeForURL(const QUrl &url)
{
    if (!url.isValid() || (url.scheme() != u"http"_s && url.scheme() != u"https"_s))
        return NSURLErrorUnsupportedURL;
    if (url.host().isEmpty())
        return NSURLErrorBadURL;
    return 0;
}

} // namespace

HTTPWorker &HTTPWorker::shared()
{
    static HTTPWorker *worker = new HTTPWorker;
    // A forked child has its parent's memory but not its threads, and mutexes that nobody will unlock.
    [[maybe_unused]] static const int handler = ::pthread_atfork(nullptr, nullptr,
                                                                 [] { worker = new HTTPWorker; });
    return *worker;
}

void HTTPWorker::post(Command command)
{
    const std::lock_guard lock(m_mutex);
    if (m_isStopping)
        return;
    m_commands.push_back(std::move(command));
    if (!m_thread.joinable())
        startThread();
    wakeUp();
}

void HTTPWorker::startThread()
{
    std::atexit(&stopAtExit);
    qAddPostRoutine([] { shared().stop(Restart::Allowed); });
    const AsynchronousSignalsBlocked blocked;
    m_thread = std::thread(&HTTPWorker::run, this);
}

void HTTPWorker::wakeUp()
{
    m_commandPosted.notify_one();
    if (m_client)
        m_client->wakeUp();
}

bool HTTPWorker::isCurrentThread()
{
    const std::lock_guard lock(m_mutex);
    return m_thread.get_id() == std::this_thread::get_id();
}

void HTTPWorker::stop(Restart restart)
{
    // A completion that calls exit() arrives here; there is nobody to wait for.
    if (isCurrentThread())
        return;
    const std::lock_guard stopLock(m_stopMutex);
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
        m_mayRestart = m_mayRestart && restart == Restart::Allowed;
        wakeUp();
    }
    if (m_thread.joinable())
        m_thread.join();
    const std::lock_guard lock(m_mutex);
    m_isStopping = !m_mayRestart;
}

void HTTPWorker::run()
{
    ::pthread_setname_np(::pthread_self(), "MarblewickHTTP");
    while (const std::optional<std::vector<Command>> commands = nextCommands()) {
        for (const Command &command : *commands)
            execute(command);
        if (m_running.empty())
            continue;
        for (const HTTPClient::Result &result : m_client->run())
            finish(result.transfer, result.outcome);
    }
    dropEverything();
}

/*! Waits for commands, unless transfers are running. Nil where the thread is to end. */
std::optional<std::vector<HTTPWorker::Command>> HTTPWorker::nextCommands()
{
    std::unique_lock lock(m_mutex);
    m_commandPosted.wait(lock, [this] { return m_isStopping || !m_commands.empty() || !m_running.empty(); });
    if (m_isStopping)
        return std::nullopt;
    return std::exchange(m_commands, {});
}

void HTTPWorker::execute(const Command &command)
{
    const std::shared_ptr<HTTPTransfer> &transfer = command.transfer;
    const bool isSettled = !transfer->completion;
    const bool isRunning = m_running.contains(transfer);
    if (command.action == Command::Resume && !isSettled && !isRunning) {
        start(transfer);
    } else if (command.action == Command::Cancel && !isSettled) {
        if (isRunning)
            m_client->stop(transfer);
        finish(transfer, {NSURLErrorCancelled, {}, {transfer->request.url()}, {}});
    }
}

void HTTPWorker::start(const std::shared_ptr<HTTPTransfer> &transfer)
{
    const QUrl url = transfer->request.url();
    QString reason;
    if (const qint64 code = errorCodeForURL(url); code != 0) {
        finish(transfer, {code, {}, {url}, {}});
    } else if (!loadClient(&reason)) {
        finish(transfer, {NSURLErrorUnknown, reason, {url}, {}});
    } else {
        m_running.insert(transfer);
        m_client->start(transfer);
    }
}

bool HTTPWorker::loadClient(QString *reason)
{
    if (m_client)
        return true;
    const auto create = reinterpret_cast<MarblewickCreateHTTPClient>(
        resolveInPlugin("marblewick-http", marblewickCreateHTTPClientName, reason));
    if (!create)
        return false;
    std::unique_ptr<HTTPClient> client(create());
    if (!client) {
        *reason = u"The HTTP library could not be set up."_s;
        return false;
    }
    // The libraries that came with the client, such as the one for TLS, clean up at exit, and this thread
    // must have ended by then. What is registered last is called first, so it is registered once more after
    // them.
    std::atexit(&stopAtExit);
    const std::lock_guard lock(m_mutex);
    m_client = std::move(client);
    return true;
}

void HTTPWorker::finish(const std::shared_ptr<HTTPTransfer> &transfer, const HTTPOutcome &outcome)
{
    m_running.erase(transfer);
    const NSURLSessionCompletion completion = std::exchange(transfer->completion, nullptr);
    if (outcome.errorCode == 0)
        completion(outcome.data, outcome.response, std::nullopt);
    else
        completion(std::nullopt, std::nullopt,
                   errorWithURLErrorCode(outcome.errorCode, outcome.response.url, outcome.reason));
}

/*! Releases transfers and completions on this thread; no lock is held, as their destructors are the host's.
 */
void HTTPWorker::dropEverything()
{
    std::vector<Command> commands;
    std::unique_ptr<HTTPClient> client;
    {
        const std::lock_guard lock(m_mutex);
        commands.swap(m_commands);
        client = std::move(m_client);
    }
    client.reset();
    m_running.clear();
}

} // namespace Marblewick
