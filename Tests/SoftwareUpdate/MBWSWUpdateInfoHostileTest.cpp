#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include "Tests/Support/ArchiveBytes.h"
#include "Tests/Support/PeakMemory.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDirIterator>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

std::shared_ptr<MBWSWUpdateInfo> decoded(const QByteArray &feed, NSError *error = nullptr)
{
    return NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(feed, error);
}

/*! A feed that is whole but for one field, which has the value given. */
QByteArray feed(ArchiveBytes &bytes, const QString &odd, std::optional<ArchiveBytes::Object> value)
{
    const quint32 urlClass = bytes.addClass(u"NSURL"_s);
    const auto text = bytes.uid(bytes.add(bytes.string(u"https://example.com/"_s)));
    const auto url = bytes.uid(
        bytes.addObject(urlClass, {{u"NS.base"_s, bytes.uid(0)}, {u"NS.relative"_s, text}}));
    ArchiveBytes::Entries fields;
    for (const auto *key : {u"productIdentifier", u"productName", u"versionString", u"systemVersion",
                            u"directDownloadURL", u"productPageURL", u"updateInfoURL", u"appStoreURL"})
        fields.emplace_back(QString::fromUtf16(key), QStringView(key).endsWith(u"URL") ? url : text);
    fields.emplace_back(u"versionIdentifier"_s, bytes.integer(120));
    std::erase_if(fields, [&](const auto &field) { return field.first == odd; });
    if (value)
        fields.emplace_back(odd, *value);
    return bytes.archive(bytes.addObject(bytes.addClass(u"MBWSWUpdateInfo"_s), fields));
}

const QStringList strings{u"productIdentifier"_s, u"productName"_s, u"versionString"_s, u"systemVersion"_s};
const QStringList urls{u"directDownloadURL"_s, u"productPageURL"_s, u"updateInfoURL"_s, u"appStoreURL"_s};

} // namespace

TEST(MBWSWUpdateInfoHostile, DecodesWithoutAnyOfItsFields)
{
    for (const QString &key : strings + urls + QStringList(u"versionIdentifier"_s)) {
        ArchiveBytes bytes;
        EXPECT_TRUE(decoded(feed(bytes, key, std::nullopt))) << key.toStdString();
    }
}

TEST(MBWSWUpdateInfoHostile, HasTheVersionIdentifierZeroWithoutOne)
{
    ArchiveBytes bytes;
    const auto record = decoded(feed(bytes, u"versionIdentifier"_s, std::nullopt));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->versionIdentifier(), 0);
    EXPECT_EQ(record->productName(), u"https://example.com/"_s);
}

TEST(MBWSWUpdateInfoHostile, DoesNotDecodeWithAFieldOfAnotherClass)
{
    const auto isRefusedWith = [](const QString &key, auto make) {
        ArchiveBytes bytes;
        NSError error;
        const auto record = decoded(feed(bytes, key, make(bytes)), &error);
        EXPECT_TRUE(error.localizedDescription().contains(u'“' + key + u'”')) << key.toStdString();
        return record == nullptr && error.code() == 4864;
    };
    const auto number = [](ArchiveBytes &bytes) { return bytes.uid(bytes.add(bytes.integer(1))); };
    const auto text = [](ArchiveBytes &bytes) { return bytes.uid(bytes.add(bytes.string(u"text"_s))); };
    const auto array = [](ArchiveBytes &bytes) {
        return bytes.uid(bytes.addObject(bytes.addClass(u"NSArray"_s), {{u"NS.objects"_s, bytes.array({})}}));
    };
    const auto url = [](ArchiveBytes &bytes) {
        const auto relative = bytes.uid(bytes.add(bytes.string(u"https://example.com/"_s)));
        return bytes.uid(bytes.addObject(bytes.addClass(u"NSURL"_s), {{u"NS.relative"_s, relative}}));
    };
    for (const QString &key : strings) {
        EXPECT_TRUE(isRefusedWith(key, number)) << key.toStdString();
        EXPECT_TRUE(isRefusedWith(key, array)) << key.toStdString();
        EXPECT_TRUE(isRefusedWith(key, url)) << key.toStdString();
    }
    for (const QString &key : urls) {
        EXPECT_TRUE(isRefusedWith(key, number)) << key.toStdString();
        EXPECT_TRUE(isRefusedWith(key, array)) << key.toStdString();
        EXPECT_TRUE(isRefusedWith(key, text)) << key.toStdString();
    }
    EXPECT_TRUE(isRefusedWith(u"versionIdentifier"_s, text));
    EXPECT_TRUE(isRefusedWith(u"versionIdentifier"_s, array));
}

