#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

/*! The program WindowlessHost, by the name "Executable" and with an Info.plist beside it. */
class WindowlessHost : public ::testing::Test
{
protected:
    WindowlessHost()
    {
        EXPECT_TRUE(QFile::copy(QCoreApplication::applicationDirPath() + u"/WindowlessHost"_s, program));
    }

    QByteArray outputWithProperties(const QByteArray &properties) const
    {
        writeFile(home.path() + u"/Info.plist"_s,
                  "<plist version=\"1.0\"><dict>" + properties + "</dict></plist>");
        ChildProgram host({program});
        EXPECT_EQ(host.exitStatus(), 0);
        return host.output();
    }

    const TemporaryHome home;
    const QString program = home.path() + u"/Executable"_s;
};

} // namespace

TEST_F(WindowlessHost, LooksForTheLogsOfItsBundleName)
{
    EXPECT_EQ(outputWithProperties("<key>CFBundleName</key><string>Name</string>"
                                   "<key>CFBundleExecutable</key><string>Exe</string>"),
              "Name\nnot shown\n");
}

TEST_F(WindowlessHost, LooksForTheLogsOfItsExecutableWhereTheBundleNameIsMissingOrEmpty)
{
    const QByteArray executable = "<key>CFBundleExecutable</key><string>Exe</string>";
    EXPECT_EQ(outputWithProperties(executable), "Exe\nnot shown\n");
    EXPECT_EQ(outputWithProperties("<key>CFBundleName</key><string></string>" + executable),
              "Exe\nnot shown\n");
}

TEST_F(WindowlessHost, LooksForNoLogsWhereItHasNeitherName)
{
    EXPECT_EQ(outputWithProperties({}), "\nnot shown\n");
    EXPECT_EQ(outputWithProperties("<key>CFBundleName</key><string></string>"
                                   "<key>CFBundleExecutable</key><string></string>"),
              "\nnot shown\n");
}

TEST_F(WindowlessHost, IsNotShownAReportAndToldSoInTheLogOnceItHasADate)
{
    const CapturedStandardError standardError;
    const QByteArray name = "<key>CFBundleName</key><string>Name</string>";
    EXPECT_EQ(outputWithProperties(name), "Name\nnot shown\n");
    EXPECT_EQ(standardError.text(), QString());
    const QString settings = home.configFolder() + u"/Name/defaults.json"_s;
    const QByteArray stored = readFile(settings);
    EXPECT_TRUE(stored.contains("MBWCrashReporterLastCrashReportDate"));

    EXPECT_EQ(outputWithProperties(name), "Name\nnot shown\n");
    EXPECT_TRUE(standardError.text().contains(u"a window needs a QApplication"));
    EXPECT_EQ(readFile(settings), stored) << "the report is for a launch that can show it";
}
