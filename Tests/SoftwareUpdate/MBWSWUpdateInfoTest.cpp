#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>
#include <Marblewick/NSProcessInfo.h>

#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <thread>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

void fill(MBWSWUpdateInfo &record)
{
    record.setProductIdentifier(u"example.cartographer"_s);
    record.setProductName(u"Cartographer – für Zürich"_s);
    record.setVersionIdentifier(120);
    record.setVersionString(u"3.1"_s);
    record.setDirectDownloadURL(QUrl(u"https://example.com/cartographer-3.1.tar.xz"_s));
    record.setProductPageURL(QUrl(u"https://example.com/cartographer"_s));
    record.setUpdateInfoURL(QUrl(u"https://example.com/notes?version=3.1#new"_s));
    record.setAppStoreURL(QUrl(u"appstream:example.cartographer"_s));
    record.setSystemVersion(u"12.5"_s);
}

void expectEqual(const MBWSWUpdateInfo &a, const MBWSWUpdateInfo &b)
{
    EXPECT_EQ(a.productIdentifier(), b.productIdentifier());
    EXPECT_EQ(a.productName(), b.productName());
    EXPECT_EQ(a.versionIdentifier(), b.versionIdentifier());
    EXPECT_EQ(a.versionString(), b.versionString());
    EXPECT_EQ(a.directDownloadURL(), b.directDownloadURL());
    EXPECT_EQ(a.productPageURL(), b.productPageURL());
    EXPECT_EQ(a.updateInfoURL(), b.updateInfoURL());
    EXPECT_EQ(a.appStoreURL(), b.appStoreURL());
    EXPECT_EQ(a.systemVersion(), b.systemVersion());
}

std::shared_ptr<MBWSWUpdateInfo> archivedAndDecoded(const MBWSWUpdateInfo &record)
{
    return NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(
        NSKeyedArchiver::archivedDataWithRootObject(record));
}

/*! A coder that notes what it is asked. */
class NotingCoder : public NSCoder
{
public:
    QStringList notes;

    void encodeObject(const std::optional<QString> &, QLatin1StringView key) override
    {
        note(u"string"_s, key);
    }
    void encodeObject(const std::optional<QUrl> &, QLatin1StringView key) override { note(u"URL"_s, key); }
    void encodeInteger(qint64, QLatin1StringView key) override { note(u"integer"_s, key); }
    qint64 decodeIntegerForKey(QLatin1StringView key) override
    {
        note(u"integer"_s, key);
        return 0;
    }

protected:
    std::optional<QString> decodeString(QLatin1StringView key) override
    {
        note(u"string"_s, key);
        return std::nullopt;
    }
    std::optional<QUrl> decodeURL(QLatin1StringView key) override
    {
        note(u"URL"_s, key);
        return std::nullopt;
    }

private:
    void note(const QString &kind, QLatin1StringView key) { notes.append(kind + u' ' + key); }
};

const auto fieldsInOrder = ElementsAre(
    u"string productIdentifier"_s, u"string productName"_s, u"integer versionIdentifier"_s,
    u"string versionString"_s, u"URL directDownloadURL"_s, u"URL productPageURL"_s, u"URL updateInfoURL"_s,
    u"URL appStoreURL"_s, u"string systemVersion"_s);

/*! On a system of version 12.5.3. */
class SystemTest : public testing::Test
{
protected:
    SystemTest()
    {
        writeFile(m_home.path() + u"/etc/os-release"_s, "VERSION_ID=12.5.3\n");
        NSProcessInfo::setProcessInfo(&m_processInfo);
    }
    ~SystemTest() override { NSProcessInfo::setProcessInfo(nullptr); }

    static bool runs(const std::optional<QString> &systemVersion)
    {
        MBWSWUpdateInfo record;
        record.setSystemVersion(systemVersion);
        return record.isOperatingSystemVersionCompatible();
    }

    const TemporaryHome m_home;
    const NSProcessInfo m_processInfo{m_home.path()};
};

using MBWSWUpdateInfoOnASystem = SystemTest;

} // namespace

TEST(MBWSWUpdateInfo, SupportsSecureCodingUnderItsName)
{
    EXPECT_TRUE(MBWSWUpdateInfo::supportsSecureCoding());
    EXPECT_EQ(MBWSWUpdateInfo::className(), "MBWSWUpdateInfo"_L1);
}

TEST(MBWSWUpdateInfo, BeginsWithoutAnyField)
{
    const MBWSWUpdateInfo record;
    EXPECT_EQ(record.productIdentifier(), std::nullopt);
    EXPECT_EQ(record.productName(), std::nullopt);
    EXPECT_EQ(record.versionIdentifier(), 0);
    EXPECT_EQ(record.versionString(), std::nullopt);
    EXPECT_EQ(record.directDownloadURL(), std::nullopt);
    EXPECT_EQ(record.productPageURL(), std::nullopt);
    EXPECT_EQ(record.updateInfoURL(), std::nullopt);
    EXPECT_EQ(record.appStoreURL(), std::nullopt);
    EXPECT_EQ(record.systemVersion(), std::nullopt);
}

TEST(MBWSWUpdateInfo, DecodesItsFieldsInTheirOrderEachByItsClass)
{
    NotingCoder coder;
    const MBWSWUpdateInfo record(coder);
    EXPECT_THAT(coder.notes, fieldsInOrder);
}

