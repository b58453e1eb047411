#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sched.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace {

void writeLine(const char *path, const char *line)
{
    const int file = ::open(path, O_WRONLY);
    if (file < 0 || ::write(file, line, std::strlen(line)) < 0)
        ::_exit(EXIT_FAILURE);
    ::close(file);
}

/*! Makes this process an ordinary user's, in a user namespace that may have so many further ones. The former
    lines say who it is outside.
*/
void becomeOrdinaryUser(const QByteArray &users, const QByteArray &groups, const QByteArray &namespaces)
{
    if (::unshare(CLONE_NEWUSER) != 0)
        ::_exit(EXIT_FAILURE);
    writeLine("/proc/self/setgroups", "deny");
    writeLine("/proc/self/uid_map", users.constData());
    writeLine("/proc/self/gid_map", groups.constData());
    writeLine("/proc/sys/user/max_user_namespaces", namespaces.constData());
}

/*! A host in a folder of its own. */
class UpdatePanelHost : public ::testing::Test
{
protected:
    UpdatePanelHost()
    {
        EXPECT_TRUE(QFile::copy(m_programs + u"UpdatePanelHost"_s, m_folder + u"UpdatePanelHost"_s));
    }

    /*! What the host prints. */
    QString output(const QStringList &arguments)
    {
        QProcess host;
        host.setProcessEnvironment(m_environment);
        host.setChildProcessModifier(m_beforeStart);
        host.start(m_folder + u"UpdatePanelHost"_s, arguments);
        EXPECT_TRUE(host.waitForFinished()) << qPrintable(host.errorString());
        log = QString::fromUtf8(host.readAllStandardError());
        EXPECT_EQ(host.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(host.exitCode(), 0) << qPrintable(log);
        return QString::fromUtf8(host.readAllStandardOutput());
    }

    /*! What it prints of release notes that a server has. */
    QString notesOutput()
    {
        const LoopbackServer server([](const auto &) {
            return LoopbackServer::Answer{200, "<p>New in 4.2", {{"Content-Type", "text/html"}}};
        });
        return output({u"notes"_s, server.url(u"/notes"_s).toString()});
    }

    /*! Lets the host be an ordinary user's, who may have that many user namespaces, with the sandbox on.
       False where the system does not let this process do so.
    */
    [[nodiscard]] bool canBeOrdinaryUser(int namespaces)
    {
        m_environment.remove(u"QTWEBENGINE_DISABLE_SANDBOX"_s);
        const auto line = [](uint id) { return "1000 " + QByteArray::number(id) + " 1"; };
        m_beforeStart = [users = line(::geteuid()), groups = line(::getegid()),
                         maximum = QByteArray::number(namespaces)] {
            becomeOrdinaryUser(users, groups, maximum);
        };
        QProcess attempt;
        attempt.setChildProcessModifier(m_beforeStart);
        attempt.start(u"true"_s, QStringList());
        return attempt.waitForFinished() && attempt.exitCode() == 0;
    }

    void sellInAStore() const
    {
        writeFile(m_folder + u"Info.plist"_s,
                  "<plist version=\"1.0\"><dict><key>MWBuildVersion</key><string></string></dict></plist>");
    }

    const TemporaryHome m_home;
    const QString m_programs = QCoreApplication::applicationDirPath() + u'/';
    const QString m_folder = m_home.temporaryFolder() + u'/';
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    std::function<void()> m_beforeStart; ///< in the host's process
    QString log;
};

} // namespace

TEST_F(UpdatePanelHost, WithABuildVersionOfWhateverValueMoreInfoOpensTheStorePage)
{
    sellInAStore();
    EXPECT_EQ(output({u"info"_s}), u"appstream://com.example.app\n"_s);
}

TEST_F(UpdatePanelHost, WithABuildVersionMoreInfoOpensTheProductPageWhereTheRecordHasNoStorePage)
{
    sellInAStore();
    EXPECT_EQ(output({u"info-without-store"_s}), u"https://example.com/product\n"_s);
}

TEST_F(UpdatePanelHost, WithoutABuildVersionMoreInfoOpensTheProductPageEvenWhereThereIsAStorePage)
{
    EXPECT_EQ(output({u"info"_s}), u"https://example.com/product\n"_s);
}

TEST_F(UpdatePanelHost, WithoutThePluginThePanelSaysWhatIsMissingAndTheLogWhy)
{
    for (const QString &library : {u"libMarblewickCore.so.0"_s, u"libMarblewickPanels.so.0"_s})
        ASSERT_TRUE(QFile::copy(m_programs + u"../lib/"_s + library, m_folder + library));
    m_environment.insert(u"LD_LIBRARY_PATH"_s, m_folder);
    EXPECT_EQ(output({u"error"_s}),
              u"The part of the application that shows web pages is missing or cannot run.\n"_s);
    EXPECT_THAT(log.toStdString(),
                HasSubstr((m_folder + u"marblewick/marblewick-webview.so"_s).toStdString()));
    EXPECT_THAT(log.toStdString(), HasSubstr("No such file or directory"));
}

TEST_F(UpdatePanelHost, HasNoVersionWhereItsPropertiesHaveOnlyTheNumberOfTheBuild)
{
    const auto properties = [](const QByteArray &members) {
        return "<plist version=\"1.0\"><dict>" + members + "</dict></plist>";
    };
    const QByteArray build = "<key>CFBundleVersion</key><string>140</string>";
    writeFile(m_folder + u"Info.plist"_s, properties(build));
    EXPECT_EQ(output({u"version"_s}), u"none\n"_s);
    writeFile(m_folder + u"Info.plist"_s,
              properties(build + "<key>CFBundleShortVersionString</key><string>1.4</string>"));
    EXPECT_EQ(output({u"version"_s}), u"1.4\n"_s);
}

TEST_F(UpdatePanelHost, AsRootWithTheSandboxOnThePanelSaysWhatCannotRunAndTheLogWhy)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root is refused";
    m_environment.remove(u"QTWEBENGINE_DISABLE_SANDBOX"_s);
    EXPECT_EQ(output({u"error"_s}),
              u"The part of the application that shows web pages is missing or cannot run.\n"_s);
    EXPECT_THAT(log.toStdString(), HasSubstr("does not run as root"));
}

TEST_F(UpdatePanelHost, AnOrdinaryUsersPanelShowsTheNotesWithTheSandboxOn)
{
    if (!canBeOrdinaryUser(1000))
        GTEST_SKIP() << "no user namespace can be made";
    EXPECT_EQ(notesOutput(), u"the notes are shown\n"_s) << qPrintable(log);
}

TEST_F(UpdatePanelHost, AnOrdinaryUsersPanelShowsTheNotesWhereUserNamespacesAreForbidden)
{
    if (!canBeOrdinaryUser(0))
        GTEST_SKIP() << "no user namespace can be made";
    EXPECT_EQ(notesOutput(), u"the notes are shown\n"_s) << qPrintable(log);
}

TEST_F(UpdatePanelHost, WithoutWindowsShowsNothingAndSaysSo)
{
    EXPECT_EQ(output({u"windowless"_s}), QString());
    EXPECT_THAT(log.toStdString(), HasSubstr("a window needs a QApplication"));
}
