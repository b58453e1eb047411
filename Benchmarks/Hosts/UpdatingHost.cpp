// The same host with a check for updates, whose feed is at the address given.

#include "Benchmarks/Hosts/Host.h"

#include <Marblewick/MBWSWUpdateChecker.h>

#include <fstream>
#include <string>

namespace {

std::shared_ptr<MBWSWUpdateChecker> checker;

bool isWebEngineMapped()
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("WebEngine") != std::string::npos)
            return true;
    }
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    const int status = runHost(argc, argv, [] {
        const QStringList arguments = QCoreApplication::arguments();
        checker = MBWSWUpdateChecker::initWithCurrentVersion(1, QUrl(arguments.value(1)));
    });
    checker.reset();
    return isWebEngineMapped() ? 1 : status;
}
