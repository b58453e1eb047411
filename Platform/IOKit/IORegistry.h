#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QByteArray>
#include <QByteArrayList>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace Marblewick {

/*! Result of an operation on the registry: KERN_SUCCESS, KERN_FAILURE or the system's errno value. */
using kern_return_t = qint32;
inline constexpr kern_return_t KERN_SUCCESS = 0;
inline constexpr kern_return_t KERN_FAILURE = 5;

inline constexpr QLatin1StringView kIOProviderClassKey("IOProviderClass");
inline constexpr QLatin1StringView kIOPropertyMatchKey("IOPropertyMatch");
inline constexpr QLatin1StringView kIOEthernetInterfaceClass("IOEthernetInterface");
inline constexpr QLatin1StringView kIOPrimaryInterface("IOPrimaryInterface");
inline constexpr QLatin1StringView kIOMACAddress("IOMACAddress");

/*! A network interface, or the controller that it belongs to. */
struct IORegistryEntry
{
    QByteArray path; ///< the entry's folder, without symbolic links
    QByteArray interface; ///< the interface's name, such as "eth0"
};

/*! The machine's network hardware as a registry of entries, read from the folder that the kernel describes it
    in (sysfs) and from the network drivers.

    An interface is of the class "IOEthernetInterface" where its hardware type is Ethernet and it is not of a
    special kind: wireless, bridge, bond, VLAN, tunnel, Bluetooth, mobile data, USB gadget.

    It has the property "IOPrimaryInterface" where it also belongs to a device, and that device is built in:
    nothing between it and the machine is removable, or hangs on USB, Thunderbolt, FireWire or a card slot.
   The network card that a virtual machine gives its guest is built in. The ends of a container's or a virtual
    network (veth, TAP, dummy) belong to no device.

    Operations are virtual so that a test can make one of them fail. Any thread.
*/
class MARBLEWICK_CORE_EXPORT IORegistry
{
public:
    /*! Reads the permanent address of the interface of a name; empty where it has none. */
    using PermanentAddress = std::function<QByteArray(const QByteArray &interface)>;

    /*! The registry of this machine, or another one's whose `root` is a copy of the folder `/sys`. */
    IORegistry();
    IORegistry(QByteArray root, PermanentAddress permanentAddress);
    virtual ~IORegistry();
    IORegistry(const IORegistry &) = delete;
    IORegistry &operator=(const IORegistry &) = delete;

    /*! The registry that the framework asks; this machine's unless setShared() put another in its place. */
    static IORegistry *shared();
    /*! `registry` is not owned; null puts this machine's back. */
    static void setShared(IORegistry *registry);

    /*! Whether there is a registry: 0, or the errno value for which its root cannot be entered. */
    virtual kern_return_t IOMasterPort();

    /*! The question for all services of a class, to which more conditions can be added; nil where the
        registry has no such class.
    */
    virtual std::optional<QVariantMap> IOServiceMatching(const QString &name);

    /*! Stores the services that match, in the order of their places in the machine, which is the same at
        every start and whatever the interfaces are called. Or the errno value for which the interfaces
        cannot be listed; then nothing is stored. `services` is a list, not an iterator: its first item is
        the first service.
    */
    virtual kern_return_t IOServiceGetMatchingServices(const QVariantMap &matching,
                                                       QList<IORegistryEntry> *services);

    /*! Stores the controller that an interface belongs to. Or the errno value for which that cannot be found
        out, such as that the interface has gone.
    */
    virtual kern_return_t IORegistryEntryGetParentEntry(const IORegistryEntry &entry,
                                                        std::optional<IORegistryEntry> *parent);

    /*! A property's bytes. "IOMACAddress" of a controller is the permanent address of its interface, nil
       where it has none.
    */
    virtual std::optional<QByteArray> IORegistryEntryCreateCFProperty(const IORegistryEntry &entry,
                                                                      const QString &key);

private:
    QByteArray m_root;
    PermanentAddress m_permanentAddress;
};

} // namespace Marblewick
