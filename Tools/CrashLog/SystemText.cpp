#include "Tools/CrashLog/SystemText.h"

#include <sys/utsname.h>

#include <cstdlib>
#include <ctime>
#include <fstream>

namespace {

std::string firstLine(const std::string &path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::string withoutQuotes(const std::string &text)
{
    const bool isQuoted = text.size() >= 2 && text.front() == text.back()
                          && (text.front() == '"' || text.front() == '\'');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

} // namespace

std::string systemName()
{
    constexpr std::string_view key = "PRETTY_NAME=";
    for (const char *const path : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with(key))
                return withoutQuotes(line.substr(key.size()));
        }
    }
    return "Linux";
}

std::string kernelVersion()
{
    utsname names = {};
    ::uname(&names);
    return names.release;
}

std::string machineModel()
{
    const std::string board = firstLine("/proc/device-tree/model");
    if (!board.empty())
        return board.substr(0, board.find('\0'));
    const std::string maker = firstLine("/sys/class/dmi/id/sys_vendor");
    const std::string product = firstLine("/sys/class/dmi/id/product_name");
    return maker.empty() || product.empty() ? maker + product : maker + ' ' + product;
}

std::uint64_t secondsAwake()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<std::uint64_t>(time.tv_sec);
}

std::string nameOfProcess(pid_t process) { return firstLine("/proc/" + std::to_string(process) + "/comm"); }

pid_t parentOfProcess(pid_t process)
{
    constexpr std::string_view key = "PPid:";
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key))
            return std::atoi(line.c_str() + key.size());
    }
    return 0;
}
