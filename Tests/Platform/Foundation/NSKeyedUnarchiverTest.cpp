#include <Marblewick/NSException.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include "Tests/Platform/Foundation/ArchivedNote.h"
#include "Tests/Support/ArchiveBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

std::shared_ptr<ArchivedNote> unarchived(const QByteArray &data, NSError *error = nullptr)
{
    return NSKeyedUnarchiver::unarchivedObjectOfClass<ArchivedNote>(data, error);
}

std::shared_ptr<ArchivedNote> unarchivedAgain(const ArchivedNote &note)
{
    return unarchived(NSKeyedArchiver::archivedDataWithRootObject(note));
}

/*! The archive of a note with one field, made by hand. */
QByteArray archive(ArchiveBytes &bytes, QLatin1StringView key, ArchiveBytes::Object value)
{
    return bytes.archive(bytes.addObject(bytes.addClass(u"Note"_s), {{key, value}}));
}

std::optional<qint64> numberStoredAs(ArchiveBytes &bytes, ArchiveBytes::Object value)
{
    const auto note = unarchived(archive(bytes, ArchivedNote::numberKey, value));
    return note ? std::optional(note->number) : std::nullopt;
}

std::shared_ptr<ArchivedNote> withTitle(ArchiveBytes &bytes, ArchiveBytes::Object title)
{
    return unarchived(archive(bytes, ArchivedNote::titleKey, title));
}

std::shared_ptr<ArchivedNote> withLink(ArchiveBytes &bytes, quint32 linkUID)
{
    return unarchived(archive(bytes, ArchivedNote::linkKey, bytes.uid(linkUID)));
}

/*! Adds a URL object and returns its UID. */
quint32 addURL(ArchiveBytes &bytes, const QString &relative, quint32 base = 0)
{
    return bytes.addObject(
        bytes.addClass(u"NSURL"_s),
        {{u"NS.base"_s, bytes.uid(base)}, {u"NS.relative"_s, bytes.uid(bytes.add(bytes.string(relative)))}});
}

} // namespace

TEST(NSKeyedUnarchiver, ReadsWhatTheArchiverWrote)
{
    ArchivedNote note;
    note.title = u"Zürich 😀"_s;
    note.link = QUrl(u"https://example.com/a%20b?c=d&e=%26#f"_s);
    note.number = -120;
    note.dollar = 7;
    const auto again = unarchivedAgain(note);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->title, note.title);
    EXPECT_EQ(again->link, note.link);
    EXPECT_EQ(again->number, -120);
    EXPECT_EQ(again->dollar, 7);
}

TEST(NSKeyedUnarchiver, ReadsFieldsThatWereNilAsNil)
{
    const auto again = unarchivedAgain({});
    ASSERT_TRUE(again);
    EXPECT_EQ(again->title, std::nullopt);
    EXPECT_EQ(again->link, std::nullopt);
    EXPECT_EQ(again->number, 0);
}

TEST(NSKeyedUnarchiver, TellsAnEmptyStringFromNil)
{
    ArchivedNote note;
    note.title = QString();
    const auto again = unarchivedAgain(note);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->title, QString());
}

TEST(NSKeyedUnarchiver, ReadsEveryIntegerOfSixtyFourBits)
{
    for (const qint64 number :
         {0LL, 1LL, -1LL, 127LL, 128LL, 255LL, 256LL, -256LL, 65535LL, 65536LL, 0x7fffffffLL, 0x80000000LL,
          0xffffffffLL, 0x100000000LL, -0x80000000LL, std::numeric_limits<long long>::max(),
          std::numeric_limits<long long>::min()}) {
        ArchivedNote note;
        note.number = number;
        const auto again = unarchivedAgain(note);
        ASSERT_TRUE(again) << number;
        EXPECT_EQ(again->number, number);
    }
}

