#include "Tools/CrashLog/StoppedThreads.h"

#include <sys/ptrace.h>
#include <sys/wait.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t maximumThreads = 512;

std::string taskFolder(pid_t process) { return "/proc/" + std::to_string(process) + "/task"; }

std::vector<pid_t> threadsOfProcess(pid_t process)
{
    std::vector<pid_t> threads;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(taskFolder(process), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        pid_t thread = 0;
        std::from_chars(name.data(), name.data() + name.size(), thread);
        threads.push_back(thread);
    }
    return threads;
}

std::string nameOfThread(pid_t process, pid_t thread)
{
    std::ifstream file(taskFolder(process) + '/' + std::to_string(thread) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

/*! Asks a thread to stop; false where the system refuses. */
bool interrupt(pid_t thread)
{
    return ::ptrace(PTRACE_SEIZE, thread, nullptr, nullptr) == 0
           && ::ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr) == 0;
}

/*! Whether a thread that was asked to stop stands still by the deadline. */
bool isStopped(pid_t thread, Clock::time_point deadline)
{
    // No call waits for a thread with a time limit. Most stand still before they are looked at.
    for (;;) {
        const pid_t changed = ::waitpid(thread, nullptr, __WALL | WNOHANG);
        if (changed != 0)
            return changed == thread;
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
}

} // namespace

Threads stopThreads(pid_t process, pid_t crashed, std::chrono::milliseconds patience)
{
    const Clock::time_point deadline = Clock::now() + patience;
    Threads threads;
    std::vector<pid_t> stopped;
    const auto isNew = [&](pid_t thread) {
        return std::ranges::find(threads.shown, thread, &Thread::id) == threads.shown.end()
               && (threads.shown.size() < maximumThreads || thread == crashed);
    };
    // A thread that still runs may start another one, so this ends when a look around finds nothing new.
    for (bool isComplete = false; !isComplete && Clock::now() < deadline;) {
        isComplete = true;
        std::vector<pid_t> interrupted;
        const std::vector<pid_t> found = threadsOfProcess(process);
        for (const pid_t thread : found) {
            if (!isNew(thread))
                continue;
            isComplete = false;
            threads.shown.push_back({thread, nameOfThread(process, thread), std::nullopt});
            if (thread != crashed && interrupt(thread))
                interrupted.push_back(thread);
        }
        std::ranges::copy_if(interrupted, std::back_inserter(stopped),
                             [&](pid_t thread) { return isStopped(thread, deadline); });
        threads.omitted = found.size() - std::min(found.size(), threads.shown.size());
    }
    for (Thread &thread : threads.shown) {
        if (std::ranges::find(stopped, thread.id) != stopped.end())
            thread.registers = registersOfStoppedThread(thread.id);
    }
    return threads;
}
