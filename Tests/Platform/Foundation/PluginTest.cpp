#include "Tests/Platform/Foundation/RunFoundationHost.h"
#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

const auto plugin = u"marblewick/marblewick-plist.so"_s;
const auto cryptoPlugin = u"marblewick/marblewick-crypto.so"_s;

/*! A host with an Info.plist and a copy of the Core library, in whose folder no plugins lie yet. */
class PluginTest : public ::testing::Test
{
protected:
    PluginTest()
    {
        const QString library = u"libMarblewickCore.so.0"_s;
        EXPECT_TRUE(QFile::copy(m_libraries + library, m_folder + library));
        m_environment.insert(u"LD_LIBRARY_PATH"_s, m_folder);
        writeFile(m_folder + u"Info.plist"_s,
                  "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>Kite</string></dict></plist>");
    }

    HostResult bundleName() const
    {
        return runFoundationHost(m_host, {u"info"_s, u"CFBundleName"_s}, m_environment);
    }

    TemporaryHome m_home;
    const QString m_folder = m_home.path() + u"/Programs and ü/"_s;
    const QString m_host = copyOfFoundationHost(m_folder, u"Host"_s);
    const QString m_libraries = QFileInfo(foundationHost()).path() + u"/../lib/"_s;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
};

} // namespace

TEST_F(PluginTest, IsFoundInTheFolderBesideTheLibrary)
{
    writeFile(m_folder + plugin, readFile(m_libraries + plugin));
    const HostResult result = bundleName();
    EXPECT_EQ(result.output, u"Kite\n"_s);
    EXPECT_EQ(result.log, QString());
}

TEST_F(PluginTest, ThatIsMissingIsNamedWithTheReason)
{
    const HostResult result = bundleName();
    EXPECT_EQ(result.output, u"Host\n"_s);
    EXPECT_THAT(result.log.toStdString(), HasSubstr((m_folder + plugin).toStdString()));
    EXPECT_THAT(result.log.toStdString(), HasSubstr("No such file or directory"));
    EXPECT_EQ(result.log.count(u'\n'), 1);
}

TEST_F(PluginTest, ThatIsNoLibraryIsNamedWithTheReason)
{
    writeFile(m_folder + plugin, "not a library");
    const HostResult result = bundleName();
    EXPECT_EQ(result.output, u"Host\n"_s);
    EXPECT_THAT(result.log.toStdString(), HasSubstr("The plugin "));
    EXPECT_THAT(result.log.toStdString(), HasSubstr("file too short"));
}

TEST_F(PluginTest, WithoutTheFunctionIsNamedWithTheReason)
{
    writeFile(m_folder + plugin, readFile(m_libraries + u"marblewick/marblewick-http.so"_s));
    const HostResult result = bundleName();
    EXPECT_EQ(result.output, u"Host\n"_s);
    EXPECT_THAT(result.log.toStdString(), HasSubstr("undefined symbol: marblewickReadPropertyList"));
}

TEST_F(PluginTest, OfDigestsIsFoundInTheFolderBesideTheLibrary)
{
    writeFile(m_folder + plugin, readFile(m_libraries + plugin));
    writeFile(m_folder + cryptoPlugin, readFile(m_libraries + cryptoPlugin));
    const HostResult result = runFoundationHost(m_host, {u"digest"_s, u"abc"_s}, m_environment);
    EXPECT_EQ(result.output, u"a9993e364706816aba3e25717850c26c9cd0d89d\n"_s);
    EXPECT_EQ(result.log, QString());
}

TEST_F(PluginTest, OfDigestsThatIsMissingThrowsTheReason)
{
    const HostResult result = runFoundationHost(m_host, {u"digest"_s, u"abc"_s}, m_environment);
    EXPECT_THAT(result.output.toStdString(),
                StartsWith("NSInternalInconsistencyException: The plugin " + m_folder.toStdString()));
    EXPECT_THAT(result.output.toStdString(), HasSubstr("No such file or directory"));
    EXPECT_THAT(result.log.toStdString(), HasSubstr((m_folder + cryptoPlugin).toStdString()));
}

TEST_F(PluginTest, OfCiphersThatIsMissingFailsWithAStatusAndIsNamedOnce)
{
    const HostResult result = runFoundationHost(m_host, {u"encrypt"_s}, m_environment);
    EXPECT_EQ(result.output, u"10001 -4308 nil\n"_s);
    EXPECT_EQ(result.log.count(u" could not be loaded: "_s), 1) << qPrintable(result.log);
    EXPECT_EQ(result.log.count(u"Unable to create AES key for password: -4308\n"_s), 2);
}
