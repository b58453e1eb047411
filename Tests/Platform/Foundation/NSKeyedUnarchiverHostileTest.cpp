#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include "Tests/Platform/Foundation/ArchivedNote.h"
#include "Tests/Support/ArchiveBytes.h"
#include "Tests/Support/PeakMemory.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

std::shared_ptr<ArchivedNote> unarchived(const QByteArray &data)
{
    return NSKeyedUnarchiver::unarchivedObjectOfClass<ArchivedNote>(data);
}

/*! Why an archive is refused; empty where it is not. */
QString refusal(const QByteArray &data)
{
    NSError error;
    const auto note = NSKeyedUnarchiver::unarchivedObjectOfClass<ArchivedNote>(data, &error);
    EXPECT_EQ(note == nullptr, error.code() == 4864);
    return note ? QString() : error.localizedDescription();
}

const QString notBinary = u"It is not a property list in binary form."_s;
const QString notAnArchive = u"It is a property list, but not a keyed archive of the known version."_s;
const QString wrongRoot = u"Its root is not an object of the class Note."_s;
const QString noURL = u"Its field “link” is not a URL."_s;
const QString noString = u"Its field “title” is not a string."_s;
const QString repeats = u"It refers to the same objects over and over."_s;

QByteArray wholeNote()
{
    ArchivedNote note;
    note.title = u"Zürich"_s;
    note.link = QUrl(u"https://example.com/a?b#c"_s);
    note.number = -1;
    return NSKeyedArchiver::archivedDataWithRootObject(note);
}

quint32 addURL(ArchiveBytes &bytes, quint32 urlClass, const QString &relative, quint32 base)
{
    return bytes.addObject(urlClass, {{u"NS.base"_s, bytes.uid(base)},
                                      {u"NS.relative"_s, bytes.uid(bytes.add(bytes.string(relative)))}});
}

QByteArray noteWithLink(ArchiveBytes &bytes, quint32 uid)
{
    return bytes.archive(bytes.addObject(bytes.addClass(u"Note"_s), {{u"link"_s, bytes.uid(uid)}}));
}

QByteArray noteWithTitle(ArchiveBytes &bytes, ArchiveBytes::Object title)
{
    return bytes.archive(bytes.addObject(bytes.addClass(u"Note"_s), {{u"title"_s, title}}));
}

} // namespace

TEST(NSKeyedUnarchiverHostile, RefusesWhatIsNoPropertyList)
{
    for (const QByteArray &data :
         {QByteArray(), QByteArray("<html><body>404</body></html>"), QByteArray("{}"), QByteArray("bplist00"),
          QByteArray(40, '\0'), QByteArray(1 << 20, 'b')})
        EXPECT_EQ(refusal(data), notBinary) << data.left(20).constData();
}

TEST(NSKeyedUnarchiverHostile, RefusesAnArchiveThatBreaksOffAnywhere)
{
    const QByteArray data = wholeNote();
    ASSERT_EQ(refusal(data), QString());
    for (qsizetype length = 0; length < data.size(); ++length)
        EXPECT_NE(refusal(data.first(length)), QString()) << length;
}

TEST(NSKeyedUnarchiverHostile, RefusesAnArchiveWithBytesBehindOrInFrontOfIt)
{
    EXPECT_EQ(refusal(wholeNote() + '\0'), notBinary);
    EXPECT_EQ(refusal('\0' + wholeNote()), notBinary);
}

TEST(NSKeyedUnarchiverHostile, HasAnOutcomeForEveryOtherValueOfEveryByte)
{
    const QByteArray data = wholeNote();
    int readable = 0;
    for (qsizetype i = 0; i < data.size(); ++i) {
        for (int value = 0; value < 256; ++value) {
            QByteArray changed = data;
            changed[i] = static_cast<char>(value);
            readable += refusal(changed).isEmpty() ? 1 : 0;
        }
    }
    // Each byte's own value, and what changes only a letter of a text, a number or an unused byte.
    EXPECT_GT(readable, data.size());
    EXPECT_LT(readable, 256 * data.size() / 2);
}

TEST(NSKeyedUnarchiverHostile, RefusesATrailerThatContradictsTheBytes)
{
    const QByteArray data = wholeNote();
    const quint64 huge = ~quint64(0);
    for (const auto &[field, number] : {std::pair(TrailerField::OffsetSize, quint64(0)),
                                        {TrailerField::OffsetSize, 9},
                                        {TrailerField::OffsetSize, 8},
                                        {TrailerField::OffsetSize, 255},
                                        {TrailerField::ReferenceSize, 0},
                                        {TrailerField::ReferenceSize, 9},
                                        {TrailerField::Count, 0},
                                        {TrailerField::Count, 1},
                                        {TrailerField::Count, huge},
                                        {TrailerField::Count, huge / 8 + 2},
                                        {TrailerField::Top, huge},
                                        {TrailerField::Top, 1000},
                                        {TrailerField::Table, 0},
                                        {TrailerField::Table, 8},
                                        {TrailerField::Table, static_cast<quint64>(data.size())},
                                        {TrailerField::Table, huge},
                                        {TrailerField::Table, static_cast<quint64>(data.size()) - 32}})
        EXPECT_EQ(refusal(withTrailerField(data, field, number)), notBinary)
            << static_cast<int>(field) << ' ' << number;
}

