#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/NSKeyedArchiver.h>
#include <Marblewick/NSKeyedUnarchiver.h>

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"
#include "Tests/Tools/MarblewickCommand.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class FeedCommand : public MarblewickCommand
{
protected:
    /*! What `marblewick feed create` complains about for a JSON file, of which it makes no feed. */
    std::string refusal(const QByteArray &json)
    {
        writeFile(filePath(u"in.json"_s), json);
        const Result result = run(u"marblewick feed create in.json out && echo made; test ! -e out"_s);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output, "");
        return result.errors;
    }

    /*! The same where one member is added to a record that is right. */
    std::string refusalOfMember(const QByteArray &member)
    {
        return refusal("{\"versionIdentifier\": 120, " + member + '}');
    }

    std::shared_ptr<MBWSWUpdateInfo> created(const QByteArray &json)
    {
        writeFile(filePath(u"in.json"_s), json);
        EXPECT_EQ(output(u"marblewick feed create in.json out"_s), "");
        return NSKeyedUnarchiver::unarchivedObjectOfClass<MBWSWUpdateInfo>(readFile(filePath(u"out"_s)));
    }
};

const QByteArray wholeRecord = R"({
    "appStoreURL": "appstream:example.cartographer",
    "directDownloadURL": "https://example.com/cartographer%203.1.tar.xz",
    "productIdentifier": "example.cartographer",
    "productName": "Cartographer – für Zürich",
    "productPageURL": "https://example.com/cartographer",
    "systemVersion": "12.5",
    "updateInfoURL": "http://example.com/notes?version=3.1#new",
    "versionIdentifier": 120,
    "versionString": "3.1"
}
)";

} // namespace

TEST_F(FeedCommand, CreatesTheFeedOfARecord)
{
    const auto record = created(wholeRecord);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->productIdentifier(), u"example.cartographer"_s);
    EXPECT_EQ(record->productName(), u"Cartographer – für Zürich"_s);
    EXPECT_EQ(record->versionIdentifier(), 120);
    EXPECT_EQ(record->versionString(), u"3.1"_s);
    EXPECT_EQ(record->directDownloadURL(), QUrl(u"https://example.com/cartographer%203.1.tar.xz"_s));
    EXPECT_EQ(record->productPageURL(), QUrl(u"https://example.com/cartographer"_s));
    EXPECT_EQ(record->updateInfoURL(), QUrl(u"http://example.com/notes?version=3.1#new"_s));
    EXPECT_EQ(record->appStoreURL(), QUrl(u"appstream:example.cartographer"_s));
    EXPECT_EQ(record->systemVersion(), u"12.5"_s);
}

TEST_F(FeedCommand, CreatesAFeedOfAVersionIdentifierAloneWithNilForTheRest)
{
    const auto record = created(R"({"versionIdentifier": 1, "productName": null, "updateInfoURL": null})");
    ASSERT_TRUE(record);
    EXPECT_EQ(record->versionIdentifier(), 1);
    EXPECT_EQ(record->productName(), std::nullopt);
    EXPECT_EQ(record->updateInfoURL(), std::nullopt);
    EXPECT_EQ(record->systemVersion(), std::nullopt);
}

TEST_F(FeedCommand, TakesEveryIntegerOfSixtyFourBits)
{
    for (const QByteArray number : {"0", "-1", "9223372036854775807", "-9223372036854775808"}) {
        const auto record = created("{\"versionIdentifier\": " + number + '}');
        ASSERT_TRUE(record);
        EXPECT_EQ(QByteArray::number(record->versionIdentifier()), number);
    }
}

TEST_F(FeedCommand, ShowsJSONOfWhichItCreatesTheSameFeed)
{
    writeFile(filePath(u"in.json"_s), wholeRecord);
    EXPECT_EQ(output(u"marblewick feed create in.json a && marblewick feed show --json a"_s),
              wholeRecord.toStdString());
    EXPECT_EQ(output(u"marblewick feed show a --json | marblewick feed create - - | cmp - a"_s), "");
}