TEST(MBWSWUpdateInfoHostile, KeepsEveryURLWhateverItsScheme)
{
    for (const QString &key : urls) {
        for (const QString &text :
             {u"javascript:alert(1)"_s, u"data:text/html,x"_s, u"file:///etc/passwd"_s}) {
            ArchiveBytes bytes;
            const auto relative = bytes.uid(bytes.add(bytes.string(text)));
            const auto url = bytes.addObject(bytes.addClass(u"NSURL"_s), {{u"NS.relative"_s, relative}});
            const auto record = decoded(feed(bytes, key, bytes.uid(url)));
            ASSERT_TRUE(record);
            const QList<std::optional<QUrl>> read{record->directDownloadURL(), record->productPageURL(),
                                                  record->updateInfoURL(), record->appStoreURL()};
            EXPECT_EQ(read[urls.indexOf(key)], QUrl(text));
        }
    }
}

TEST(MBWSWUpdateInfoHostile, DecodesWithAStringOfAMegabyteInEveryField)
{
    for (const QString &key : strings) {
        ArchiveBytes bytes;
        const auto record = decoded(
            feed(bytes, key, bytes.uid(bytes.add(bytes.string(QString(1 << 20, u'9'))))));
        ASSERT_TRUE(record);
        EXPECT_TRUE(record->isOperatingSystemVersionCompatible()); // It has no dot.
        const QList<std::optional<QString>> read{record->productIdentifier(), record->productName(),
                                                 record->versionString(), record->systemVersion()};
        EXPECT_EQ(read[strings.indexOf(key)]->size(), 1 << 20);
    }
}

TEST(MBWSWUpdateInfoHostile, ComparesASystemVersionOfAMegabyte)
{
    MBWSWUpdateInfo record;
    record.setSystemVersion(u"0."_s + QString(1 << 20, u'9'));
    EXPECT_TRUE(record.isOperatingSystemVersionCompatible());
    record.setSystemVersion(QString(1 << 20, u'9') + u".0"_s);
    EXPECT_FALSE(record.isOperatingSystemVersionCompatible());
    record.setSystemVersion(u"0.0"_s + u".9"_s.repeated(1 << 19));
    EXPECT_TRUE(record.isOperatingSystemVersionCompatible());
}

TEST(MBWSWUpdateInfoHostile, DecodesWhereAllStringsAndURLsShareOneLongText)
{
    ArchiveBytes bytes;
    const auto text = bytes.uid(bytes.add(bytes.string(u"https://example.com/"_s + QString(1 << 20, u'a'))));
    const auto url = bytes.uid(bytes.addObject(bytes.addClass(u"NSURL"_s), {{u"NS.relative"_s, text}}));
    ArchiveBytes::Entries fields;
    for (const QString &key : strings)
        fields.emplace_back(key, text);
    for (const QString &key : urls)
        fields.emplace_back(key, url);
    const QByteArray feed = bytes.archive(bytes.addObject(bytes.addClass(u"MBWSWUpdateInfo"_s), fields));
    std::shared_ptr<MBWSWUpdateInfo> record;
    EXPECT_LT(peakMemoryAddedBy([&] { record = decoded(feed); }), 32 * feed.size());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->appStoreURL()->path().size(), (1 << 20) + 1);
}

TEST(MBWSWUpdateInfoHostile, DoesNotDecodeWhereTheFeedBreaksOffAnywhere)
{
    const QByteArray whole = readFile(
        QStringLiteral(MARBLEWICK_FUZZ_CORPUS "/keyed-archive/whole-record.feed"));
    ASSERT_TRUE(decoded(whole));
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(decoded(whole.first(length))) << length;
}

TEST(MBWSWUpdateInfoHostile, HasAnOutcomeForEveryBitThatIsFlipped)
{
    const QByteArray whole = readFile(
        QStringLiteral(MARBLEWICK_FUZZ_CORPUS "/keyed-archive/whole-record.feed"));
    for (qsizetype bit = 0; bit < 8 * whole.size(); ++bit) {
        QByteArray changed = whole;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << (bit % 8)));
        NSError error;
        const auto record = decoded(changed, &error);
        EXPECT_EQ(record == nullptr, error.code() == 4864) << bit;
        EXPECT_EQ(record == nullptr, !error.localizedDescription().startsWith(u"The operation")) << bit;
    }
}

TEST(MBWSWUpdateInfoHostile, HasAnOutcomeForEveryFileOfTheCorpus)
{
    int count = 0;
    QDirIterator files(QStringLiteral(MARBLEWICK_FUZZ_CORPUS "/keyed-archive"), QDir::Files);
    for (; files.hasNext(); ++count) {
        NSError error;
        const auto record = decoded(readFile(files.next()), &error);
        EXPECT_EQ(record == nullptr, error.code() == 4864) << files.filePath().toStdString();
    }
    EXPECT_GT(count, 5);
}