TEST(NSKeyedUnarchiverHostile, RefusesReferencesTooNarrowForTheCountOfObjects)
{
    ArchiveBytes bytes;
    for (int i = 0; i < 300; ++i)
        bytes.raw("\x08");
    const QByteArray data = bytes.archive(bytes.addObject(bytes.addClass(u"Note"_s), {}));
    ASSERT_EQ(refusal(data), QString());
    EXPECT_EQ(refusal(withTrailerField(data, TrailerField::ReferenceSize, 1)), notBinary);
}

TEST(NSKeyedUnarchiverHostile, RefusesOffsetsOutsideTheObjects)
{
    ArchiveBytes bytes;
    const QByteArray data = bytes.archive(bytes.addObject(bytes.addClass(u"Note"_s), {}));
    const qsizetype table = data.size() - 32 - 8;
    for (const auto *offset :
         {"0000000000000000", "0000000000000007", "ffffffffffffffff", "0000000000ffffff"}) {
        QByteArray changed = data;
        changed.replace(table, 8, QByteArray::fromHex(offset));
        EXPECT_EQ(refusal(changed), notBinary) << offset;
    }
}

TEST(NSKeyedUnarchiverHostile, RefusesLengthsThatReachBeyondTheObjects)
{
    for (const auto *hex : {"5f10ff", "5f137fffffffffffffff", "5f13ffffffffffffffff", "6f11ffff", "5f14",
                            "5f20", "5f", "5fff", "6f1340000000000000ff", "af13200000000000000f"}) {
        ArchiveBytes bytes;
        const auto broken = bytes.raw(QByteArray::fromHex(hex));
        EXPECT_EQ(refusal(noteWithTitle(bytes, bytes.uid(bytes.add(broken)))), noString) << hex;
    }
}

TEST(NSKeyedUnarchiverHostile, RefusesAPropertyListThatIsNoArchive)
{
    ArchiveBytes list;
    EXPECT_EQ(refusal(list.list(list.array({list.string(u"NSKeyedArchiver"_s)}))), notAnArchive);
    ArchiveBytes empty;
    EXPECT_EQ(refusal(empty.list(empty.dictionary({}))), notAnArchive);
}

TEST(NSKeyedUnarchiverHostile, RefusesAnotherArchiverOrVersion)
{
    const auto note = [](ArchiveBytes &bytes) { return bytes.addObject(bytes.addClass(u"Note"_s), {}); };
    ArchiveBytes bytes;
    EXPECT_EQ(refusal(bytes.archive(note(bytes), u"NSArchiver"_s)), notAnArchive);
    EXPECT_EQ(refusal(bytes.archive(note(bytes), u"NSKeyedArchiver"_s, 99'999)), notAnArchive);
    EXPECT_EQ(refusal(bytes.archive(note(bytes), u"NSKeyedArchiver"_s, -100'000)), notAnArchive);
}

TEST(NSKeyedUnarchiverHostile, RefusesAnArchiveWithoutARoot)
{
    ArchiveBytes bytes;
    bytes.addObject(bytes.addClass(u"Note"_s), {});
    EXPECT_EQ(refusal(bytes.archive(0)), wrongRoot);
    const auto archiver = bytes.string(u"NSKeyedArchiver"_s);
    EXPECT_EQ(refusal(bytes.list(
                  bytes.dictionary({{u"$archiver"_s, archiver}, {u"$version"_s, bytes.integer(100'000)}}))),
              wrongRoot);
}

TEST(NSKeyedUnarchiverHostile, RefusesARootThatDoesNotExistOrIsNoObject)
{
    ArchiveBytes bytes;
    const quint32 text = bytes.add(bytes.string(u"Note"_s));
    EXPECT_EQ(refusal(bytes.archive(text)), wrongRoot);
    EXPECT_EQ(refusal(bytes.archive(text + 1)), wrongRoot);
    EXPECT_EQ(refusal(bytes.archive(0xffffffff)), wrongRoot);
}

TEST(NSKeyedUnarchiverHostile, RefusesARootOfAnotherClassWhateverItsSuperclassesAreSaidToBe)
{
    ArchiveBytes bytes;
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(bytes.addClass(u"Other"_s, u"Note"_s), {}))), wrongRoot);
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(bytes.addClass(u"NSObject"_s), {}))), wrongRoot);
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(bytes.addClass(u"note"_s), {}))), wrongRoot);
}

TEST(NSKeyedUnarchiverHostile, DoesNotNeedTheNamesOfSuperclasses)
{
    ArchiveBytes bytes;
    const quint32 renamed = bytes.add(bytes.dictionary({{u"$classname"_s, bytes.string(u"Note"_s)}}));
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(renamed, {}))), QString());
}

