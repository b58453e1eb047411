#include <Marblewick/NSProcessInfo.h>

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QFile>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace Marblewick {

static void PrintTo(const NSOperatingSystemVersion &version, std::ostream *out)
{
    *out << version.majorVersion << '.' << version.minorVersion << '.' << version.patchVersion;
}

} // namespace Marblewick

namespace {

/*! A system whose files are made for the test. */
class NSProcessInfoTest : public testing::Test
{
protected:
    void has(const QString &file, const QByteArray &text) { writeFile(m_home.path() + file, text); }
    void hasVersion(const QByteArray &version) { has(u"/etc/os-release"_s, "VERSION_ID=" + version + '\n'); }
    std::optional<NSOperatingSystemVersion> version() const { return m_processInfo.operatingSystemVersion(); }

    const TemporaryHome m_home;
    const NSProcessInfo m_processInfo{m_home.path()};
};

using Version = NSOperatingSystemVersion;

} // namespace

TEST_F(NSProcessInfoTest, ReadsTheVersionOfTheDistribution)
{
    has(u"/etc/os-release"_s, "NAME=\"Atlas OS\"\nVERSION_ID=\"24.04\"\nID=atlas\n");
    EXPECT_EQ(version(), (Version{24, 4, 0}));
    hasVersion("'15.6.2'");
    EXPECT_EQ(version(), (Version{15, 6, 2}));
    hasVersion("41");
    EXPECT_EQ(version(), (Version{41, 0, 0}));
    hasVersion("8.10.3.7-rc1");
    EXPECT_EQ(version(), (Version{8, 10, 3}));
}

TEST_F(NSProcessInfoTest, ReadsTheFileOfTheVendorWhereTheOtherIsMissing)
{
    has(u"/usr/lib/os-release"_s, "VERSION_ID=7\n");
    EXPECT_EQ(version(), (Version{7, 0, 0}));
    hasVersion("8");
    EXPECT_EQ(version(), (Version{8, 0, 0}));
}

TEST_F(NSProcessInfoTest, RefinesTheVersionOfDebian)
{
    hasVersion("\"12\"");
    has(u"/etc/debian_version"_s, "12.11\n");
    EXPECT_EQ(version(), (Version{12, 11, 0}));
}

TEST_F(NSProcessInfoTest, DoesNotTakeTheVersionOfDebianForThatOfASystemBasedOnIt)
{
    hasVersion("\"24.04\"");
    for (const char *debian : {"trixie/sid\n", "12.11\n", "24.040\n", ""}) {
        has(u"/etc/debian_version"_s, debian);
        EXPECT_EQ(version(), (Version{24, 4, 0})) << debian;
    }
    hasVersion("1");
    has(u"/etc/debian_version"_s, "12.11\n");
    EXPECT_EQ(version(), (Version{1, 0, 0}));
}

TEST_F(NSProcessInfoTest, HasNoVersionWhereTheSystemSaysNone)
{
    EXPECT_EQ(version(), std::nullopt);
    has(u"/etc/os-release"_s, "NAME=Rolling\nBUILD_ID=rolling\nMY_VERSION_ID=3\nVERSION_IDENTIFIER=4\n");
    has(u"/etc/debian_version"_s, "12.11\n");
    EXPECT_EQ(version(), std::nullopt);
    for (const char *text : {"", "\"\"", "\"", "rolling", "-1", ".5"}) {
        hasVersion(text);
        EXPECT_EQ(version(), std::nullopt) << text;
    }
}

TEST_F(NSProcessInfoTest, IsNewEnoughWhereItHasNoVersion)
{
    EXPECT_TRUE(m_processInfo.isOperatingSystemAtLeastVersion({99, 0, 0}));
}

TEST_F(NSProcessInfoTest, ComparesVersionsPartByPartTheMajorFirst)
{
    hasVersion("12.5.3");
    for (const Version &least :
         {Version{12, 5, 3}, {12, 5, 2}, {12, 4, 9}, {11, 99, 99}, {0, 0, 0}, {-1, 9, 9}})
        EXPECT_TRUE(m_processInfo.isOperatingSystemAtLeastVersion(least)) << testing::PrintToString(least);
    for (const Version &least : {Version{12, 5, 4}, {12, 6, 0}, {13, 0, 0}, {INT64_MAX, 0, 0}})
        EXPECT_FALSE(m_processInfo.isOperatingSystemAtLeastVersion(least)) << testing::PrintToString(least);
}

TEST_F(NSProcessInfoTest, PassesOverAFileThatIsTooLargeForOne)
{
    has(u"/etc/os-release"_s, "VERSION_ID=9\n" + QByteArray(1024 * 1024, '#'));
    EXPECT_EQ(version(), std::nullopt);
}

TEST_F(NSProcessInfoTest, OfThisSystemReadsItsOwnFiles)
{
    if (!QFile::exists(u"/etc/debian_version"_s))
        GTEST_SKIP() << "This system is no Debian.";
    const QByteArray debian = readFile(u"/etc/debian_version"_s).trimmed();
    const auto running = NSProcessInfo::processInfo()->operatingSystemVersion();
    ASSERT_TRUE(running);
    EXPECT_TRUE(debian.startsWith(QByteArray::number(running->majorVersion) + '.'
                                  + QByteArray::number(running->minorVersion)))
        << debian.constData();
}
