#include <Marblewick/NSURLRequest.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

const QUrl url(u"http://127.0.0.1/"_s);

using Fields = QMap<QString, QString>;

} // namespace

TEST(NSURLRequest, IsAGetWithoutBodyOrHeaderFieldsAndWithATimeoutOfAMinute)
{
    const NSURLRequest request(url);
    EXPECT_EQ(request.url(), url);
    EXPECT_EQ(request.HTTPMethod(), "GET");
    EXPECT_TRUE(request.HTTPBody().isEmpty());
    EXPECT_TRUE(request.allHTTPHeaderFields().isEmpty());
    EXPECT_EQ(request.cachePolicy(), NSURLRequestUseProtocolCachePolicy);
    EXPECT_EQ(request.timeoutInterval(), 60);
}

TEST(NSURLRequest, TakesAMinuteForATimeoutThatIsNotAboveZero)
{
    EXPECT_EQ(NSURLRequest(url, NSURLRequestUseProtocolCachePolicy, 0.25).timeoutInterval(), 0.25);
    EXPECT_EQ(NSURLRequest(url, NSURLRequestUseProtocolCachePolicy, 0).timeoutInterval(), 60);
    EXPECT_EQ(NSURLRequest(url, NSURLRequestUseProtocolCachePolicy, -1).timeoutInterval(), 60);
    EXPECT_EQ(NSURLRequest(url, NSURLRequestUseProtocolCachePolicy, qQNaN()).timeoutInterval(), 60);
}

TEST(NSURLRequest, ReplacesAHeaderFieldWhateverTheCaseOfItsName)
{
    NSURLRequest request(url);
    request.setValueForHTTPHeaderField(u"a"_s, u"User-Agent"_s);
    request.setValueForHTTPHeaderField(u"b"_s, u"user-agent"_s);
    EXPECT_EQ(request.allHTTPHeaderFields(), (Fields{{u"user-agent"_s, u"b"_s}}));
}

TEST(NSURLRequest, RemovesAHeaderFieldByNilAndKeepsAnEmptyOne)
{
    NSURLRequest request(url);
    request.setValueForHTTPHeaderField(u"a"_s, u"X-Removed"_s);
    request.setValueForHTTPHeaderField(std::nullopt, u"x-removed"_s);
    request.setValueForHTTPHeaderField(u""_s, u"X-Empty"_s);
    EXPECT_EQ(request.allHTTPHeaderFields(), (Fields{{u"X-Empty"_s, u""_s}}));
}

TEST(NSURLRequest, LeavesControlCharactersOutOfHeaderFields)
{
    NSURLRequest request(url);
    request.setValueForHTTPHeaderField(u"a\r\nInjected: b\u0000\u0085"_s, u"X-\nName\t"_s);
    EXPECT_EQ(request.allHTTPHeaderFields(), (Fields{{u"X-Name"_s, u"aInjected: b"_s}}));
}

TEST(NSURLRequest, SharesItsBodyWithItsCopies)
{
    NSURLRequest request(url);
    request.setHTTPBody(QByteArray(1000, 'x'));
    const NSURLRequest copy = request;
    EXPECT_EQ(copy.HTTPBody().constData(), request.HTTPBody().constData());
}