TEST(NSKeyedUnarchiverHostile, RefusesAClassThatIsNoClassDictionary)
{
    ArchiveBytes bytes;
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(0, {}))), wrongRoot);
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(99, {}))), wrongRoot);
    const quint32 text = bytes.add(bytes.string(u"Note"_s));
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(text, {}))), wrongRoot);
    const quint32 list = bytes.add(bytes.dictionary({{u"$classname"_s, bytes.array({})}}));
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(list, {}))), wrongRoot);
    const auto inPlace = bytes.dictionary({{u"$classname"_s, bytes.string(u"Note"_s)}});
    EXPECT_EQ(refusal(bytes.archive(bytes.add(bytes.dictionary({{u"$class"_s, inPlace}})))), wrongRoot);
}

TEST(NSKeyedUnarchiverHostile, RefusesAFieldThatRefersToNothing)
{
    for (const quint64 uid : {99ULL, 0xffffffffULL, 0x100000001ULL, ~0ULL}) {
        ArchiveBytes bytes;
        EXPECT_EQ(refusal(noteWithTitle(bytes, bytes.uid(uid, 8))), noString) << uid;
    }
}

TEST(NSKeyedUnarchiverHostile, ReadsReferencesOfEveryWidth)
{
    for (const int width : {1, 2, 4, 8}) {
        ArchiveBytes bytes;
        const quint32 text = bytes.add(bytes.string(u"text"_s));
        EXPECT_EQ(refusal(noteWithTitle(bytes, bytes.uid(text, width))), QString()) << width;
    }
}

TEST(NSKeyedUnarchiverHostile, RefusesAReferenceOutOfThePropertyList)
{
    ArchiveBytes bytes;
    const auto field = bytes.raw(QByteArray::fromHex("d1000000007fffffff")); // of the key "$null"
    const QByteArray data = bytes.archive(bytes.add(field));
    EXPECT_EQ(refusal(data), wrongRoot);
    ArchiveBytes title;
    EXPECT_EQ(refusal(noteWithTitle(title, 0x7fffffff)), noString);
    ArchiveBytes link;
    EXPECT_EQ(refusal(link.archive(link.addObject(link.addClass(u"Note"_s), {{u"link"_s, 0x7fffffff}}))),
              noURL);
}

TEST(NSKeyedUnarchiverHostile, RefusesAURLThatIsItsOwnBase)
{
    ArchiveBytes bytes;
    const quint32 urlClass = bytes.addClass(u"NSURL"_s);
    const quint32 own = bytes.add(bytes.boolean(false));
    const auto text = bytes.uid(bytes.add(bytes.string(u"a"_s)));
    bytes.replace(own, bytes.dictionary({{u"$class"_s, bytes.uid(urlClass)},
                                         {u"NS.base"_s, bytes.uid(own)},
                                         {u"NS.relative"_s, text}}));
    EXPECT_EQ(refusal(noteWithLink(bytes, own)), noURL);
}

TEST(NSKeyedUnarchiverHostile, RefusesAStringObjectThatHoldsItself)
{
    ArchiveBytes bytes;
    const quint32 stringClass = bytes.addClass(u"NSMutableString"_s);
    const quint32 own = bytes.add(bytes.boolean(false));
    bytes.replace(
        own, bytes.dictionary({{u"$class"_s, bytes.uid(stringClass)}, {u"NS.string"_s, bytes.uid(own)}}));
    EXPECT_EQ(refusal(noteWithTitle(bytes, bytes.uid(own))), noString);
}

TEST(NSKeyedUnarchiverHostile, ReadsSixteenTextsOfAURLAndNoMore)
{
    for (const int count : {16, 17}) {
        ArchiveBytes bytes;
        const quint32 urlClass = bytes.addClass(u"NSURL"_s);
        quint32 url = 0;
        for (int i = 0; i < count; ++i)
            url = addURL(bytes, urlClass, i == 0 ? u"https://example.com"_s : u"a"_s, url);
        EXPECT_EQ(refusal(noteWithLink(bytes, url)), count == 16 ? QString() : noURL);
    }
}