TEST(NSKeyedUnarchiver, TakesShortIntegersForUnsignedAndLongOnesForSigned)
{
    for (const auto &[number, width, expected] : {std::tuple(-1LL, 1, 0xffLL),
                                                  {-1LL, 2, 0xffffLL},
                                                  {-1LL, 4, 0xffffffffLL},
                                                  {-1LL, 8, -1LL},
                                                  {-1LL, 16, -1LL},
                                                  {5LL, 16, 5LL},
                                                  {5LL, 8, 5LL}}) {
        ArchiveBytes bytes;
        EXPECT_EQ(numberStoredAs(bytes, bytes.integer(number, width)), expected) << width;
    }
}

TEST(NSKeyedUnarchiver, RefusesIntegersBeyondSixtyFourBits)
{
    for (const char *hex : {"1400000000000000008000000000000000", "1400000000000000010000000000000000",
                            "14ffffffffffffffff7fffffffffffffff"}) {
        ArchiveBytes bytes;
        EXPECT_EQ(numberStoredAs(bytes, bytes.raw(QByteArray::fromHex(hex))), std::nullopt) << hex;
    }
}

TEST(NSKeyedUnarchiver, ReadsABooleanAsOneOrZero)
{
    ArchiveBytes yes;
    EXPECT_EQ(numberStoredAs(yes, yes.boolean(true)), 1);
    ArchiveBytes no;
    EXPECT_EQ(numberStoredAs(no, no.boolean(false)), 0);
}

TEST(NSKeyedUnarchiver, ReadsTheReferenceToNilAsZero)
{
    ArchiveBytes bytes;
    EXPECT_EQ(numberStoredAs(bytes, bytes.uid(0)), 0);
}

TEST(NSKeyedUnarchiver, RefusesWhatIsNoIntegerWhereOneIsRead)
{
    ArchiveBytes real;
    EXPECT_EQ(numberStoredAs(real, real.real(120)), std::nullopt);
    ArchiveBytes string;
    EXPECT_EQ(numberStoredAs(string, string.string(u"120"_s)), std::nullopt);
    ArchiveBytes data;
    EXPECT_EQ(numberStoredAs(data, data.raw("\x41x")), std::nullopt);
    ArchiveBytes array;
    EXPECT_EQ(numberStoredAs(array, array.array({})), std::nullopt);
    ArchiveBytes reference;
    EXPECT_EQ(numberStoredAs(reference, reference.uid(reference.add(reference.integer(120)))), std::nullopt);
    ArchiveBytes dangling;
    EXPECT_EQ(numberStoredAs(dangling, dangling.uid(99)), std::nullopt);
}

TEST(NSKeyedUnarchiver, ReadsAStringThatStandsByItself)
{
    ArchiveBytes bytes;
    const auto note = withTitle(bytes, bytes.uid(bytes.add(bytes.string(u"Zürich"_s))));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->title, u"Zürich"_s);
}

TEST(NSKeyedUnarchiver, ReadsAMutableStringWhereAStringIsAskedFor)
{
    ArchiveBytes inlined;
    quint32 stringClass = inlined.addClass(u"NSMutableString"_s, u"NSString"_s);
    auto note = withTitle(inlined, inlined.uid(inlined.addObject(
                                       stringClass, {{u"NS.string"_s, inlined.string(u"mutable"_s)}})));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->title, u"mutable"_s);

    ArchiveBytes referred;
    stringClass = referred.addClass(u"NSString"_s);
    const auto text = referred.uid(referred.add(referred.string(u"text"_s)));
    note = withTitle(referred, referred.uid(referred.addObject(stringClass, {{u"NS.string"_s, text}})));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->title, u"text"_s);
}

TEST(NSKeyedUnarchiver, ReadsTheReferenceToNilAsANilObject)
{
    ArchiveBytes bytes;
    const auto note = withTitle(bytes, bytes.uid(0));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->title, std::nullopt);
}

