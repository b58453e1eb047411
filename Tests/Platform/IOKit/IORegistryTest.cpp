#include <Marblewick/IORegistry.h>

#include "Tests/Support/FakeMachine.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>

#include <cerrno>
#include <sys/stat.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

QByteArray withoutPermanentAddress(const QByteArray &) { return {}; }

class IORegistryTest : public ::testing::Test
{
protected:
    kern_return_t find(bool primaryOnly, QByteArrayList *names)
    {
        auto matching = m_registry.IOServiceMatching(kIOEthernetInterfaceClass);
        EXPECT_TRUE(matching);
        if (primaryOnly)
            matching->insert(kIOPropertyMatchKey, QVariantMap{{kIOPrimaryInterface, true}});
        QList<IORegistryEntry> services;
        const kern_return_t result = m_registry.IOServiceGetMatchingServices(*matching, &services);
        for (const IORegistryEntry &service : services)
            names->append(service.interface);
        return result;
    }
    QByteArrayList ethernet()
    {
        QByteArrayList names;
        EXPECT_EQ(find(false, &names), KERN_SUCCESS);
        return names;
    }
    QByteArrayList primary()
    {
        QByteArrayList names;
        EXPECT_EQ(find(true, &names), KERN_SUCCESS);
        return names;
    }
    std::optional<QByteArray> address(IORegistry &registry, const QByteArray &interface = "eth0")
    {
        const IORegistryEntry controller{m_machine.root() + "/devices/pci0000:00/0000:00:1f.6", interface};
        return registry.IORegistryEntryCreateCFProperty(controller, kIOMACAddress);
    }

    FakeMachine m_machine;
    IORegistry m_registry{m_machine.root(), withoutPermanentAddress};
};

} // namespace

TEST_F(IORegistryTest, AWiredCardThatIsBuiltInIsPrimary)
{
    m_machine.add({});
    EXPECT_THAT(ethernet(), ElementsAre("eth0"));
    EXPECT_THAT(primary(), ElementsAre("eth0"));
}

TEST_F(IORegistryTest, TheCardThatAVirtualMachineGivesItsGuestIsPrimary)
{
    m_machine.add({.name = "ens3", .device = "pci0000:00/0000:00:03.0/virtio2", .bus = "virtio"});
    m_machine.add({.name = "eth1", .device = "LNXSYSTM:00/VMBUS:00/0b2f5c2a", .bus = "vmbus"});
    m_machine.add({.name = "eth2", .device = "vif-0", .bus = "xen"});
    EXPECT_EQ(primary().size(), 3);
}

TEST_F(IORegistryTest, WirelessIsNoEthernet)
{
    m_machine.add({.name = "wlp2s0", .kind = "wlan"});
    m_machine.add({.name = "old0"});
    m_machine.setAttribute("devices/pci0000:00/0000:00:1f.6/net/old0/wireless/status", "0");
    m_machine.add({.name = "old1"});
    m_machine.setAttribute("devices/pci0000:00/0000:00:1f.6/net/old1/phy80211/index", "0");
    EXPECT_THAT(ethernet(), IsEmpty());
}

TEST_F(IORegistryTest, InterfacesOfASpecialKindAreNoEthernet)
{
    for (const QByteArray kind :
         {"bridge", "bond", "vlan", "vxlan", "macvlan", "bluetooth", "wwan", "gadget", "dsa", "wimax"})
        m_machine.add({.name = kind, .kind = kind});
    EXPECT_THAT(ethernet(), IsEmpty());
}

TEST_F(IORegistryTest, OtherHardwareIsNoEthernet)
{
    m_machine.add({.name = "lo", .device = "", .type = "772"});
    m_machine.add({.name = "tun0", .device = "", .type = "65534"});
    m_machine.add({.name = "ib0", .type = "32"});
    m_machine.add({.name = "strange", .type = "one"});
    EXPECT_THAT(ethernet(), IsEmpty());
}

