#include <Marblewick/GetMACAddress.h>
#include <Marblewick/IORegistry.h>

#include "Tests/Support/FakeMachine.h"
#include "Tests/Utilities/MACAddressInC.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <functional>
#include <string>

using namespace Marblewick;

namespace {

using Address = std::array<uint8_t, 6>;

constexpr Address sample{0x02, 0x1b, 0x0c, 0x9f, 0x4e, 0x05};

std::string taken(CFStringRef string)
{
    const std::string text = CFStringGetCStringPtr(string, kCFStringEncodingASCII);
    CFRelease(string);
    return text;
}

std::string formatted(const Address &address, bool twoDigits, bool separated)
{
    return taken(GetMACAddressFormattedStr(address.data(), twoDigits, separated));
}

/*! A registry of which a test makes single steps fail. */
class FailingRegistry : public IORegistry
{
public:
    explicit FailingRegistry(const QByteArray &root)
        : IORegistry(root, [](const QByteArray &) { return QByteArray(); })
    { }

    kern_return_t IOMasterPort() override { return masterPort ? masterPort : IORegistry::IOMasterPort(); }
    std::optional<QVariantMap> IOServiceMatching(const QString &name) override
    {
        return hasMatching ? IORegistry::IOServiceMatching(name) : std::nullopt;
    }
    kern_return_t IOServiceGetMatchingServices(const QVariantMap &matching,
                                               QList<IORegistryEntry> *found) override
    {
        return services ? services : IORegistry::IOServiceGetMatchingServices(matching, found);
    }
    kern_return_t IORegistryEntryGetParentEntry(const IORegistryEntry &entry,
                                                std::optional<IORegistryEntry> *found) override
    {
        asked = entry.interface;
        if (parent != 0 || !hasParent)
            return parent;
        return IORegistry::IORegistryEntryGetParentEntry(entry, found);
    }

    kern_return_t masterPort = 0;
    bool hasMatching = true;
    kern_return_t services = 0;
    kern_return_t parent = 0;
    bool hasParent = true;
    QByteArray asked; ///< the interface whose parent was asked for
};

class GetMACAddressTest : public ::testing::Test
{
protected:
    GetMACAddressTest() { IORegistry::setShared(&m_registry); }
    ~GetMACAddressTest() override { IORegistry::setShared(nullptr); }

    /*! The code; checks that a failure stores nothing. */
    static int32_t failure()
    {
        const char mark = 0;
        const auto untouched = reinterpret_cast<CFStringRef>(&mark);
        CFStringRef twoDigits = untouched;
        CFStringRef shortest = untouched;
        const int32_t result = GetMACAddress(&twoDigits, &shortest, true);
        EXPECT_NE(result, 0);
        EXPECT_EQ(twoDigits, untouched);
        EXPECT_EQ(shortest, untouched);
        return result;
    }
    static std::string found()
    {
        CFStringRef twoDigits = nullptr;
        EXPECT_EQ(GetMACAddress(&twoDigits, nullptr, true), 0);
        return twoDigits ? taken(twoDigits) : "";
    }

    FakeMachine m_machine;
    FailingRegistry m_registry{m_machine.root()};
};

} // namespace

TEST(GetMACAddressFormattedStr, WritesTheFourForms)
{
    EXPECT_EQ(formatted(sample, true, true), "02:1b:0c:9f:4e:05");
    EXPECT_EQ(formatted(sample, true, false), "021b0c9f4e05");
    EXPECT_EQ(formatted(sample, false, true), "2:1b:c:9f:4e:5");
    EXPECT_EQ(formatted(sample, false, false), "21bc9f4e5");
}

