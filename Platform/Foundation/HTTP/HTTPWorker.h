#pragma once

#include "Platform/Foundation/HTTP/HTTPClient.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

namespace Marblewick {

/*! The thread on which all transfers run and all completions are called.

    It starts with the first command, sleeps while nothing is in flight, and ends when the application object
    is destroyed or the process exits: what is in flight is then dropped. The next command after that starts
    it anew, unless the process exits. A transfer's completion is the mark of its state: it is there until the
    outcome is settled.
*/
class HTTPWorker
{
public:
    /*! The worker of this process; a forked child has one of its own. Never destroyed. */
    static HTTPWorker &shared();

    /*! Runs a transfer that is new. Any thread. */
    void resume(const std::shared_ptr<HTTPTransfer> &transfer) { post({transfer, Command::Resume}); }
    /*! Settles a transfer, new or running, as cancelled. Any thread. */
    void cancel(const std::shared_ptr<HTTPTransfer> &transfer) { post({transfer, Command::Cancel}); }

    HTTPWorker(const HTTPWorker &) = delete;
    HTTPWorker &operator=(const HTTPWorker &) = delete;

private:
    struct Command
    {
        std::shared_ptr<HTTPTransfer> transfer;
        enum Action { Resume, Cancel } action;
    };
    enum class Restart { Allowed, Never };

    HTTPWorker() = default;

    // Any thread
    void post(Command command);
    void stop(Restart restart);
    bool isCurrentThread();
    static void stopAtExit() { shared().stop(Restart::Never); }

    // With m_mutex held
    void startThread();
    void wakeUp();

    // The worker's own thread
    void run();
    std::optional<std::vector<Command>> nextCommands();
    void execute(const Command &command);
    void start(const std::shared_ptr<HTTPTransfer> &transfer);
    bool loadClient(QString *reason);
    void finish(const std::shared_ptr<HTTPTransfer> &transfer, const HTTPOutcome &outcome);
    void dropEverything();

    std::mutex m_stopMutex; // held until the thread has ended
    std::mutex m_mutex; // guards all up to the blank line
    std::condition_variable m_commandPosted;
    std::vector<Command> m_commands;
    bool m_isStopping = false;
    bool m_mayRestart = true;
    std::thread m_thread;
    std::unique_ptr<HTTPClient>
        m_client; // set by the worker's thread alone, which reads it without the mutex

    std::set<std::shared_ptr<HTTPTransfer>> m_running; // the worker's own
};

} // namespace Marblewick
