#include <Marblewick/SecRandom.h>

#include "Tests/Support/RefusedCall.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <vector>

using namespace Marblewick;

TEST(SecRandomCopyBytes, FillsTheBufferWithOtherBytesEachTime)
{
    std::vector<uint8_t> first(32);
    std::vector<uint8_t> second(32);
    EXPECT_EQ(SecRandomCopyBytes(kSecRandomDefault, first.size(), first.data()), errSecSuccess);
    EXPECT_EQ(SecRandomCopyBytes(kSecRandomDefault, second.size(), second.data()), errSecSuccess);
    EXPECT_NE(first, std::vector<uint8_t>(32));
    EXPECT_NE(first, second);
}

TEST(SecRandomCopyBytes, FillsMoreThanTheSystemGivesAtOnce)
{
    std::vector<uint8_t> bytes(40 * 1024 * 1024);
    EXPECT_EQ(SecRandomCopyBytes(kSecRandomDefault, bytes.size(), bytes.data()), errSecSuccess);
    const auto tail = bytes.end() - 1024;
    EXPECT_TRUE(std::any_of(tail, bytes.end(), [](uint8_t byte) { return byte != 0; }));
}

TEST(SecRandomCopyBytes, LeavesWhatLiesBehindTheBufferAlone)
{
    std::vector<uint8_t> bytes(64, 0xaa);
    EXPECT_EQ(SecRandomCopyBytes(kSecRandomDefault, 48, bytes.data()), errSecSuccess);
    EXPECT_EQ(SecRandomCopyBytes(kSecRandomDefault, 0, bytes.data() + 48), errSecSuccess);
    EXPECT_TRUE(std::all_of(bytes.begin() + 48, bytes.end(), [](uint8_t byte) { return byte == 0xaa; }));
}

TEST(SecRandomCopyBytes, FailsWithTheSystemsReasonWhereTheSystemRefuses)
{
    const RefusedCall refused(RefusedCall::GetRandom);
    std::vector<uint8_t> bytes(16);
    errno = 0;
    EXPECT_EQ(SecRandomCopyBytes(kSecRandomDefault, bytes.size(), bytes.data()), -1);
    EXPECT_EQ(errno, RefusedCall::errorNumber);
    EXPECT_EQ(bytes, std::vector<uint8_t>(16));
}
