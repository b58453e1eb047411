#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! Archives between this archiver and GNUstep's, by the program Tests/Peers/GNUstepArchive.m. */
class MBWSWUpdateInfoAndGNUstep : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!QFile::exists(m_program))
            GTEST_SKIP()
                << "GNUstep was not installed when this was configured; ./setup --peers installs it.";
    }

    QString path() const { return m_home.path() + u"/feed"_s; }

    QByteArray gnustep(const QString &command, const QStringList &arguments = {})
    {
        ChildProgram child(QStringList{m_program, command, path()} + arguments);
        EXPECT_EQ(child.exitStatus(), 0);
        return child.output();
    }

    /*! The record that GNUstep writes. */
    std::shared_ptr<MBWSWUpdateInfo> written(const QStringList &fields)
    {
        gnustep(u"write"_s, fields);
        NSError error;
        const auto record = NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(readFile(path()),
                                                                                        &error);
        EXPECT_TRUE(record) << qPrintable(error.localizedDescription());
        return record;
    }

    /*! What GNUstep reads of a record. */
    QByteArray read(const MBWSWUpdateInfo &record)
    {
        writeFile(path(), NSKeyedArchiver::archivedDataWithRootObject(record));
        return gnustep(u"read"_s);
    }

private:
    const TemporaryHome m_home;
    const QString m_program = QCoreApplication::applicationDirPath() + u"/gnustep-archive"_s;
};

} // namespace

TEST_F(MBWSWUpdateInfoAndGNUstep, ReadsEveryFieldThatGNUstepWrites)
{
    const auto record = written(
        {u"productIdentifier"_s, u"example.cartographer"_s, u"productName"_s, u"Käfer 😀"_s,
         u"versionIdentifier"_s, u"-120"_s, u"versionString"_s, u"3.1"_s, u"directDownloadURL"_s,
         u"https://example.com/a%20b.tar.xz?c=d&e=%26#f"_s, u"productPageURL"_s, u"https://example.com"_s,
         u"updateInfoURL"_s, u"notes/3.1.html https://example.com/cartographer/"_s, u"appStoreURL"_s,
         u"appstream:example.cartographer"_s, u"systemVersion"_s, u"12.5"_s});
    ASSERT_TRUE(record);
    EXPECT_EQ(record->productIdentifier(), u"example.cartographer"_s);
    EXPECT_EQ(record->productName(), u"Käfer 😀"_s); // a mutable string
    EXPECT_EQ(record->versionIdentifier(), -120);
    EXPECT_EQ(record->versionString(), u"3.1"_s);
    EXPECT_EQ(record->directDownloadURL(), QUrl(u"https://example.com/a%20b.tar.xz?c=d&e=%26#f"_s));
    EXPECT_EQ(record->productPageURL(), QUrl(u"https://example.com"_s));
    EXPECT_EQ(record->updateInfoURL(), QUrl(u"https://example.com/cartographer/notes/3.1.html"_s));
    EXPECT_EQ(record->appStoreURL(), QUrl(u"appstream:example.cartographer"_s));
    EXPECT_EQ(record->systemVersion(), u"12.5"_s);
}

TEST_F(MBWSWUpdateInfoAndGNUstep, ReadsFieldsThatGNUstepWritesAsNil)
{
    const auto record = written({});
    ASSERT_TRUE(record);
    EXPECT_EQ(record->productName(), std::nullopt);
    EXPECT_EQ(record->updateInfoURL(), std::nullopt);
    EXPECT_EQ(record->versionIdentifier(), 0);
}

TEST_F(MBWSWUpdateInfoAndGNUstep, ReadsEveryVersionIdentifierThatGNUstepWrites)
{
    for (const char *number : {"0", "1", "255", "256", "65536", "4294967295", "4294967296", "-1",
                               "-4294967297", "9223372036854775807", "-9223372036854775808"}) {
        const auto record = written({u"versionIdentifier"_s, QString::fromLatin1(number)});
        ASSERT_TRUE(record);
        EXPECT_EQ(QByteArray::number(record->versionIdentifier()), number);
    }
}

TEST_F(MBWSWUpdateInfoAndGNUstep, WritesEveryFieldAsGNUstepReadsIt)
{
    MBWSWUpdateInfo record;
    record.setProductIdentifier(u"example.cartographer"_s);
    record.setProductName(u"Käfer 😀"_s);
    record.setVersionIdentifier(-120);
    record.setVersionString(u""_s);
    record.setDirectDownloadURL(QUrl(u"https://example.com/a%20b.tar.xz?c=d&e=%26#f"_s));
    record.setProductPageURL(QUrl(u"https://example.com"_s));
    record.setUpdateInfoURL(QUrl(u"https://example.com/ü?ö#ä"_s));
    record.setAppStoreURL(QUrl(u"appstream:example.cartographer"_s));
    record.setSystemVersion(u"12.5"_s);
    EXPECT_EQ(read(record), "appStoreURL\tURL\tappstream:example.cartographer\n"
                            "directDownloadURL\tURL\thttps://example.com/a%20b.tar.xz?c=d&e=%26#f\n"
                            "productIdentifier\tstring\texample.cartographer\n"
                            "productName\tstring\tKäfer 😀\n"
                            "productPageURL\tURL\thttps://example.com\n"
                            "systemVersion\tstring\t12.5\n"
                            "updateInfoURL\tURL\thttps://example.com/%C3%BC?%C3%B6#%C3%A4\n"
                            "versionIdentifier\tnumber\t-120\n"
                            "versionString\tstring\t\n");
}

TEST_F(MBWSWUpdateInfoAndGNUstep, WritesNilFieldsAsGNUstepReadsThem)
{
    EXPECT_EQ(read({}), "versionIdentifier\tnumber\t0\n");
}

TEST_F(MBWSWUpdateInfoAndGNUstep, WritesEveryVersionIdentifierAsGNUstepReadsIt)
{
    for (const qint64 number : {INT64_C(0), INT64_C(255), INT64_C(256), INT64_C(65536), INT64_C(1) << 32,
                                INT64_C(-1), INT64_MAX, INT64_MIN}) {
        MBWSWUpdateInfo record;
        record.setVersionIdentifier(number);
        EXPECT_EQ(read(record), "versionIdentifier\tnumber\t" + QByteArray::number(number) + '\n');
    }
}
