#include "Platform/IOKit/IORegistry.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/IOKit/PermanentAddress.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <net/if_arp.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

std::atomic<IORegistry *> replacement = nullptr;

/*! The contents of one of the registry's small text files without the line end; empty where it is missing. */
QByteArray attribute(const QByteArray &path)
{
    constexpr qint64 largest = 65536;
    return NSFileManager::defaultManager()
        ->contentsAtPath(NSFileManager::stringWithFileSystemRepresentation(path), largest)
        .value_or(QByteArray())
        .trimmed();
}

bool exists(const QByteArray &path) { return ::access(path.constData(), F_OK) == 0; }

/*! The path without symbolic links; empty, with errno set, where it leads nowhere. */
QByteArray resolved(const QByteArray &path)
{
    std::array<char, PATH_MAX> buffer;
    return QByteArray(::realpath(path.constData(), buffer.data()));
}

/*! The bus that a device hangs on, such as "pci" or "usb"; empty for what is no device. */
QByteArray bus(const QByteArray &device)
{
    const QByteArray path = resolved(device + "/subsystem");
    return path.mid(path.lastIndexOf('/') + 1);
}

bool isEthernet(const QByteArray &interface)
{
    // Plain Ethernet is the kind of interface that its driver gives no name of a kind. Old wireless drivers
    // give none either, but have settings of their own.
    return attribute(interface + "/type").toInt() == ARPHRD_ETHER
           && !attribute(interface + "/uevent").contains("DEVTYPE=") && !exists(interface + "/wireless")
           && !exists(interface + "/phy80211");
}

bool isBuiltIn(QByteArray device, const QByteArray &root)
{
    const QByteArrayList pluggable{"usb", "thunderbolt", "firewire", "pcmcia", "sdio", "bluetooth"};
    while (device.size() > root.size()) {
        if (pluggable.contains(bus(device)) || attribute(device + "/removable") == "removable")
            return false;
        device.truncate(device.lastIndexOf('/'));
    }
    return true;
}

bool isPrimary(const QByteArray &interface, const QByteArray &root)
{
    const QByteArray device = resolved(interface + "/device");
    return !device.isEmpty() && isBuiltIn(device, root);
}

} // namespace

IORegistry::IORegistry()
    : IORegistry("/sys", permanentAddress)
{ }

IORegistry::IORegistry(QByteArray root, PermanentAddress permanentAddress)
    : m_root(std::move(root))
    , m_permanentAddress(std::move(permanentAddress))
{ }

IORegistry::~IORegistry() = default;

IORegistry *IORegistry::shared()
{
    static IORegistry registry;
    IORegistry *const other = replacement;
    return other ? other : &registry;
}

void IORegistry::setShared(IORegistry *registry) { replacement = registry; }

kern_return_t IORegistry::IOMasterPort()
{
    const int root = ::open(m_root.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (root < 0)
        return errno;
    ::close(root);
    return KERN_SUCCESS;
}

std::optional<QVariantMap> IORegistry::IOServiceMatching(const QString &name)
{
    if (name != kIOEthernetInterfaceClass)
        return std::nullopt;
    return QVariantMap{{kIOProviderClassKey, name}};
}

kern_return_t IORegistry::IOServiceGetMatchingServices(const QVariantMap &matching,
                                                       QList<IORegistryEntry> *services)
{
    const bool primaryOnly = matching.value(kIOPropertyMatchKey).toMap().value(kIOPrimaryInterface).toBool();
    const QByteArray root = resolved(m_root);
    const QByteArray folder = root + "/class/net";
    QList<IORegistryEntry> found;
    const auto take = [&](QByteArrayView name) {
        const QByteArray path = resolved(folder + '/' + name.toByteArray());
        if (isEthernet(path) && (!primaryOnly || isPrimary(path, root)))
            found.append({path, name.toByteArray()});
    };
    NSError error;
    if (!NSFileManager::defaultManager()->enumerateContentsOfDirectoryAtPath(
            NSFileManager::stringWithFileSystemRepresentation(folder), take, &error))
        return static_cast<kern_return_t>(error.code());
    std::ranges::sort(found, {}, &IORegistryEntry::path);
    *services = found;
    return KERN_SUCCESS;
}

kern_return_t IORegistry::IORegistryEntryGetParentEntry(const IORegistryEntry &entry,
                                                        std::optional<IORegistryEntry> *parent)
{
    const QByteArray device = resolved(entry.path + "/device");
    if (device.isEmpty())
        return errno;
    *parent = {device, entry.interface};
    return KERN_SUCCESS;
}

std::optional<QByteArray> IORegistry::IORegistryEntryCreateCFProperty(const IORegistryEntry &entry,
                                                                      const QString &key)
{
    if (key != kIOMACAddress)
        return std::nullopt;
    QByteArray address = m_permanentAddress(entry.interface);
    // A sandbox may keep a process from asking the driver. Type 0 says that the address in use is the
    // permanent one.
    const QByteArray interface = m_root + "/class/net/" + entry.interface;
    if (address.isEmpty() && attribute(interface + "/addr_assign_type") == "0")
        address = QByteArray::fromHex(attribute(interface + "/address"));
    return address.isEmpty() ? std::nullopt : std::optional(address);
}

} // namespace Marblewick
