#include <Marblewick/MBWApplicationName.h>

#include <gtest/gtest.h>

#include <QCoreApplication>

using namespace Qt::StringLiterals;

TEST(MBWApplicationName, IsTheNameThatTheHostGaveItsApplicationObject)
{
    QCoreApplication::setApplicationName(u"Käfer & Co"_s);
    EXPECT_EQ(MBWApplicationName(), u"Käfer & Co"_s);
}

TEST(MBWApplicationName, IsTheExecutableNameWhereTheHostGaveNone)
{
    EXPECT_EQ(MBWApplicationName(), u"UtilitiesTests"_s);
}
