#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/MBWCrashLogPreviewItem.h>

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

class CrashLogPreviewItem : public ::testing::Test
{
protected:
    const TemporaryHome home;
};

} // namespace

TEST_F(CrashLogPreviewItem, KeepsItsReport)
{
    MBWCrashLogPreviewItem item(u"report"_s);
    EXPECT_EQ(item.crashLog(), u"report"_s);
    item.setCrashLog(u"other"_s);
    EXPECT_EQ(item.crashLog(), u"other"_s);
    EXPECT_TRUE(item.tempFileURL().isEmpty());
}

TEST_F(CrashLogPreviewItem, APlainReportIsWrittenWholeIntoALogFile)
{
    const QString report = u"\n\n***\nApp_1.crash\nGröße €\n"_s;
    const QString path = MBWCrashLogPreviewItem(report).previewItemURL().toLocalFile();
    EXPECT_EQ(QFileInfo(path).suffix(), u"log"_s);
    EXPECT_EQ(readFile(path), report.toUtf8());
}

TEST_F(CrashLogPreviewItem, AJsonReportIsWrittenFromItsOpeningOnIntoAnIpsFile)
{
    const QString report =
        u"\n\n***\nApp_1.ips\n***\n\n{\"app_name\":\"App\"}\n{}\n\n***\nApp_2.ips\n{\"app_name\":2}"_s;
    const QString path = MBWCrashLogPreviewItem(report).previewItemURL().toLocalFile();
    EXPECT_EQ(QFileInfo(path).suffix(), u"ips"_s);
    EXPECT_EQ(readFile(path), "{\"app_name\":\"App\"}\n{}\n\n***\nApp_2.ips\n{\"app_name\":2}");
}

TEST_F(CrashLogPreviewItem, TheJsonOpeningIsFoundWithoutTheQuoteThatEndsTheKey)
{
    EXPECT_EQ(QFileInfo(MBWCrashLogPreviewItem(u"x{\"app_names"_s).previewItemURL().path()).suffix(),
              u"ips"_s);
    EXPECT_EQ(QFileInfo(MBWCrashLogPreviewItem(u"x{ \"app_name\""_s).previewItemURL().path()).suffix(),
              u"log"_s);
    EXPECT_EQ(QFileInfo(MBWCrashLogPreviewItem(u"x{\"APP_NAME\""_s).previewItemURL().path()).suffix(),
              u"log"_s);
}

TEST_F(CrashLogPreviewItem, TheFileHasANewUUIDAsNameInTheUsersTemporaryFolderAndIsTheUsersAlone)
{
    ::umask(0);
    const QFileInfo file(MBWCrashLogPreviewItem(u"r"_s).previewItemURL().toLocalFile());
    EXPECT_EQ(file.path(), home.temporaryFolder());
    EXPECT_FALSE(QUuid::fromString(file.completeBaseName()).isNull()) << qPrintable(file.fileName());
    struct stat status
    { };
    ASSERT_EQ(::stat(QFile::encodeName(file.filePath()).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(CrashLogPreviewItem, TheFileIsWrittenOncePerItem)
{
    MBWCrashLogPreviewItem item(u"r"_s);
    const QUrl url = item.previewItemURL();
    EXPECT_EQ(item.tempFileURL(), url);
    EXPECT_EQ(item.previewItemURL(), url);
    EXPECT_EQ(QDir(home.temporaryFolder()).entryList(QDir::Files).size(), 1);

    MBWCrashLogPreviewItem other(u"r"_s);
    EXPECT_NE(other.previewItemURL(), url);
    EXPECT_NE(item.saveCrashLogToFile(), url);
    EXPECT_EQ(item.previewItemURL(), url);
}

TEST_F(CrashLogPreviewItem, AURLThatTheHostSetIsKept)
{
    MBWCrashLogPreviewItem item(u"r"_s);
    item.setTempFileURL(QUrl(u"file:///elsewhere.log"_s));
    EXPECT_EQ(item.previewItemURL(), QUrl(u"file:///elsewhere.log"_s));
    EXPECT_TRUE(QDir(home.temporaryFolder()).isEmpty());
}

TEST_F(CrashLogPreviewItem, TheURLIsReturnedAlsoWhereTheFileCouldNotBeWritten)
{
    QDir(home.temporaryFolder()).removeRecursively();
    MBWCrashLogPreviewItem item(u"r"_s);
    const QFileInfo file(item.previewItemURL().toLocalFile());
    EXPECT_EQ(file.path(), home.temporaryFolder());
    EXPECT_FALSE(file.exists());
    EXPECT_EQ(item.crashLog(), u"r"_s);
}

TEST_F(CrashLogPreviewItem, TheFileIsNotDeletedWithTheItem)
{
    const QString path = MBWCrashLogPreviewItem(u"r"_s).previewItemURL().toLocalFile();
    EXPECT_TRUE(QFile::exists(path));
}
