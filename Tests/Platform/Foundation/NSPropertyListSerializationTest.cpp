// The reader is private to the library; the bundle that reads its Info.plist with it shows what it does.
#include <Marblewick/NSBundle.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDateTime>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

const QByteArray xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <key>Name</key><string>Käfer &amp; Co 😀</string>
    <key>Empty</key><string></string>
    <key>Flag</key><true/>
    <key>Off</key><false/>
    <key>Count</key><integer>9223372036854775807</integer>
    <key>Negative</key><integer>-2</integer>
    <key>Share</key><real>0.25</real>
    <key>Date</key><date>2026-11-21T11:22:10Z</date>
    <key>Data</key><data>AAH/</data>
    <key>List</key><array><string>a</string><array/><dict><key>b</key><integer>1</integer></dict></array>
</dict>
</plist>
)";

/*! {"Name": "Käfer", "Flag": true} in binary form. */
const QByteArray binary = QByteArray::fromHex("62706c6973743030" // magic and version
                                              "d201020304" // a dictionary of two
                                              "544e616d65" // "Name"
                                              "54466c6167" // "Flag"
                                              "65004b00e400660065007209" // "Käfer" in UTF-16; true
                                              "080d121722" // where these lie
                                              "00000000000001010000000000000005"
                                              "00000000000000000000000000000023");

class NSPropertyListSerializationTest : public ::testing::Test
{
protected:
    /*! The dictionary that a bundle reads from these bytes. */
    QVariantMap read(const QByteArray &bytes) const
    {
        writeFile(m_home.path() + u"/Info.plist"_s, bytes);
        return NSBundle(m_home.path() + u"/kite"_s).infoDictionary();
    }

    TemporaryHome m_home;
};

} // namespace

TEST_F(NSPropertyListSerializationTest, ReadsEveryTypeFromXML)
{
    const QVariantMap expected{
        {u"Name"_s, u"Käfer & Co 😀"_s},
        {u"Empty"_s, u""_s},
        {u"Flag"_s, true},
        {u"Off"_s, false},
        {u"Count"_s, std::numeric_limits<qint64>::max()},
        {u"Negative"_s, qint64(-2)},
        {u"Share"_s, 0.25},
        {u"Date"_s, QDateTime({2026, 11, 21}, {11, 22, 10}, Qt::UTC)},
        {u"Data"_s, QByteArray("\0\1\xff", 3)},
        {u"List"_s, QVariantList{u"a"_s, QVariantList(), QVariantMap{{u"b"_s, qint64(1)}}}},
    };
    EXPECT_EQ(read(xml), expected);
}

TEST_F(NSPropertyListSerializationTest, ReadsTheBinaryForm)
{
    const QVariantMap expected{{u"Name"_s, u"Käfer"_s}, {u"Flag"_s, true}};
    EXPECT_EQ(read(binary), expected);
}

TEST_F(NSPropertyListSerializationTest, RefusesWhatIsNoPropertyList)
{
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("<"), QByteArray(100, '\0'), QByteArray("{\"Name\": \"JSON\"}"),
          QByteArray("bplist00"), QByteArray(5000, '\xff')}) {
        const CapturedStandardError log;
        EXPECT_FALSE(read(bytes).contains(u"Name"_s));
        EXPECT_TRUE(log.text().contains(u"It is not a property list in XML or binary form."_s))
            << qPrintable(log.text()) << bytes.left(20).toHex().constData();
    }
}

TEST_F(NSPropertyListSerializationTest, RefusesAListWhoseTopIsNoDictionary)
{
    const CapturedStandardError log;
    EXPECT_FALSE(
        read("<plist version=\"1.0\"><array><string>Name</string></array></plist>").contains(u"Name"_s));
    EXPECT_TRUE(log.text().contains(u"The top of the property list is not a dictionary."_s));
}

TEST_F(NSPropertyListSerializationTest, SurvivesAListThatBreaksOffAnywhere)
{
    const CapturedStandardError log;
    for (const QByteArray &whole : {xml, binary}) {
        const qsizetype end = whole == xml ? xml.lastIndexOf(">\n</plist>") : whole.size();
        for (qsizetype size = 0; size < end; ++size)
            EXPECT_FALSE(read(whole.first(size)).contains(u"Name"_s)) << size;
    }
}