TEST_F(IORegistryTest, EthernetWithoutADeviceIsNotPrimary)
{
    m_machine.add({.name = "veth0", .device = ""});
    m_machine.add({.name = "dummy0", .device = ""});
    EXPECT_EQ(ethernet().size(), 2);
    EXPECT_THAT(primary(), IsEmpty());
}

TEST_F(IORegistryTest, EthernetThatCanBeUnpluggedIsNotPrimary)
{
    int count = 0;
    for (const QByteArray bus : {"usb", "thunderbolt", "firewire", "pcmcia", "sdio", "bluetooth"})
        m_machine.add({.name = bus, .device = "pci0000:00/0000:00:14.0/" + bus + "1", .bus = bus}), ++count;
    EXPECT_EQ(ethernet().size(), count);
    EXPECT_THAT(primary(), IsEmpty());
}

TEST_F(IORegistryTest, EthernetBehindSomethingThatCanBeUnpluggedIsNotPrimary)
{
    m_machine.add({.name = "usb0", .device = "pci0000:00/0000:00:14.0/usb1", .bus = "usb"});
    m_machine.add({.name = "eth0", .device = "pci0000:00/0000:00:14.0/usb1/1-2/platform", .bus = "platform"});
    m_machine.add({.name = "dock0", .device = "pci0000:00/0000:00:07.0/0000:04:00.0"});
    m_machine.setAttribute("devices/pci0000:00/0000:00:07.0/removable", "removable");
    EXPECT_EQ(ethernet().size(), 3);
    EXPECT_THAT(primary(), IsEmpty());
}

TEST_F(IORegistryTest, ADeviceThatIsSaidToBeFixedIsPrimary)
{
    m_machine.add({});
    m_machine.setAttribute("devices/pci0000:00/0000:00:1f.6/removable", "fixed");
    EXPECT_THAT(primary(), ElementsAre("eth0"));
}

TEST_F(IORegistryTest, ServicesComeInTheOrderOfTheirPlacesWhateverTheirNames)
{
    m_machine.add({.name = "a", .device = "pci0000:00/0000:03:00.0"});
    m_machine.add({.name = "z", .device = "pci0000:00/0000:01:00.0"});
    m_machine.add({.name = "m", .device = "pci0000:00/0000:02:00.0"});
    m_machine.add({.name = "b", .device = "pci0000:00/0000:02:00.0"});
    EXPECT_THAT(primary(), ElementsAre("z", "b", "m", "a"));
}

TEST_F(IORegistryTest, ThereIsNoMasterPortWithoutARootFolder)
{
    EXPECT_EQ(m_registry.IOMasterPort(), KERN_SUCCESS);
    EXPECT_EQ(IORegistry(m_machine.root() + "/missing", withoutPermanentAddress).IOMasterPort(), ENOENT);
    m_machine.setAttribute("file", "");
    EXPECT_EQ(IORegistry(m_machine.root() + "/file", withoutPermanentAddress).IOMasterPort(), ENOTDIR);
}

TEST_F(IORegistryTest, OtherClassesHaveNoMatchingDictionary)
{
    EXPECT_EQ(m_registry.IOServiceMatching(kIOEthernetInterfaceClass),
              (QVariantMap{{kIOProviderClassKey, kIOEthernetInterfaceClass}}));
    EXPECT_FALSE(m_registry.IOServiceMatching(u"IOUSBDevice"_s));
}

TEST_F(IORegistryTest, AListingThatFailsEndsWithTheSystemsCode)
{
    m_machine.add({});
    const QByteArray listed = m_machine.root() + "/class/net";
    ASSERT_EQ(::chmod(listed.constData(), 0), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(QString::fromUtf8(m_machine.root()), [&] {
        QByteArrayList names;
        return find(true, &names) == EACCES && names.isEmpty();
    }));
    ASSERT_EQ(::chmod(listed.constData(), 0700), 0);
    ASSERT_TRUE(QDir(QString::fromUtf8(listed)).removeRecursively());
    QByteArrayList names;
    EXPECT_EQ(find(true, &names), ENOENT);
    EXPECT_THAT(names, IsEmpty());
}

