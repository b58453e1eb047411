// A host that makes one request and then ends as its first argument says. Its exit status is 7 where nothing
// went wrong; "completed" on standard output tells that the completion was called.
//
//   fetch URL                  waits for the outcome and prints it
//   destroy-application URL    on a line of standard input, destroys the application object and returns
//   exit URL                   the same, but calls exit() with the application object in place
//   no-application URL         the same, without any application object
//   two-applications URL       fetches it with one application object, destroys that, and again with another
//   exit-in-completion URL     calls exit() in the completion
//   fork URL OTHER-URL         on a line of standard input, forks a child that fetches OTHER-URL and exits

#include <Marblewick/NSURLSession.h>

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

using namespace Marblewick;

namespace {

constexpr int success = 7;

void start(const char *url, NSURLSessionCompletion completion)
{
    const auto session = NSURLSession::sessionWithConfiguration(
        NSURLSessionConfiguration::ephemeralSessionConfiguration());
    NSURLRequest request{QUrl(QString::fromUtf8(url))};
    session->dataTaskWithRequest(request, std::move(completion))->resume();
}

std::weak_ptr<QByteArray> heldByCompletion;

/*! Called at exit after all that the framework does there: by then the completion must be gone. */
void checkThatCompletionIsReleased()
{
    if (!heldByCompletion.expired())
        ::_exit(1);
}

void startAndAwaitLine(const char *url)
{
    std::atexit(&checkThatCompletionIsReleased);
    const auto held = std::make_shared<QByteArray>(1000, 'x');
    heldByCompletion = held;
    start(url, [held](const auto &, const auto &, const auto &) { std::puts("completed"); });
    (void)std::getchar();
}

int fetch(const char *url)
{
    const auto done = std::make_shared<std::promise<void>>();
    start(url, [done](const auto &data, const auto &response, const auto &error) {
        if (response)
            std::printf("%lld %s\n", response->statusCode, data->constData());
        else
            std::printf("error %lld %s\n", error->code(), qPrintable(error->localizedDescription()));
        done->set_value();
    });
    done->get_future().wait();
    std::fflush(stdout);
    return success;
}

int forkAndFetch(const char *url)
{
    const pid_t child = ::fork();
    if (child == 0) {
        heldByCompletion.reset(); // the parent's to release
        std::exit(fetch(url));
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string_view mode(argv[1]);
    auto application = mode == "no-application" ? nullptr : std::make_unique<QCoreApplication>(argc, argv);
    if (mode == "fetch")
        return fetch(argv[2]);
    if (mode == "two-applications") {
        fetch(argv[2]);
        application.reset();
        application = std::make_unique<QCoreApplication>(argc, argv);
        return fetch(argv[2]);
    }
    if (mode == "exit-in-completion") {
        start(argv[2], [](const auto &, const auto &, const auto &) { std::exit(success); });
        for (;;)
            ::pause();
    }
    startAndAwaitLine(argv[2]);
    if (mode == "fork")
        return forkAndFetch(argv[3]);
    if (mode == "exit")
        std::exit(success);
    application.reset();
    if (mode == "destroy-application")
        checkThatCompletionIsReleased();
    return success;
}
