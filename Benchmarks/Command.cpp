#include "Benchmarks/Command.h"

#include <QString>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace {

/*! Calls `read` with the first line as soon as it has come. */
void run(const QString &command, const std::function<void(const char *line)> &read)
{
    FILE *const pipe = ::popen(command.toUtf8().constData(), "re");
    char line[256] = {};
    if (!pipe || !std::fgets(line, sizeof line, pipe))
        std::abort();
    read(line);
    char rest[65536];
    while (std::fread(rest, 1, sizeof rest, pipe) > 0) { }
    if (::pclose(pipe) != 0)
        std::abort();
}

} // namespace

QByteArray firstLineOf(const QString &command)
{
    QByteArray first;
    run(command, [&](const char *line) { first = line; });
    return first;
}

double secondsToFirstLineOf(const QString &command)
{
    const auto start = std::chrono::steady_clock::now();
    std::chrono::duration<double> time{};
    run(command, [&](const char *) { time = std::chrono::steady_clock::now() - start; });
    return time.count();
}