TEST(NSKeyedUnarchiver, RefusesALeafOfAnotherTypeWhereAStringIsAskedFor)
{
    const auto refuses = [](auto make) {
        ArchiveBytes bytes;
        return withTitle(bytes, bytes.uid(bytes.add(make(bytes)))) == nullptr;
    };
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) { return bytes.integer(1); }));
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) { return bytes.boolean(true); }));
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) { return bytes.real(1); }));
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) { return bytes.raw("\x41x"); })); // data
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) {
        return bytes.raw("\x33"
                         "abcdefgh");
    })); // a date
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) { return bytes.array({}); }));
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) { return bytes.dictionary({}); }));
    EXPECT_TRUE(refuses([](ArchiveBytes &bytes) { return bytes.raw("\x51\xff"); })); // not ASCII
}

TEST(NSKeyedUnarchiver, RefusesAStringThatIsNotReferredTo)
{
    ArchiveBytes bytes;
    EXPECT_EQ(withTitle(bytes, bytes.string(u"in place"_s)), nullptr);
}

TEST(NSKeyedUnarchiver, RefusesAURLWhereAStringIsAskedForAndTheOtherWayRound)
{
    ArchiveBytes url;
    EXPECT_EQ(withTitle(url, url.uid(addURL(url, u"https://example.com"_s))), nullptr);
    ArchiveBytes string;
    EXPECT_EQ(withLink(string, string.add(string.string(u"https://example.com"_s))), nullptr);
}

TEST(NSKeyedUnarchiver, ResolvesAURLAgainstItsBases)
{
    ArchiveBytes bytes;
    const quint32 host = addURL(bytes, u"https://example.com/a/b"_s);
    const quint32 folder = addURL(bytes, u"c/d"_s, host);
    const auto note = withLink(bytes, addURL(bytes, u"../e?f"_s, folder));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->link, QUrl(u"https://example.com/a/e?f"_s));
}

TEST(NSKeyedUnarchiver, TakesTheBaseForAURLWithAnEmptyRelativeString)
{
    ArchiveBytes bytes;
    const auto note = withLink(bytes, addURL(bytes, {}, addURL(bytes, u"https://example.com/a"_s)));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->link, QUrl(u"https://example.com/a"_s));
}

TEST(NSKeyedUnarchiver, ReadsAURLWithoutAKeyForItsBase)
{
    ArchiveBytes bytes;
    const auto text = bytes.uid(bytes.add(bytes.string(u"mailto:me@example.com"_s)));
    const auto note = withLink(bytes,
                               bytes.addObject(bytes.addClass(u"NSURL"_s), {{u"NS.relative"_s, text}}));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->link, QUrl(u"mailto:me@example.com"_s));
}

TEST(NSKeyedUnarchiver, ReadsATextThatIsNoURLAsANilURL)
{
    for (const auto *text : {u"", u"https://exa mple.com/", u"https://example.com:99999/", u"%"}) {
        ArchiveBytes bytes;
        const auto note = withLink(bytes, addURL(bytes, QString::fromUtf16(text)));
        ASSERT_TRUE(note);
        EXPECT_EQ(note->link, std::nullopt);
    }
}

TEST(NSKeyedUnarchiver, ReadsURLsOfEveryScheme)
{
    for (const auto *text :
         {u"javascript:alert(1)", u"data:text/plain,x", u"file:///etc/passwd", u"snap:atlas"}) {
        ArchiveBytes bytes;
        const auto note = withLink(bytes, addURL(bytes, QString::fromUtf16(text)));
        ASSERT_TRUE(note);
        EXPECT_EQ(note->link, QUrl(QString::fromUtf16(text)));
    }
}

TEST(NSKeyedUnarchiver, RefusesAURLWithoutARelativeStringOrWithOneOfAnotherType)
{
    ArchiveBytes missing;
    EXPECT_EQ(withLink(missing, missing.addObject(missing.addClass(u"NSURL"_s), {})), nullptr);
    ArchiveBytes nil;
    EXPECT_EQ(withLink(nil, nil.addObject(nil.addClass(u"NSURL"_s), {{u"NS.relative"_s, nil.uid(0)}})),
              nullptr);
    ArchiveBytes number;
    const auto seven = number.uid(number.add(number.integer(7)));
    EXPECT_EQ(withLink(number, number.addObject(number.addClass(u"NSURL"_s), {{u"NS.relative"_s, seven}})),
              nullptr);
    ArchiveBytes base;
    const auto text = base.uid(base.add(base.string(u"a"_s)));
    EXPECT_EQ(withLink(base, base.addObject(base.addClass(u"NSURL"_s),
                                            {{u"NS.relative"_s, text}, {u"NS.base"_s, base.string(u"b"_s)}})),
              nullptr);
}

