#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"

#include <Marblewick/MBWLogManager.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int files = 10'000;
constexpr size_t keptLogs = 9;
constexpr int lines = 1'000;
const char *const line = "2026-11-15 00:17:03.250 Atlas[4711:4711] The map could not be drawn: no paper\n";

void fill(const QString &folder, const QString &prefix)
{
    for (int i = 0; i < files; ++i) {
        QFile file(folder + u'/' + prefix + QString::number(i));
        if (!file.open(QIODevice::WriteOnly))
            std::abort();
    }
}

struct Log
{
    std::string path;
    statx_timestamp made;
};

/*! Rotates with the same system calls and as little else as that can take. */
void plainRotation(const std::string &folder, const char *prefix)
{
    std::vector<Log> logs;
    DIR *const directory = ::opendir(folder.c_str());
    while (const dirent *const entry = ::readdir(directory)) {
        if (std::strncmp(entry->d_name, prefix, std::strlen(prefix)) != 0)
            continue;
        Log log{folder + '/' + entry->d_name, {}};
        struct statx status = {};
        ::statx(AT_FDCWD, log.path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status);
        log.made = status.stx_btime;
        logs.push_back(log);
    }
    ::closedir(directory);
    std::ranges::sort(logs, {}, [](const Log &log) { return std::pair(log.made.tv_sec, log.made.tv_nsec); });
    for (size_t i = 0; i + keptLogs < logs.size(); ++i)
        ::unlink(logs[i].path.c_str());
}

void compareRotationBesideForeignFiles(const QString &folder)
{
    fill(folder, u"Foreign_"_s);
    const Comparison comparison{
        .ours = [] { return 1000 * secondsOf([] { const MBWLogManager manager; }); },
        .peer =
            [&] { return 1000 * secondsOf([&] { plainRotation(folder.toStdString(), "BenchmarkHost_"); }); }};
    printRatio("log rotation beside 10,000 other files / plain loop", comparison.run(), "ms", "at most 1.5");
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
}

/*! The milliseconds that `rotate` takes of a folder with 10,000 logs. */
template <typename Rotation>
double rotationOfLogs(const QString &folder, const Rotation &rotate)
{
    fill(folder, u"BenchmarkHost_"_s);
    const double milliseconds = 1000 * secondsOf(rotate);
    if (QDir(folder).entryList(QDir::Files).size() != static_cast<qsizetype>(keptLogs))
        std::abort();
    return milliseconds;
}

void compareRotationOfLogs(const QString &folder)
{
    const Comparison comparison{
        .ours = [&] { return rotationOfLogs(folder, [] { const MBWLogManager manager; }); },
        .peer =
            [&] {
                return rotationOfLogs(folder, [&] { plainRotation(folder.toStdString(), "BenchmarkHost_"); });
            },
        .repetitions = 9};
    printRatio("log rotation of 10,000 logs / plain loop", comparison.run(), "ms", "at most 1.5");
}

/*! The nanoseconds that a line takes on its way to a file. */
template <typename Write>
double lineTime(const Write &write)
{
    return 1e9 / lines * secondsOf([&] {
               for (int i = 0; i < lines; ++i)
                   write();
           });
}

/*! A file that is written to directly. */
class PlainFile
{
public:
    explicit PlainFile(const QString &path)
        : m_file(::open(path.toUtf8().constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600))
    { }
    ~PlainFile() { ::close(m_file); }
    PlainFile(const PlainFile &) = delete;
    PlainFile &operator=(const PlainFile &) = delete;

    void writeLine() const
    {
        if (::write(m_file, line, std::strlen(line)) < 0)
            std::abort();
    }

private:
    const int m_file;
};

void compareLines(const QString &folder)
{
    const int original = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    const QString log = folder + u"/redirected"_s;
    const QString plain = folder + u"/plain"_s;
    // New files, as a launch's is: ext4 writes one that was emptied to the disk when it is closed.
    const auto peer = [&] {
        QFile::remove(plain);
        const PlainFile file(plain);
        return lineTime([&] { file.writeLine(); });
    };
    const auto redirected = [&](void (*write)()) {
        QFile::remove(log);
        MBWLogManager::sharedManager()->redirectStandardErrorToFileAtPath(log);
        return lineTime(write);
    };
    const Comparison stream{.ours = [&] { return redirected([] { std::fputs(line, stderr); }); },
                            .peer = peer};
    const Comparison cppStream{.ours = [&] { return redirected([] { std::cerr << line; }); }, .peer = peer};
    const Comparison::Medians streamMedians = stream.run();
    const Comparison::Medians cppStreamMedians = cppStream.run();
    ::dup2(original, STDERR_FILENO);
    ::close(original);
    qInstallMessageHandler(nullptr);
    printRatio("a line to the redirected stderr / write()", streamMedians, "ns", "at most 1.2");
    printRatio("a line to the redirected std::cerr / write()", cppStreamMedians, "ns", "at most 1.2");
}

} // namespace

void benchmarkLog()
{
    const QTemporaryDir home;
    qputenv("XDG_DATA_HOME", home.path().toUtf8());
    const QString folder = MBWLogManager().applicationLogDirectory();
    compareRotationBesideForeignFiles(folder);
    compareRotationOfLogs(folder);
    compareLines(home.path());
}