TEST_F(FeedCommand, ShowsALineForEveryField)
{
    writeFile(
        filePath(u"in.json"_s),
        R"({"versionIdentifier": -5, "productName": "two\nlines", "productPageURL": "https://example.com/%20"})");
    EXPECT_EQ(output(u"marblewick feed create in.json - | marblewick feed show -"_s),
              "productIdentifier  (none)\n"
              "productName        two\\nlines\n"
              "versionIdentifier  -5\n"
              "versionString      (none)\n"
              "directDownloadURL  (none)\n"
              "productPageURL     https://example.com/%20\n"
              "updateInfoURL      (none)\n"
              "appStoreURL        (none)\n"
              "systemVersion      (none)\n");
}

TEST_F(FeedCommand, SaysWhyAFileIsNoFeed)
{
    writeFile(filePath(u"page.html"_s), "<html>404</html>");
    const Result result = run(u"marblewick feed show page.html"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "marblewick: page.html: no feed. It is not a property list in binary form.\n");
}

TEST_F(FeedCommand, SaysWhichFieldOfAFeedHasAnotherClass)
{
    struct OtherRecord : MBWSWUpdateInfo
    {
        using MBWSWUpdateInfo::MBWSWUpdateInfo;
        void encodeWithCoder(NSCoder &coder) const { coder.encodeInteger(1, "productName"_L1); }
    };
    writeFile(filePath(u"feed"_s), NSKeyedArchiver::archivedDataWithRootObject(OtherRecord()));
    const Result result = run(u"marblewick feed show --json feed"_s);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "marblewick: feed: no feed. Its field “productName” is not a string.\n");
}

TEST_F(FeedCommand, RefusesAFieldThatIsNoString)
{
    for (const QByteArray key : {"productIdentifier", "productName", "versionString", "systemVersion"}) {
        for (const QByteArray value : {"3.1", "true", "[\"a\"]", "{}"})
            EXPECT_EQ(refusalOfMember('"' + key + "\": " + value),
                      "marblewick: in.json: “" + key.toStdString() + "” is " + value.toStdString()
                          + ", but it has to be a string\n");
    }
}

TEST_F(FeedCommand, RefusesAVersionIdentifierThatIsNoIntegerOfSixtyFourBits)
{
    for (const QByteArray value : {"1.5", "\"120\"", "true", "[]", "9223372036854775808", "1e30"})
        EXPECT_THAT(
            refusal("{\"versionIdentifier\": " + value + '}'),
            HasSubstr("but it has to be an integer from -9223372036854775808 to 9223372036854775807"));
}

TEST_F(FeedCommand, RefusesARecordWithoutAVersionIdentifier)
{
    EXPECT_THAT(refusal("{}"), HasSubstr("“versionIdentifier” is missing"));
    EXPECT_THAT(refusal("{\"versionIdentifier\": null}"), HasSubstr("“versionIdentifier” is missing"));
}

TEST_F(FeedCommand, RefusesAFieldThatIsNoURLOrIsNeverOpened)
{
    for (const QByteArray key : {"directDownloadURL", "productPageURL", "appStoreURL"}) {
        for (const QByteArray value :
             {"\"\"", "\"/download\"", "\"https://exa mple.com\"", "\"https:///a\"", "5", "\"about:blank\"",
              "\"blob:x\"", "\"qrc:/a\"", "\"vbscript:a\"", "\"view-source:http://a\"",
              "\"filesystem:http://a\"", "\"javascript:alert(1)\"", "\"data:,a\"", "\"file:///etc\""})
            EXPECT_THAT(refusalOfMember('"' + key + "\": " + value),
                        StartsWith("marblewick: in.json: “" + key.toStdString() + "” is "
                                   + value.toStdString() + ", but it has to be a URL with its scheme"));
    }
}

TEST_F(FeedCommand, RefusesReleaseNotesThatAreNotOnTheWeb)
{
    for (const QByteArray value :
         {"\"appstream:a\"", "\"file:///notes\"", "\"notes.html\"", "\"ftp://example.com\""})
        EXPECT_EQ(refusalOfMember("\"updateInfoURL\": " + value),
                  "marblewick: in.json: “updateInfoURL” is " + value.toStdString()
                      + ", but it has to be a URL that begins with https:// or http://, as a string\n");
}

TEST_F(FeedCommand, RefusesAMemberThatIsNoFieldAndNamesThoseThatAre)
{
    EXPECT_EQ(
        refusalOfMember("\"version\": \"3.1\""),
        "marblewick: in.json: “version” is no field of a feed; there are productIdentifier, productName, "
        "versionIdentifier, versionString, directDownloadURL, productPageURL, updateInfoURL, appStoreURL, "
        "systemVersion\n");
}

