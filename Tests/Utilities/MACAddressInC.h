#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*! What a host in C does: asks for both forms, copies them and releases them. Returns GetMACAddress()'s code;
    the buffers have room for `size` bytes each and stay as they are where it is not 0.
*/
int32_t copyMACAddressInC(char *twoDigitForm, char *shortForm, size_t size, bool separated);

/*! The count of characters of the formatted address, or -1 where the string's own length differs. */
long lengthOfFormattedAddressInC(const uint8_t *address);

#ifdef __cplusplus
}
#endif
