#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*! Immutable text that crosses a C interface. This header is C as well as C++.

    A function with "Create" in its name, or whose description says so, hands its caller a string to own: the
    caller gives it to CFRelease() once. Any thread.
*/
typedef const struct CFStringObject *CFStringRef;

typedef const void *CFTypeRef;
typedef const void *CFAllocatorRef;
typedef long CFIndex;
typedef uint32_t CFStringEncoding;

#define kCFAllocatorDefault ((CFAllocatorRef)0)
#define kCFStringEncodingMacRoman ((CFStringEncoding)0)
#define kCFStringEncodingASCII ((CFStringEncoding)0x0600)
#define kCFStringEncodingUTF8 ((CFStringEncoding)0x08000100)

/*! A string made from zero-terminated bytes, owned by the caller. Null where `cString` is null or holds a
   byte that is not ASCII: these strings carry addresses and numbers, which the encodings above write alike.
    `allocator` is kCFAllocatorDefault.
*/
MARBLEWICK_CORE_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char *cString,
                                                             CFStringEncoding encoding);

/*! How many UTF-16 code units the string has, which is its count of characters. */
MARBLEWICK_CORE_EXPORT CFIndex CFStringGetLength(CFStringRef string);

/*! The string's characters, zero-terminated, in one of the encodings above; null for another one. They belong
    to the string and go with it.
*/
MARBLEWICK_CORE_EXPORT const char *CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);

/*! Gives up a string that the caller owns. Null is let pass. */
MARBLEWICK_CORE_EXPORT void CFRelease(CFTypeRef object);

#ifdef __cplusplus
}
#endif
