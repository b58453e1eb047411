#include "Tools/CrashLog/SystemText.h"

#include <sys/random.h>
#include <sys/utsname.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
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
        return board.c_str(); // A zero byte ends it.
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

std::string timeText(const timespec &time, int secondsEastOfUTC, int fractionDigits)
{
    const time_t local = time.tv_sec + secondsEastOfUTC;
    tm parts = {};
    ::gmtime_r(&local, &parts);
    char date[64];
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S", &parts);
    char fraction[24];
    std::snprintf(fraction, sizeof fraction, "%09ld", time.tv_nsec);
    const int minutes = std::abs(secondsEastOfUTC) / 60;
    char zone[24];
    std::snprintf(zone, sizeof zone, "%c%02d%02d", secondsEastOfUTC < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return std::string(date) + '.' + std::string(fraction).substr(0, static_cast<std::size_t>(fractionDigits))
           + ' ' + zone;
}

std::string randomUUID()
{
    unsigned char bytes[16] = {};
    (void)!::getrandom(bytes, sizeof bytes, GRND_NONBLOCK);
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0f) | 0x40);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3f) | 0x80);
    std::string text;
    for (std::size_t i = 0; i < sizeof bytes; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", bytes[i]);
        text += (i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "") + std::string(digits);
    }
    return text;
}
