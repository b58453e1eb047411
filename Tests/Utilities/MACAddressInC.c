#include "Tests/Utilities/MACAddressInC.h"

#include <Marblewick/GetMACAddress.h>

#include <stdio.h>
#include <string.h>

int32_t copyMACAddressInC(char *twoDigitForm, char *shortForm, size_t size, bool separated)
{
    CFStringRef twoDigits = NULL;
    CFStringRef shortest = NULL;
    const int32_t result = GetMACAddress(&twoDigits, &shortest, separated);
    if (result != 0)
        return result;
    snprintf(twoDigitForm, size, "%s", CFStringGetCStringPtr(twoDigits, kCFStringEncodingASCII));
    snprintf(shortForm, size, "%s", CFStringGetCStringPtr(shortest, kCFStringEncodingASCII));
    CFRelease(twoDigits);
    CFRelease(shortest);
    return result;
}

long lengthOfFormattedAddressInC(const uint8_t *address)
{
    const CFStringRef string = GetMACAddressFormattedStr(address, true, true);
    const long length = (long)strlen(CFStringGetCStringPtr(string, kCFStringEncodingASCII));
    const long own = CFStringGetLength(string);
    CFRelease(string);
    return own == length ? length : -1;
}