TEST_F(FeedCommand, ShowsTheBeginningOfALongWrongValueOnly)
{
    const std::string errors = refusalOfMember("\"productPageURL\": \"" + QByteArray(100'000, 'x') + '"');
    EXPECT_LT(errors.size(), 400U);
}

TEST_F(FeedCommand, SaysOnWhichLineAFileIsNoJSON)
{
    EXPECT_THAT(refusal("{\n\n\"versionIdentifier\": }"), StartsWith("marblewick: in.json: line 3: "));
    EXPECT_THAT(refusal(""), StartsWith("marblewick: in.json: line 1: "));
    EXPECT_THAT(refusal(QByteArray(100'000, '[')), StartsWith("marblewick: in.json: line 1: "));
    EXPECT_THAT(refusal("[1]"), HasSubstr("it has to be one JSON object"));
}

TEST_F(FeedCommand, WarnsOfASystemVersionThatDoesNotMeanWhatItSeemsTo)
{
    for (const QByteArray version : {"12", "trixie", "12.x", "12.5.1.7", ""}) {
        writeFile(filePath(u"in.json"_s),
                  "{\"versionIdentifier\": 1, \"systemVersion\": \"" + version + "\"}");
        const Result result = run(u"marblewick feed create in.json out && marblewick feed show out"_s);
        EXPECT_EQ(result.status, 0);
        EXPECT_THAT(result.errors, StartsWith("marblewick: in.json: warning: “systemVersion” is \""
                                              + version.toStdString() + "\", but "));
        EXPECT_THAT(result.output, HasSubstr("systemVersion      " + version.toStdString() + '\n'));
    }
}

TEST_F(FeedCommand, RefusesAnInputThatIsTooLarge)
{
    for (const auto *script :
         {u"marblewick feed show /dev/zero", u"marblewick feed create - out </dev/zero"}) {
        const Result result = run(QString::fromUtf16(script));
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, HasSubstr("larger than 16 MiB"));
    }
}

TEST_F(FeedCommand, SaysWhichFileItCannotReadOrWrite)
{
    EXPECT_EQ(run(u"marblewick feed show nowhere"_s).errors,
              "marblewick: nowhere: No such file or directory\n");
    EXPECT_EQ(run(u"marblewick feed create nowhere out"_s).errors,
              "marblewick: nowhere: No such file or directory\n");
    writeFile(filePath(u"in.json"_s), wholeRecord);
    EXPECT_EQ(run(u"marblewick feed create in.json nowhere/out"_s).errors,
              "marblewick: nowhere/out: No such file or directory\n");
    EXPECT_EQ(run(u"mkfifo fifo; marblewick feed create in.json fifo"_s).errors,
              "marblewick: fifo: no regular file\n");
    EXPECT_EQ(run(u"marblewick feed create in.json ."_s).errors, "marblewick: .: no regular file\n");
    EXPECT_EQ(run(u"marblewick feed create in.json - >/dev/full"_s).errors,
              "marblewick: standard output: No space left on device\n");
}

TEST_F(FeedCommand, LeavesTheFeedThatWasThereWhereItCannotWriteAnotherOne)
{
    writeFile(filePath(u"in.json"_s), wholeRecord);
    writeFile(filePath(u"out"_s), "the former one");
    // A file may not grow beyond a block.
    const Result result = run(u"(trap '' XFSZ; ulimit -f 0; marblewick feed create in.json out); ls"_s);
    EXPECT_THAT(result.errors, HasSubstr("marblewick: out: File too large"));
    EXPECT_EQ(result.output, "in.json\nout\n");
    EXPECT_EQ(readFile(filePath(u"out"_s)), "the former one");
}

TEST_F(FeedCommand, LeavesTheFeedInAFolderThatIsReadOnly)
{
    writeFile(filePath(u"in.json"_s), wholeRecord);
    writeFile(filePath(u"out"_s), "the former one");
    const QString folder = filePath(u"."_s);
    ASSERT_EQ(::chmod(folder.toUtf8().constData(), 0555), 0);
    EXPECT_TRUE(resultInUnprivilegedChild(folder, [this] {
        return run(u"marblewick feed create in.json out"_s).errors == "marblewick: out: Permission denied\n";
    }));
    ::chmod(folder.toUtf8().constData(), 0755);
    EXPECT_EQ(readFile(filePath(u"out"_s)), "the former one");
}

TEST_F(FeedCommand, ReplacesWhatALinkLeadsToAndKeepsItsMode)
{
    writeFile(filePath(u"in.json"_s), wholeRecord);
    EXPECT_EQ(output(u"umask 027; touch real; chmod 604 real; ln -s real link;"
                     " marblewick feed create in.json link; marblewick feed create in.json new;"
                     " stat -c '%N %a' link real new; cmp link new; ls"_s),
              "'link' -> 'real' 777\n'real' 604\n'new' 640\nin.json\nlink\nnew\nreal\n");
}

TEST_F(FeedCommand, TakesNoCommandLineWithoutItsFiles)
{
    for (const auto *script :
         {u"marblewick feed", u"marblewick feed create", u"marblewick feed create a", u"marblewick feed show",
          u"marblewick feed show a b", u"marblewick feed show ''"})
        EXPECT_EQ(run(QString::fromUtf16(script)).status, 2) << QString::fromUtf16(script).toStdString();
}
