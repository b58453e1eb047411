#include <Marblewick/IORegistry.h>
#include <Marblewick/NSPathUtilities.h>
#include <Marblewick/NSString+MBWExtensions.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/FakeMachine.h"
#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

#include <QScopeGuard>

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! The login name that the user database gives; null for what it really gives, empty for none. */
const char *loginName = nullptr;

QString passwordOf(const char *name)
{
    loginName = name;
    return MBWExtensions::userPassword();
}

class MACAddressString : public ::testing::Test
{
protected:
    MACAddressString() { IORegistry::setShared(&m_registry); }
    ~MACAddressString() override { IORegistry::setShared(nullptr); }

    FakeMachine m_machine;
    IORegistry m_registry{m_machine.root(), [](const QByteArray &) { return QByteArray(); }};
};

} // namespace

/*! Stands in front of the C library's function, as a test cannot log in as somebody else. */
extern "C" [[gnu::visibility("default")]] int getpwuid_r(uid_t user, passwd *entry, char *buffer, size_t size,
                                                         passwd **result)
{
    using Function = decltype(&getpwuid_r);
    static const auto original = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getpwuid_r"));
    const int failure = original(user, entry, buffer, size, result);
    if (failure != 0 || !loginName)
        return failure;
    if (*loginName == '\0')
        *result = nullptr;
    else
        entry->pw_name = const_cast<char *>(loginName);
    return 0;
}

TEST_F(MACAddressString, IsTheTwoDigitFormWithColons)
{
    m_machine.add({});
    EXPECT_EQ(MBWExtensions::macAddressString(), u"02:1b:0c:9f:4e:05"_s);
}

TEST_F(MACAddressString, IsNilWithALineInTheLogWhereThereIsNoPrimaryInterface)
{
    m_machine.add({.name = "usb0", .device = "pci0000:00/usb1", .bus = "usb"});
    const CapturedStandardError log;
    EXPECT_EQ(MBWExtensions::macAddressString(), std::nullopt);
    EXPECT_TRUE(log.text().endsWith(u"] Couldn't get MAC Address\n"_s)) << log.text().toStdString();
    EXPECT_EQ(log.text().count(u'\n'), 1);
}

TEST_F(MACAddressString, LogsNothingWhereThereIsOne)
{
    m_machine.add({});
    const CapturedStandardError log;
    EXPECT_TRUE(MBWExtensions::macAddressString());
    EXPECT_EQ(log.text(), QString());
}

TEST(UserPassword, IsTheLoginNameAndItsLength)
{
    const QString name = NSUserName();
    ASSERT_EQ(name, QString::fromUtf8(::getpwuid(::geteuid())->pw_name));
    EXPECT_EQ(MBWExtensions::userPassword(), name + QString::number(name.size()));
}

TEST(UserPassword, ChangesWithTheLoginName)
{
    EXPECT_EQ(passwordOf("anna"), u"anna4"_s);
    EXPECT_EQ(passwordOf("a-long-login"), u"a-long-login12"_s);
}

TEST(UserPassword, CountsUTF16CodeUnits)
{
    EXPECT_EQ(passwordOf("jörg"), u"jörg4"_s);
    EXPECT_EQ(passwordOf("😀"), u"😀2"_s);
}

TEST(UserPassword, TakesTheNameFromTheEnvironmentWhereTheUserDatabaseHasNone)
{
    qputenv("USER", "guest");
    EXPECT_EQ(passwordOf(""), u"guest5"_s);
    qunsetenv("USER");
    EXPECT_EQ(passwordOf(""), u"0"_s);
}

TEST(UserPassword, IsNeverLogged)
{
    const CapturedStandardError log;
    passwordOf("anna");
    EXPECT_EQ(log.text(), QString());
}