TEST(NSKeyedUnarchiverHostile, RefusesAHundredThousandBases)
{
    ArchiveBytes bytes;
    const quint32 urlClass = bytes.addClass(u"NSURL"_s);
    quint32 url = 0;
    for (int i = 0; i < 100'000; ++i)
        url = addURL(bytes, urlClass, u"a"_s, url);
    EXPECT_EQ(refusal(noteWithLink(bytes, url)), noURL);
}

TEST(NSKeyedUnarchiverHostile, IsNotImpressedByAHundredThousandNestedContainers)
{
    ArchiveBytes bytes;
    ArchiveBytes::Object nested = bytes.array({});
    for (int i = 0; i < 100'000; ++i)
        nested = i % 2 == 0 ? bytes.array({nested}) : bytes.dictionary({{u"k"_s, nested}});
    EXPECT_EQ(refusal(noteWithTitle(bytes, nested)), noString);
    EXPECT_EQ(refusal(bytes.list(nested)), notAnArchive);
    EXPECT_EQ(refusal(bytes.archive(bytes.addObject(bytes.addClass(u"Note"_s), {{u"other"_s, nested}}))),
              QString());
}

TEST(NSKeyedUnarchiverHostile, IsNotImpressedByContainersThatHoldThemselves)
{
    ArchiveBytes bytes;
    const ArchiveBytes::Object next = bytes.array({}) + 1;
    const auto own = bytes.array({next});
    ASSERT_EQ(own, next);
    EXPECT_EQ(refusal(noteWithTitle(bytes, own)), noString);
    EXPECT_EQ(refusal(bytes.list(own)), notAnArchive);
}

TEST(NSKeyedUnarchiverHostile, NeedsLittleMemoryForSharedReferencesThatMultiply)
{
    // Forty arrays, each of which holds the one before it ten times.
    ArchiveBytes bytes;
    ArchiveBytes::Object array = bytes.array({});
    for (int i = 0; i < 40; ++i)
        array = bytes.array(std::vector(10, array));
    const QByteArray data = noteWithTitle(bytes, bytes.uid(bytes.add(array)));
    EXPECT_LT(peakMemoryAddedBy([&] { EXPECT_EQ(refusal(data), noString); }), 1024 * 1024);
}

TEST(NSKeyedUnarchiverHostile, RefusesTextsThatAreSharedToBeReadOverAndOver)
{
    // Twelve bases that share one text.
    ArchiveBytes bytes;
    const quint32 urlClass = bytes.addClass(u"NSURL"_s);
    const auto text = bytes.uid(bytes.add(bytes.string(QString(1'000'000, u'a'))));
    quint32 url = 0;
    for (int i = 0; i < 12; ++i)
        url = bytes.addObject(urlClass, {{u"NS.base"_s, bytes.uid(url)}, {u"NS.relative"_s, text}});
    EXPECT_EQ(refusal(noteWithLink(bytes, url)), repeats);
}

TEST(NSKeyedUnarchiverHostile, ReadsAStringOfAMegabyteInAnyFieldInLittleMemory)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "The address sanitizer keeps what was freed.";
#endif
    ArchiveBytes bytes;
    const quint32 urlClass = bytes.addClass(u"NSURL"_s);
    const quint32 link = addURL(bytes, urlClass, u"https://example.com/"_s + QString(1'000'000, u'a'), 0);
    const auto title = bytes.uid(bytes.add(bytes.string(QString(1'000'000, u'é'))));
    const QByteArray data = bytes.archive(
        bytes.addObject(bytes.addClass(u"Note"_s), {{u"title"_s, title}, {u"link"_s, bytes.uid(link)}}));
    std::shared_ptr<ArchivedNote> note;
    EXPECT_LT(peakMemoryAddedBy([&] { note = unarchived(data); }), 6 * data.size());
    ASSERT_TRUE(note);
    EXPECT_EQ(note->title->size(), 1'000'000);
    EXPECT_EQ(note->link->path().size(), 1'000'001);
}

TEST(NSKeyedUnarchiverHostile, ComparesAMillionKeysInLinearTime)
{
    // Of each key the length is that of no key asked for, or its first letter another.
    const auto milliseconds = [](int count, const QString &key) {
        ArchiveBytes bytes;
        const auto keyObject = bytes.string(key);
        QByteArray references;
        for (int i = 0; i < 2 * count; ++i)
            references += QByteArray::fromHex("000000") + static_cast<char>(keyObject);
        const auto fields = bytes.raw(
            QByteArray::fromHex("df12")
            + QByteArray::fromHex(QByteArray::number(count, 16).rightJustified(8, '0')) + references);
        const QByteArray data = bytes.archive(bytes.add(fields));
        QElapsedTimer timer;
        timer.start();
        EXPECT_EQ(refusal(data), wrongRoot);
        return timer.elapsed();
    };
    EXPECT_LT(milliseconds(1'000'000, QString(1'000'000, u'é')), 2000);
    EXPECT_LT(milliseconds(1'000'000, u"xclass"_s), 2000);
}
