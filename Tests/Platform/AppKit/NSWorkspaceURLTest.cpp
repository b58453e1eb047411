#include <Marblewick/NSWorkspace.h>

#include <gtest/gtest.h>

#include <QDesktopServices>
#include <QObject>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

/*! Takes the part of the user's program for a scheme. */
class Browser : public QObject
{
    Q_OBJECT

public:
    explicit Browser(const QString &scheme)
        : m_scheme(scheme)
    {
        QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~Browser() override { QDesktopServices::unsetUrlHandler(m_scheme); }

    Q_INVOKABLE void open(const QUrl &url) { opened.append(url); }

    QList<QUrl> opened;

private:
    const QString m_scheme;
};

} // namespace

TEST(NSWorkspaceURLs, OpensAnAddressOfTheWebAStoreOrAMailerWithTheUsersProgram)
{
    for (const QString &text :
         {u"https://example.com/a?b=c#d"_s, u"http://example.com"_s, u"appstream://org.example.App"_s,
          u"snap://app"_s, u"mailto:ada@example.com"_s}) {
        const QUrl url(text);
        const Browser browser(url.scheme());
        EXPECT_TRUE(NSWorkspace::sharedWorkspace()->openURL(url));
        EXPECT_EQ(browser.opened, QList{url});
    }
}

TEST(NSWorkspaceURLs, RefusesAnAddressThatLeadsIntoTheMachineOrHoldsWhatWouldBeRun)
{
    for (const QString &text :
         {u"file:///etc/passwd"_s, u"FILE:///etc/passwd"_s, u"data:text/html,<b>x"_s,
          u"javascript:alert(1)"_s, u"vbscript:x"_s, u"about:blank"_s, u"blob:https://example.com/1"_s,
          u"view-source:http://example.com"_s, u"filesystem:http://example.com/x"_s, u"qrc:/x"_s}) {
        const QUrl url(text);
        const Browser browser(url.scheme());
        EXPECT_FALSE(NSWorkspace::sharedWorkspace()->openURL(url)) << qPrintable(text);
        EXPECT_EQ(browser.opened, QList<QUrl>());
    }
}

TEST(NSWorkspaceURLs, RefusesAnAddressThatIsNone)
{
    EXPECT_FALSE(NSWorkspace::sharedWorkspace()->openURL({}));
    EXPECT_FALSE(NSWorkspace::sharedWorkspace()->openURL(QUrl(u"/etc/passwd"_s)));
    EXPECT_FALSE(NSWorkspace::sharedWorkspace()->openURL(QUrl(u"http://example.com:99999/"_s)));
}

#include "NSWorkspaceURLTest.moc"