TEST(NSKeyedUnarchiver, AddsADollarToAKeyThatBeginsWithOne)
{
    ArchiveBytes bytes;
    const auto note = unarchived(archive(bytes, "$$class"_L1, bytes.integer(5)));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->dollar, 5);
}

TEST(NSKeyedUnarchiver, ReadsFieldsInWhateverOrderTheyAreStored)
{
    ArchiveBytes bytes;
    const quint32 link = addURL(bytes, u"https://example.com/"_s);
    const quint32 noteClass = bytes.addClass(u"Note"_s);
    ArchiveBytes::Entries fields = {{u"$$class"_s, bytes.integer(7)},
                                    {u"link"_s, bytes.uid(link)},
                                    {u"number"_s, bytes.integer(-120)},
                                    {u"title"_s, bytes.uid(bytes.add(bytes.string(u"A title"_s)))}};
    do {
        const auto note = unarchived(bytes.archive(bytes.addObject(noteClass, fields)));
        ASSERT_TRUE(note);
        EXPECT_EQ(note->title, u"A title"_s);
        EXPECT_EQ(note->link, QUrl(u"https://example.com/"_s));
        EXPECT_EQ(note->number, -120);
        EXPECT_EQ(note->dollar, 7);
    } while (std::ranges::next_permutation(fields).found);
}

TEST(NSKeyedUnarchiver, IgnoresKeysThatNobodyAsksFor)
{
    ArchiveBytes bytes;
    EXPECT_TRUE(unarchived(archive(bytes, "other"_L1, bytes.uid(99))));
}

TEST(NSKeyedUnarchiver, FailsWithCodeFourThousandEightHundredAndSixtyFourAndTheReason)
{
    NSError error;
    EXPECT_EQ(unarchived("<html>", &error), nullptr);
    EXPECT_EQ(error.domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error.code(), 4864);
    EXPECT_EQ(error.localizedDescription(), u"It is not a property list in binary form."_s);

    ArchiveBytes bytes;
    EXPECT_EQ(unarchived(archive(bytes, ArchivedNote::titleKey, bytes.integer(1)), &error), nullptr);
    EXPECT_EQ(error.code(), 4864);
    EXPECT_EQ(error.localizedDescription(), u"Its field “title” is not a string."_s);
}

TEST(NSKeyedUnarchiver, LeavesTheErrorAloneWhereItSucceeds)
{
    NSError error(u"untouched"_s, 1);
    EXPECT_TRUE(unarchived(NSKeyedArchiver::archivedDataWithRootObject(ArchivedNote()), &error));
    EXPECT_EQ(error.domain(), u"untouched"_s);
}

namespace {

struct Encoding : ArchivedNote
{
    using ArchivedNote::ArchivedNote;
    explicit Encoding(NSCoder &coder) { coder.encodeInteger(1, numberKey); }
};

struct Decoding : ArchivedNote
{
    using ArchivedNote::ArchivedNote;
    void encodeWithCoder(NSCoder &coder) const { coder.decodeIntegerForKey(numberKey); }
};

} // namespace

TEST(NSKeyedUnarchiver, DoesNotEncode)
{
    const QByteArray data = NSKeyedArchiver::archivedDataWithRootObject(ArchivedNote());
    EXPECT_THROW(NSKeyedUnarchiver::unarchivedObjectOfClass<Encoding>(data), NSException);
}

TEST(NSKeyedArchiver, DoesNotDecode)
{
    EXPECT_THROW(NSKeyedArchiver::archivedDataWithRootObject(Decoding()), NSException);
}
