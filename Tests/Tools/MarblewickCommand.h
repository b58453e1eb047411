#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

struct Result
{
    int status;
    std::string output;
    std::string errors; ///< standard error
};

/*! The command as it is used: by scripts, in a folder of the user's. */
class MarblewickCommand : public testing::Test
{
protected:
    QString filePath(const QString &name) const { return m_folder.filePath(name); }

    Result run(const QString &script)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PATH"),
                           QCoreApplication::applicationDirPath() + u':' + qEnvironmentVariable("PATH"));
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        QProcess shell;
        shell.setProcessEnvironment(environment);
        shell.setWorkingDirectory(m_folder.path());
        shell.start(QStringLiteral("bash"),
                    {QStringLiteral("-o"), QStringLiteral("pipefail"), QStringLiteral("-c"), script});
        EXPECT_TRUE(shell.waitForFinished()) << qPrintable(shell.errorString());
        EXPECT_EQ(shell.exitStatus(), QProcess::NormalExit);
        return {shell.exitCode(), shell.readAllStandardOutput().toStdString(),
                shell.readAllStandardError().toStdString()};
    }

    /*! The output of a script that must be a success, without errors. */
    std::string output(const QString &script)
    {
        const Result result = run(script);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.errors, "");
        return result.output;
    }

private:
    const QTemporaryDir m_folder;
};