TEST(GetMACAddressFormattedStr, WritesTheShortestAndTheLongestAddress)
{
    constexpr Address zeros{};
    EXPECT_EQ(formatted(zeros, true, true), "00:00:00:00:00:00");
    EXPECT_EQ(formatted(zeros, false, true), "0:0:0:0:0:0");
    EXPECT_EQ(formatted(zeros, false, false), "000000");
    constexpr Address ones{0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    EXPECT_EQ(formatted(ones, true, true), "ff:ff:ff:ff:ff:ff");
    EXPECT_EQ(formatted(ones, false, false), "ffffffffffff");
}

TEST_F(GetMACAddressTest, StoresBothFormsWithOrWithoutColons)
{
    m_machine.add({});
    for (const bool separated : {true, false}) {
        CFStringRef twoDigits = nullptr;
        CFStringRef shortest = nullptr;
        ASSERT_EQ(GetMACAddress(&twoDigits, &shortest, separated), 0);
        EXPECT_EQ(taken(twoDigits), formatted(sample, true, separated));
        EXPECT_EQ(taken(shortest), formatted(sample, false, separated));
    }
}

TEST_F(GetMACAddressTest, StoresOnlyTheFormThatIsAskedFor)
{
    m_machine.add({});
    CFStringRef shortest = nullptr;
    ASSERT_EQ(GetMACAddress(nullptr, &shortest, true), 0);
    EXPECT_EQ(taken(shortest), "2:1b:c:9f:4e:5");
    EXPECT_EQ(found(), "02:1b:0c:9f:4e:05");
}

TEST_F(GetMACAddressTest, SearchesEvenWhereNoFormIsWanted)
{
    EXPECT_EQ(GetMACAddress(nullptr, nullptr, true), 5);
    m_machine.add({});
    EXPECT_EQ(GetMACAddress(nullptr, nullptr, true), 0);
    EXPECT_EQ(m_registry.asked, "eth0");
}

TEST_F(GetMACAddressTest, LooksAtNoInterfaceButTheFirst)
{
    m_machine.add({.name = "second", .device = "pci0000:00/0000:02:00.0"});
    m_machine.add({.name = "first",
                   .device = "pci0000:00/0000:01:00.0",
                   .address = "aa:bb:cc:dd:ee:ff",
                   .addressType = "3"});
    EXPECT_EQ(found(), "00:00:00:00:00:00");
    EXPECT_EQ(m_registry.asked, "first");
}

TEST_F(GetMACAddressTest, EndsWith5WhereTheOnlyInterfacesAreNotPrimary)
{
    m_machine.add({.name = "usb0", .device = "pci0000:00/usb1", .bus = "usb"});
    m_machine.add({.name = "wlan0", .kind = "wlan"});
    m_machine.add({.name = "veth0", .device = ""});
    EXPECT_EQ(failure(), 5);
}

TEST_F(GetMACAddressTest, EndsWithTheMasterPortsCode)
{
    m_machine.add({});
    m_registry.masterPort = ENOENT;
    EXPECT_EQ(failure(), ENOENT);
}

TEST_F(GetMACAddressTest, EndsWith5WithoutAMatchingDictionary)
{
    m_machine.add({});
    m_registry.hasMatching = false;
    EXPECT_EQ(failure(), 5);
}

TEST_F(GetMACAddressTest, EndsWithTheSearchsCode)
{
    m_machine.add({});
    m_registry.services = EACCES;
    EXPECT_EQ(failure(), EACCES);
}

TEST_F(GetMACAddressTest, EndsWithTheParentsCode)
{
    m_machine.add({});
    m_registry.parent = ENODEV;
    EXPECT_EQ(failure(), ENODEV);
}

TEST_F(GetMACAddressTest, AnInterfaceWithoutAParentHasAllZeros)
{
    m_machine.add({});
    m_registry.hasParent = false;
    EXPECT_EQ(found(), "00:00:00:00:00:00");
}

TEST_F(GetMACAddressTest, AControllerWithoutAnAddressHasAllZeros)
{
    m_machine.add({.addressType = "1"});
    EXPECT_EQ(found(), "00:00:00:00:00:00");
}

TEST_F(GetMACAddressTest, OnlySixBytesOfALongAddressCount)
{
    m_machine.add({.address = "02:1b:0c:9f:4e:05:77:88"});
    EXPECT_EQ(found(), "02:1b:0c:9f:4e:05");
}

TEST_F(GetMACAddressTest, HostsInCCanFollowTheCreateRule)
{
    std::array<char, 32> twoDigits = {};
    std::array<char, 32> shortest = {};
    EXPECT_EQ(copyMACAddressInC(twoDigits.data(), shortest.data(), twoDigits.size(), true), 5);
    EXPECT_STREQ(twoDigits.data(), "");
    m_machine.add({});
    EXPECT_EQ(copyMACAddressInC(twoDigits.data(), shortest.data(), twoDigits.size(), true), 0);
    EXPECT_STREQ(twoDigits.data(), "02:1b:0c:9f:4e:05");
    EXPECT_STREQ(shortest.data(), "2:1b:c:9f:4e:5");
    EXPECT_EQ(lengthOfFormattedAddressInC(sample.data()), 17);
}