TEST_F(IORegistryTest, TheParentOfAnInterfaceIsItsController)
{
    m_machine.add({});
    std::optional<IORegistryEntry> parent;
    const QByteArray device = m_machine.root() + "/devices/pci0000:00/0000:00:1f.6";
    EXPECT_EQ(m_registry.IORegistryEntryGetParentEntry({device + "/net/eth0", "eth0"}, &parent),
              KERN_SUCCESS);
    ASSERT_TRUE(parent);
    EXPECT_EQ(parent->path, device);
    EXPECT_EQ(parent->interface, "eth0");
}

TEST_F(IORegistryTest, AnInterfaceThatHasGoneHasNoParent)
{
    std::optional<IORegistryEntry> parent;
    EXPECT_EQ(m_registry.IORegistryEntryGetParentEntry({m_machine.root() + "/gone", "gone"}, &parent),
              ENOENT);
    EXPECT_FALSE(parent);
}

TEST_F(IORegistryTest, TheAddressIsThePermanentOneWhateverIsInUse)
{
    m_machine.add({.address = "0a:0a:0a:0a:0a:0a", .addressType = "3"});
    IORegistry registry(m_machine.root(), [](const QByteArray &interface) {
        EXPECT_EQ(interface, "eth0");
        return QByteArray("\x02\x1b\x0c\x9f\x4e\x05", 6);
    });
    EXPECT_EQ(address(registry), QByteArray::fromHex("021b0c9f4e05"));
}

TEST_F(IORegistryTest, TheAddressInUseCountsWhereItIsThePermanentOne)
{
    m_machine.add({});
    EXPECT_EQ(address(m_registry), QByteArray::fromHex("021b0c9f4e05"));
}

TEST_F(IORegistryTest, AnAddressThatWasMadeUpOrSetIsNone)
{
    m_machine.add({.name = "random", .addressType = "1"});
    m_machine.add({.name = "set", .addressType = "3"});
    EXPECT_FALSE(address(m_registry, "random"));
    EXPECT_FALSE(address(m_registry, "set"));
    EXPECT_FALSE(address(m_registry, "gone"));
}

TEST_F(IORegistryTest, OtherPropertiesAreMissing)
{
    m_machine.add({});
    EXPECT_FALSE(m_registry.IORegistryEntryCreateCFProperty(
        {m_machine.root() + "/devices/pci0000:00/0000:00:1f.6", "eth0"}, u"IOBuiltin"_s));
}

TEST(IORegistryOfThisMachine, TellsThePermanentAddressesThatAreInUse)
{
    IORegistry *const registry = IORegistry::shared();
    ASSERT_EQ(registry->IOMasterPort(), KERN_SUCCESS);
    QList<IORegistryEntry> services;
    ASSERT_EQ(registry->IOServiceGetMatchingServices(
                  registry->IOServiceMatching(kIOEthernetInterfaceClass).value(), &services),
              KERN_SUCCESS);
    for (const IORegistryEntry &service : services) {
        const QString folder = QString::fromUtf8(service.path);
        if (readFile(folder + u"/addr_assign_type"_s) != "0\n")
            continue;
        EXPECT_EQ(registry->IORegistryEntryCreateCFProperty({{}, service.interface}, kIOMACAddress),
                  QByteArray::fromHex(readFile(folder + u"/address"_s)));
    }
    EXPECT_FALSE(registry->IORegistryEntryCreateCFProperty({{}, "no-such-card"}, kIOMACAddress));
    EXPECT_FALSE(registry->IORegistryEntryCreateCFProperty({{}, "a-name-beyond-15-bytes"}, kIOMACAddress));
}
