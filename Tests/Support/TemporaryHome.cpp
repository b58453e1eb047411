#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

TemporaryHome::TemporaryHome()
{
    EXPECT_TRUE(m_folder.isValid());
    qputenv("HOME", path().toUtf8());
    qputenv("XDG_STATE_HOME", stateFolder().toUtf8());
    qputenv("XDG_DATA_HOME", dataFolder().toUtf8());
    qputenv("XDG_CONFIG_HOME", configFolder().toUtf8());
    qputenv("TMPDIR", temporaryFolder().toUtf8());
    EXPECT_TRUE(QDir().mkpath(temporaryFolder()));
}

static QString madeFolder(const QString &path)
{
    EXPECT_TRUE(QDir().mkpath(path));
    return path;
}

QString TemporaryHome::crashReporterFolder() const
{
    return madeFolder(stateFolder() + u"/Logs/CrashReporter"_s);
}

QString TemporaryHome::diagnosticReportsFolder() const
{
    return madeFolder(stateFolder() + u"/Logs/DiagnosticReports"_s);
}

void writeFile(const QString &path, const QByteArray &contents)
{
    EXPECT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
    ASSERT_EQ(file.write(contents), contents.size());
}

void writeFile(const QString &path, const QByteArray &contents, double modified)
{
    writeFile(path, contents);
    setModified(path, modified);
}

void setModified(const QString &path, double secondsSinceReferenceDate)
{
    const double whole = std::floor(secondsSinceReferenceDate);
    timespec time{};
    time.tv_sec = static_cast<time_t>(whole) + 978307200;
    time.tv_nsec = static_cast<long>((secondsSinceReferenceDate - whole) * 1e9);
    const timespec times[2] = {time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW), 0);
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}
