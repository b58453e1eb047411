#include <Marblewick/NSError.h>

#include <gtest/gtest.h>

#include <cerrno>

using namespace Marblewick;
using namespace Qt::StringLiterals;

TEST(NSError, KeepsDomainCodeAndUserInfo)
{
    const NSError error(NSCocoaErrorDomain, -9223372036854775807, {{u"key"_s, 1}});
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), -9223372036854775807);
    EXPECT_EQ(error.userInfo(), (QVariantMap{{u"key"_s, 1}}));
}

TEST(NSError, IsDescribedByTheSentenceInItsUserInfo)
{
    const NSError error(NSCocoaErrorDomain, 4, {{NSLocalizedDescriptionKey, u"No %1 such file."_s}});
    EXPECT_EQ(error.localizedDescription(), u"No %1 such file."_s);
    EXPECT_EQ(error.description(), u"Error Domain=NSCocoaErrorDomain Code=4 \"No %1 such file.\""_s);
}

TEST(NSError, IsDescribedByDomainAndCodeWithoutASentence)
{
    const NSError error(u"%2 Domain"_s, -7);
    EXPECT_EQ(error.localizedDescription(), u"The operation couldn’t be completed. (%2 Domain error -7.)"_s);
}

TEST(NSError, ThatWasMadeByNobodyStillHasADescription)
{
    EXPECT_FALSE(NSError().localizedDescription().isEmpty());
}

TEST(NSError, OfTheSystemHasItsTextAndThePath)
{
    const NSError error = NSError::posixError(ENOENT, u"/a file"_s);
    EXPECT_EQ(error.domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_EQ(error.localizedDescription(), u"No such file or directory"_s);
    EXPECT_EQ(error.description(),
              u"Error Domain=NSPOSIXErrorDomain Code=2 \"No such file or directory\" (/a file)"_s);
}

TEST(NSError, OfTheSystemWithoutAPathNamesNone)
{
    EXPECT_FALSE(NSError::posixError(EIO).userInfo().contains(NSFilePathErrorKey));
}
