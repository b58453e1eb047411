#include "Tests/Platform/Foundation/RunFoundationHost.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

QString foundationHost() { return QCoreApplication::applicationDirPath() + u"/FoundationHost"_s; }

QString copyOfFoundationHost(const QString &folder, const QString &name)
{
    const QString copy = folder + u'/' + name;
    EXPECT_TRUE(QDir().mkpath(folder));
    EXPECT_TRUE(QFile::copy(foundationHost(), copy));
    return copy;
}

HostResult runFoundationHost(const QString &program, const QStringList &arguments,
                             const QProcessEnvironment &environment)
{
    QProcess host;
    host.setProcessEnvironment(environment);
    host.start(program, arguments);
    EXPECT_TRUE(host.waitForFinished()) << qPrintable(host.errorString());
    const HostResult result{QString::fromUtf8(host.readAllStandardOutput()),
                            QString::fromUtf8(host.readAllStandardError())};
    EXPECT_EQ(host.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(host.exitCode(), 0) << qPrintable(result.log);
    return result;
}