TEST(MBWSWUpdateInfo, EncodesItsFieldsInTheSameOrder)
{
    NotingCoder coder;
    MBWSWUpdateInfo().encodeWithCoder(coder);
    EXPECT_THAT(coder.notes, fieldsInOrder);
}

TEST(MBWSWUpdateInfo, ArchivedAndDecodedHasEqualFields)
{
    MBWSWUpdateInfo record;
    fill(record);
    const auto again = archivedAndDecoded(record);
    ASSERT_TRUE(again);
    expectEqual(*again, record);
}

TEST(MBWSWUpdateInfo, ArchivedAndDecodedKeepsNilFieldsAndNilURLs)
{
    const auto empty = archivedAndDecoded({});
    ASSERT_TRUE(empty);
    expectEqual(*empty, {});

    MBWSWUpdateInfo record;
    fill(record);
    record.setDirectDownloadURL(std::nullopt);
    record.setAppStoreURL(std::nullopt);
    record.setProductName(std::nullopt);
    const auto again = archivedAndDecoded(record);
    ASSERT_TRUE(again);
    expectEqual(*again, record);
}

TEST(MBWSWUpdateInfo, ArchivedAndDecodedKeepsTheLargestAndSmallestVersionIdentifier)
{
    for (const qint64 number : {INT64_MAX, INT64_MIN, INT64_C(-1), INT64_C(0)}) {
        MBWSWUpdateInfo record;
        record.setVersionIdentifier(number);
        const auto again = archivedAndDecoded(record);
        ASSERT_TRUE(again);
        EXPECT_EQ(again->versionIdentifier(), number);
    }
}

TEST(MBWSWUpdateInfo, KeepsItsVersionStringWhenTheTextThatWasSetChanges)
{
    QString version = u"3.1"_s;
    MBWSWUpdateInfo record;
    record.setVersionString(version);
    version[0] = u'4';
    EXPECT_EQ(record.versionString(), u"3.1"_s);
}

TEST(MBWSWUpdateInfo, MayBeReadWhileAnotherThreadSetsItsFields)
{
    MBWSWUpdateInfo record;
    fill(record);
    const std::jthread writer([&] {
        for (int i = 0; i < 2000; ++i)
            fill(record);
    });
    for (int i = 0; i < 2000; ++i) {
        EXPECT_EQ(record.productName(), u"Cartographer – für Zürich"_s);
        EXPECT_EQ(record.updateInfoURL(), QUrl(u"https://example.com/notes?version=3.1#new"_s));
        EXPECT_EQ(record.versionIdentifier(), 120);
    }
}

TEST(MBWSWUpdateInfo, SaysTheVersionOfTheRunningApplicationWhateverItsOwnFieldsAre)
{
    QCoreApplication::setApplicationVersion(u"2.9"_s);
    MBWSWUpdateInfo record;
    fill(record);
    EXPECT_EQ(record.currentVersionString(), u"2.9"_s);
}

TEST(MBWSWUpdateInfo, SaysNoVersionOfAnApplicationWithoutOne)
{
    QCoreApplication::setApplicationVersion({});
    EXPECT_EQ(MBWSWUpdateInfo().currentVersionString(), std::nullopt);
}

TEST_F(MBWSWUpdateInfoOnASystem, IsCompatibleWithoutASystemVersionOfTwoParts)
{
    EXPECT_TRUE(runs(std::nullopt));
    EXPECT_TRUE(runs(u""_s));
    EXPECT_TRUE(runs(u"13"_s));
    EXPECT_TRUE(runs(u"99"_s));
    EXPECT_TRUE(runs(u"trixie"_s));
}

TEST_F(MBWSWUpdateInfoOnASystem, RequiresTheSystemVersionOrALaterOne)
{
    EXPECT_TRUE(runs(u"12.5"_s));
    EXPECT_TRUE(runs(u"12.5.3"_s));
    EXPECT_TRUE(runs(u"11.99.99"_s));
    EXPECT_FALSE(runs(u"12.5.4"_s));
    EXPECT_FALSE(runs(u"12.6"_s));
    EXPECT_FALSE(runs(u"13.0"_s));
}

TEST_F(MBWSWUpdateInfoOnASystem, IgnoresPartsBeyondTheThird)
{
    EXPECT_TRUE(runs(u"12.5.3.1"_s));
    EXPECT_TRUE(runs(u"12.5.3.99.99"_s));
    EXPECT_FALSE(runs(u"12.5.4.0"_s));
}

TEST_F(MBWSWUpdateInfoOnASystem, CountsAPartWithoutLeadingDigitsAsZero)
{
    EXPECT_TRUE(runs(u"12.a.3"_s)); // 12.0.3
    EXPECT_TRUE(runs(u"ten.5"_s)); // 0.5.0
    EXPECT_TRUE(runs(u"12.x"_s)); // 12.0.0
    EXPECT_TRUE(runs(u"12.."_s));
    EXPECT_TRUE(runs(u"."_s));
    EXPECT_FALSE(runs(u"13.x"_s));
    EXPECT_FALSE(runs(u"12.6beta"_s)); // 12.6
    EXPECT_FALSE(runs(u" 12. +6"_s));
    EXPECT_TRUE(runs(u"-13.0"_s));
}

TEST_F(MBWSWUpdateInfoOnASystem, ThatHasNoVersionIsAlwaysCompatible)
{
    writeFile(m_home.path() + u"/etc/os-release"_s, "ID=rolling\n");
    EXPECT_TRUE(runs(u"99.0"_s));
}
