// The same host with the launch check.

#include "Benchmarks/Hosts/Host.h"

#include <Marblewick/MBWCrashReportController.h>

int main(int argc, char **argv)
{
    return runHost(argc, argv, [] {
        MBWCrashReportController::setCrashReportURL(QStringLiteral("https://crash.example.com/report"));
        MBWCrashReportController::checkForCrash();
    });
}
