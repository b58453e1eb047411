#include <Marblewick/CFString.h>

#include <gtest/gtest.h>

TEST(CFString, KeepsItsTextUntilItIsReleased)
{
    char text[] = "02:1b";
    const CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, text,
                                                         kCFStringEncodingMacRoman);
    text[0] = 'x';
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(CFStringGetLength(string), 5);
    for (const auto encoding : {kCFStringEncodingMacRoman, kCFStringEncodingASCII, kCFStringEncodingUTF8})
        EXPECT_STREQ(CFStringGetCStringPtr(string, encoding), "02:1b");
    CFRelease(string);
}

TEST(CFString, MayBeEmpty)
{
    const CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, "", kCFStringEncodingASCII);
    ASSERT_NE(string, nullptr);
    EXPECT_EQ(CFStringGetLength(string), 0);
    EXPECT_STREQ(CFStringGetCStringPtr(string, kCFStringEncodingASCII), "");
    CFRelease(string);
}

TEST(CFString, IsNotMadeFromWhatItCannotHold)
{
    EXPECT_EQ(CFStringCreateWithCString(kCFAllocatorDefault, nullptr, kCFStringEncodingASCII), nullptr);
    EXPECT_EQ(CFStringCreateWithCString(kCFAllocatorDefault, "\x8a", kCFStringEncodingMacRoman), nullptr);
    EXPECT_EQ(CFStringCreateWithCString(kCFAllocatorDefault, "text", 0x100), nullptr);
}

TEST(CFString, GivesNoCharactersInAnotherEncoding)
{
    const CFStringRef string = CFStringCreateWithCString(kCFAllocatorDefault, "a", kCFStringEncodingASCII);
    EXPECT_EQ(CFStringGetCStringPtr(string, 0x100), nullptr);
    CFRelease(string);
}

TEST(CFString, ReleasingNothingDoesNothing) { CFRelease(nullptr); }
