#include <Marblewick/NSException.h>

#include "Tests/Support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

TEST(NSException, CarriesNameReasonAndUserInfo)
{
    try {
        throw NSException(NSInternalInconsistencyException, u"Käfer"_s, {{u"key"_s, 1}});
    } catch (const std::exception &exception) {
        EXPECT_STREQ(exception.what(), "NSInternalInconsistencyException: Käfer");
        const auto &thrown = dynamic_cast<const NSException &>(exception);
        EXPECT_EQ(thrown.name(), u"NSInternalInconsistencyException"_s);
        EXPECT_EQ(thrown.reason(), u"Käfer"_s);
        EXPECT_EQ(thrown.userInfo(), (QVariantMap{{u"key"_s, 1}}));
        return;
    }
    FAIL() << "nothing was caught";
}
