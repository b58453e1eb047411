#include "Tests/Tools/MarblewickCommand.h"

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>

using namespace Qt::StringLiterals;

MarblewickCommand::Result MarblewickCommand::run(const QString &script)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PATH"_s,
                       QCoreApplication::applicationDirPath() + u':' + qEnvironmentVariable("PATH"));
    environment.insert(u"LC_ALL"_s, u"C"_s);
    QProcess shell;
    shell.setProcessEnvironment(environment);
    shell.setWorkingDirectory(m_folder.path());
    shell.start(u"bash"_s, {u"-o"_s, u"pipefail"_s, u"-c"_s, script});
    EXPECT_TRUE(shell.waitForFinished()) << qPrintable(shell.errorString());
    EXPECT_EQ(shell.exitStatus(), QProcess::NormalExit);
    return {shell.exitCode(), shell.readAllStandardOutput().toStdString(),
            shell.readAllStandardError().toStdString()};
}

std::string MarblewickCommand::output(const QString &script)
{
    const Result result = run(script);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    return result.output;
}
