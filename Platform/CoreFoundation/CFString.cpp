#include "Platform/CoreFoundation/CFString.h"

#include <algorithm>
#include <string>

struct CFStringObject
{
    std::string characters;
};

namespace {

bool isKnown(CFStringEncoding encoding)
{
    return encoding == kCFStringEncodingMacRoman || encoding == kCFStringEncodingASCII
           || encoding == kCFStringEncodingUTF8;
}

bool isASCII(std::string_view text)
{
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char *cString, CFStringEncoding encoding)
{
    if (!cString || !isKnown(encoding) || !isASCII(cString))
        return nullptr;
    return new CFStringObject{cString};
}

CFIndex CFStringGetLength(CFStringRef string) { return static_cast<CFIndex>(string->characters.size()); }

const char *CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding)
{
    return isKnown(encoding) ? string->characters.c_str() : nullptr;
}

void CFRelease(CFTypeRef object) { delete static_cast<CFStringRef>(object); }
