// A host that crashes in the way, and under the conditions, that its arguments name:
//
//   CrashingHost [helper=PATH] [threads=COUNT] [CONDITION…] WAY
//
// The ways are functions of Ways.cpp, in whose reports the tests look for these functions. Core dumps go into
// the working folder that the test gives it.

#include "Tests/CrashReporter/CrashingHost/Conditions.h"
#include "Tests/CrashReporter/CrashingHost/Ways.h"

#include <Marblewick/MBWCrashLogWriter.h>

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

void allowCoreDumps()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_CORE, &limit);
}

QString valueOf(const QStringList &arguments, const QString &name)
{
    for (const QString &argument : arguments) {
        if (argument.startsWith(name + u'='))
            return argument.mid(name.size() + 1);
    }
    return {};
}

bool install(const QStringList &arguments)
{
    const QString helper = valueOf(arguments, u"helper"_s);
    Marblewick::NSError error;
    const bool isInstalled = helper.isEmpty() ? MBWCrashLogWriter::install(&error)
                                              : MBWCrashLogWriter::installWithHelperAtPath(helper, &error);
    if (!isInstalled)
        std::puts(qPrintable(error.description()));
    return isInstalled;
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int index = 1; index < argc; ++index)
        arguments.append(QString::fromLocal8Bit(argv[index]));
    if (arguments.isEmpty())
        return EXIT_FAILURE;
    const QString way = arguments.takeLast();

    if (!arguments.contains(u"no core dumps"_s))
        allowCoreDumps();
    for (const QString &condition : arguments)
        applyBeforeInstalling(condition);
    if (!install(arguments))
        return EXIT_FAILURE;
    if (arguments.contains(u"before application"_s))
        crash(way);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"Crashing Host"_s);
    QCoreApplication::setApplicationVersion(u"1.2.3"_s);
    startWorkers(valueOf(arguments, u"threads"_s).toInt());
    for (const QString &condition : arguments)
        applyAfterInstalling(condition);
    if (const QString filler = valueOf(arguments, u"full disk"_s); !filler.isEmpty())
        fillDisk(filler);
    crash(way);
    return EXIT_SUCCESS;
}
