#include "Utilities/GetMACAddress.h"

#include "Platform/IOKit/IORegistry.h"

#include <algorithm>
#include <array>
#include <cstdio>

using namespace Marblewick;

namespace {

using Address = std::array<uint8_t, 6>;

kern_return_t findPrimaryInterfaces(IORegistry *registry, QList<IORegistryEntry> *interfaces)
{
    std::optional<QVariantMap> matching = registry->IOServiceMatching(kIOEthernetInterfaceClass);
    if (!matching)
        return KERN_SUCCESS;
    matching->insert(kIOPropertyMatchKey, QVariantMap{{kIOPrimaryInterface, true}});
    return registry->IOServiceGetMatchingServices(*matching, interfaces);
}

/*! Leaves the address as it is where the controller has none: the interface is found all the same. */
kern_return_t readAddress(IORegistry *registry, const IORegistryEntry &interface, Address *address)
{
    std::optional<IORegistryEntry> controller;
    const kern_return_t result = registry->IORegistryEntryGetParentEntry(interface, &controller);
    if (result != KERN_SUCCESS || !controller)
        return result;
    const auto data = registry->IORegistryEntryCreateCFProperty(*controller, kIOMACAddress);
    if (data)
        std::copy_n(data->begin(), std::min<qsizetype>(data->size(), std::ssize(*address)), address->begin());
    return result;
}

} // namespace

int32_t GetMACAddress(CFStringRef *twoDigitForm, CFStringRef *shortForm, bool separated)
{
    IORegistry *const registry = IORegistry::shared();
    if (const kern_return_t failure = registry->IOMasterPort(); failure != KERN_SUCCESS)
        return failure;
    QList<IORegistryEntry> interfaces;
    if (const kern_return_t failure = findPrimaryInterfaces(registry, &interfaces); failure != KERN_SUCCESS)
        return failure;
    if (interfaces.isEmpty())
        return KERN_FAILURE;
    Address address = {};
    if (const kern_return_t failure = readAddress(registry, interfaces.first(), &address);
        failure != KERN_SUCCESS)
        return failure;
    if (twoDigitForm)
        *twoDigitForm = GetMACAddressFormattedStr(address.data(), true, separated);
    if (shortForm)
        *shortForm = GetMACAddressFormattedStr(address.data(), false, separated);
    return KERN_SUCCESS;
}

CFStringRef GetMACAddressFormattedStr(const uint8_t *address, bool twoDigits, bool separated)
{
    std::array<char, 32> text = {};
    size_t length = 0;
    for (size_t i = 0; i < std::tuple_size_v<Address>; ++i) {
        const int written = std::snprintf(text.data() + length, text.size() - length,
                                          twoDigits ? "%2.2x" : "%x", unsigned{address[i]});
        length += static_cast<size_t>(written);
        if (separated)
            text[length++] = ':';
    }
    if (separated)
        text[--length] = '\0';
    return CFStringCreateWithCString(kCFAllocatorDefault, text.data(), kCFStringEncodingMacRoman);
}
