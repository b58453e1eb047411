#include "CrashReporter/JSONWriter.h"

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryFile>

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray written(const std::function<void(JSONWriter &)> &write)
{
    QTemporaryFile file;
    EXPECT_TRUE(file.open());
    JSONWriter json(file.handle());
    write(json);
    EXPECT_TRUE(json.flush());
    return readFile(file.fileName());
}

QByteArray writtenText(std::string_view text)
{
    return written([&](JSONWriter &json) { json.string({}, text); });
}

} // namespace

TEST(JSONWriter, PutsCommasBetweenMembersAndItemsOnly)
{
    EXPECT_EQ(written([](JSONWriter &json) {
                  json.beginObject();
                  json.string("app_name", "App");
                  json.beginArray("threads");
                  json.beginObject();
                  json.endObject();
                  json.beginObject();
                  json.boolean("triggered", true);
                  json.endObject();
                  json.number({}, -1);
                  json.endArray();
                  json.boolean("is", false);
                  json.endObject();
              }),
              R"({"app_name":"App","threads":[{},{"triggered":true},-1],"is":false})");
}

TEST(JSONWriter, EndsADocumentWithANewlineAfterWhichAnotherBegins)
{
    EXPECT_EQ(written([](JSONWriter &json) {
                  for (int document = 0; document < 2; ++document) {
                      json.beginObject();
                      json.endObject();
                      json.endDocument();
                  }
              }),
              "{}\n{}\n");
}

TEST(JSONWriter, WritesTheLeastAndTheGreatestNumbers)
{
    EXPECT_EQ(written([](JSONWriter &json) { json.number({}, std::numeric_limits<std::int64_t>::min()); }),
              "-9223372036854775808");
    EXPECT_EQ(written([](JSONWriter &json) { json.number({}, std::numeric_limits<std::uint64_t>::max()); }),
              "18446744073709551615");
}

TEST(JSONWriter, EscapesQuotesBackslashesAndControlCharacters)
{
    EXPECT_EQ(writtenText("a\"b\\c\n\x01\x1f"), R"("a\"b\\c\u000a\u0001\u001f")");
}

TEST(JSONWriter, KeepsCharactersBeyondASCII) { EXPECT_EQ(writtenText("Käfer 😀"), "\"Käfer 😀\""); }

TEST(JSONWriter, ReplacesEachByteThatIsNoValidUTF8)
{
    for (const std::string_view invalid : {"\xff", "\x80", "\xc0", "\xc3", "\xe2\x82", "\xed\xa0\x80",
                                           "\xf4\x90\x80\x80", "\xe0\x80\xaf", "\xf0\x80\x80\xaf"}) {
        QByteArray expected = "\"<";
        for (std::size_t byte = 0; byte < invalid.size(); ++byte)
            expected += "\xEF\xBF\xBD";
        EXPECT_EQ(writtenText("<" + std::string(invalid) + ">"), expected + ">\"");
    }
}

TEST(JSONWriter, WritesTextsThatAreLongerThanItsBuffer)
{
    const std::string text(100'000, 'x');
    EXPECT_EQ(writtenText(text), QByteArray::fromStdString('"' + text + '"'));
}

TEST(JSONWriter, SaysWhyNotEverythingCouldBeWritten)
{
    const int full = ::open("/dev/full", O_WRONLY);
    JSONWriter json(full);
    json.string({}, std::string(10'000, 'x'));
    EXPECT_FALSE(json.flush());
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(json.flush());
    ::close(full);
}
