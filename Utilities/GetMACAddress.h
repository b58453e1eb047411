#pragma once

#include <Marblewick/CFString.h>
#include <Marblewick/MarblewickCoreExport.h>

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*! Finds the hardware address of the machine's primary Ethernet interface: wired, physical and built in; of
    several the first one by its place in the machine. The address is the permanent one, whatever the
    interface was told to use. This header is C as well as C++.

    `twoDigitForm` and `shortForm` receive the address as text, as GetMACAddressFormattedStr() writes it, with
    colons where `separated`; either may be null. The caller owns the strings and gives each to CFRelease().

    Returns 0; 5 where there is no such interface; or the errno value for which the system's description of
    its network hardware cannot be read. Unless it returns 0, nothing is stored. An interface without a
    permanent address counts as found, and its address is all zeros. Any thread.
*/
MARBLEWICK_CORE_EXPORT int32_t GetMACAddress(CFStringRef *twoDigitForm, CFStringRef *shortForm,
                                             bool separated);

/*! The six bytes at `address` in lower-case hexadecimal, with two digits for each byte ("02:1b:0c:9f:4e:05"),
    or as few as it needs ("2:1b:c:9f:4e:5", which cannot be read back without the colons). The caller owns
    the string and gives it to CFRelease(). Any thread.
*/
MARBLEWICK_CORE_EXPORT CFStringRef GetMACAddressFormattedStr(const uint8_t *address, bool twoDigits,
                                                             bool separated);

#ifdef __cplusplus
}
#endif
