#pragma once

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

/*! Runs a host of the benchmarks with its arguments, waits for its end, and returns the number it printed. */
inline double launch(const char *hostAndArguments)
{
    const QByteArray command = (QCoreApplication::applicationDirPath() + QLatin1Char('/')).toUtf8()
                               + hostAndArguments;
    FILE *const output = ::popen(command.constData(), "re");
    double number = 0;
    if (!output || std::fscanf(output, "%lf", &number) != 1 || ::pclose(output) != 0)
        std::abort();
    return number;
}
