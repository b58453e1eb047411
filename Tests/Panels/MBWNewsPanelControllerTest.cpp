#include <Marblewick/MBWNewsPanelController.h>

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/When.h"

#include <Marblewick/NSUserDefaults.h>
#include <Marblewick/NSWorkspace.h>

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTranslator>
#include <QUrl>
#include <QWindow>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1StringView runKey("MBWSubscribeToNewsPanelRun");
const QString page = QStringLiteral(NEWS_SUBSCRIPTION_PAGE);

QDialog *prompt() { return qobject_cast<QDialog *>(QApplication::activeModalWidget()); }

QString text(const char *name) { return prompt()->findChild<QLabel *>(QLatin1StringView(name))->text(); }

QPushButton *button(const QString &title)
{
    for (QPushButton *const candidate : prompt()->findChildren<QPushButton *>()) {
        if (candidate->text() == title)
            return candidate;
    }
    return nullptr;
}

void clickSubscribe() { QTest::mouseClick(button(u"Subscribe…"_s), Qt::LeftButton); }
void clickCancel() { QTest::mouseClick(button(u"Cancel"_s), Qt::LeftButton); }

NSUserDefaults *defaults() { return NSUserDefaults::standardUserDefaults(); }

MBWNewsPanelController *panel() { return MBWNewsPanelController::sharedPanel(); }

class NewsPrompt : public ::testing::Test
{
protected:
    NewsPrompt()
    {
        QCoreApplication::setApplicationName(u"Cartographer"_s);
        NSWorkspace::sharedWorkspace()->setURLOpener([this](const QUrl &url) {
            opened.append(url.toString(QUrl::FullyEncoded));
            return browserOpens;
        });
    }

    /*! Answers the prompt that the next call shows. */
    void answer(std::function<void()> step)
    {
        when([] { return prompt() && prompt()->isActiveWindow(); },
             [this, step = std::move(step)] {
                 ++shown;
                 step();
             });
    }

    void subscribe(const std::optional<QString> &productCode)
    {
        answer(clickSubscribe);
        panel()->showSubscribePanelForProductCode(productCode);
    }

    static bool isAnswered() { return defaults()->boolForKey(runKey); }

    const TemporaryHome home;
    QStringList opened;
    bool browserOpens = true;
    int shown = 0;
};

} // namespace

TEST_F(NewsPrompt, IsOneSharedInstance) { EXPECT_EQ(panel(), MBWNewsPanelController::sharedPanel()); }

TEST_F(NewsPrompt, AsksInTheseWords)
{
    answer([] {
        EXPECT_EQ(text("messageText"), u"Sign Up for News"_s);
        EXPECT_EQ(
            text("informativeText"),
            u"For the latest news about apps and updates, subscribe to our infrequent mailing list. Your details will not be shared with anyone else."_s);
        clickCancel();
    });
    panel()->showSubscribePanel();
    EXPECT_EQ(shown, 1);
}

TEST_F(NewsPrompt, AScreenReaderIsToldItsWordsAndTheButtonsNames)
{
    answer([] {
        const auto told = [](QObject *object, QAccessible::Text kind) {
            return QAccessible::queryAccessibleInterface(object)->text(kind);
        };
        EXPECT_EQ(told(prompt(), QAccessible::Name), u"Sign Up for News"_s);
        EXPECT_EQ(told(prompt(), QAccessible::Description), text("informativeText"));
        EXPECT_EQ(told(button(u"Subscribe…"_s), QAccessible::Name), u"Subscribe…"_s);
        EXPECT_EQ(told(button(u"Cancel"_s), QAccessible::Name), u"Cancel"_s);
        clickCancel();
    });
    panel()->showSubscribePanel();
    EXPECT_EQ(shown, 1);
}

TEST_F(NewsPrompt, HasTheButtonsSubscribeWithASingleEllipsisAndCancelInThisOrder)
{
    answer([] {
        QStringList titles;
        for (const QPushButton *const candidate : prompt()->findChildren<QPushButton *>())
            titles.append(candidate->text());
        EXPECT_EQ(titles, QStringList({u"Subscribe\u2026"_s, u"Cancel"_s}));
        EXPECT_TRUE(button(u"Subscribe…"_s)->isDefault());
        EXPECT_FALSE(button(u"Cancel"_s)->isDefault());
        // The order of the keyboard is that of the texts.
        QTest::keyClick(prompt(), Qt::Key_Tab);
        EXPECT_EQ(prompt()->focusWidget(), button(u"Cancel"_s));
        clickCancel();
    });
    panel()->showSubscribePanel();
    EXPECT_EQ(shown, 1);
}

TEST_F(NewsPrompt, TheFirstCallForAUserShowsItAndReturnsTrueAndEveryLaterOneReturnsFalse)
{
    answer(clickSubscribe);
    EXPECT_TRUE(panel()->showSubscribePanelIfFirstRunForProductCode(u"X1"_s));
    EXPECT_EQ(shown, 1);
    EXPECT_FALSE(panel()->showSubscribePanelIfFirstRunForProductCode(u"X1"_s));
    panel()->showSubscribePanelIfFirstRun();
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(opened, QStringList(page + u"?product=X1"_s));
}

TEST_F(NewsPrompt, CancelEndsTheAskingToo)
{
    answer(clickCancel);
    EXPECT_TRUE(panel()->showSubscribePanelIfFirstRunForProductCode(std::nullopt));
    EXPECT_TRUE(isAnswered());
    EXPECT_FALSE(panel()->showSubscribePanelIfFirstRunForProductCode(std::nullopt));
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(opened, QStringList());
}

TEST_F(NewsPrompt, AFirstRunWithoutAProductCodeShowsItOnce)
{
    answer(clickSubscribe);
    panel()->showSubscribePanelIfFirstRun();
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(opened, QStringList(page));
}

TEST_F(NewsPrompt, AFlagThatIsNoShowsItAndOneThatIsYesDoesNot)
{
    defaults()->setBool(true, runKey);
    EXPECT_FALSE(panel()->showSubscribePanelIfFirstRunForProductCode(std::nullopt));
    defaults()->setBool(false, runKey);
    answer(clickCancel);
    EXPECT_TRUE(panel()->showSubscribePanelIfFirstRunForProductCode(std::nullopt));
    EXPECT_EQ(shown, 1);
}

TEST_F(NewsPrompt, AnExplicitCallShowsItWhateverTheFlagSaysAndSetsItAgain)
{
    defaults()->setBool(true, runKey);
    answer([] {
        defaults()->removeObjectForKey(runKey);
        clickCancel();
    });
    panel()->showSubscribePanelForProductCode(u"X1"_s);
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(isAnswered());
    answer(clickCancel);
    panel()->showSubscribePanel();
    EXPECT_EQ(shown, 2);
}

TEST_F(NewsPrompt, TheFlagIsSetOnlyOnceItIsAnswered)
{
    answer([] {
        EXPECT_FALSE(isAnswered());
        clickSubscribe();
    });
    panel()->showSubscribePanel();
    EXPECT_TRUE(isAnswered());
}

TEST_F(NewsPrompt, ReturnSubscribes)
{
    answer([] { QTest::keyClick(prompt(), Qt::Key_Return); });
    panel()->showSubscribePanel();
    EXPECT_EQ(opened, QStringList(page));
    EXPECT_TRUE(isAnswered());
}

TEST_F(NewsPrompt, EscapeAndTheWindowsCloseControlCancel)
{
    answer([] { QTest::keyClick(prompt(), Qt::Key_Escape); });
    panel()->showSubscribePanel();
    EXPECT_TRUE(isAnswered());
    defaults()->removeObjectForKey(runKey);
    answer([] {
        QCloseEvent event;
        QCoreApplication::sendEvent(prompt()->windowHandle(), &event);
    });
    panel()->showSubscribePanel();
    EXPECT_TRUE(isAnswered());
    EXPECT_EQ(opened, QStringList());
}

TEST_F(NewsPrompt, QuittingTheApplicationIsNoAnswerSoThatTheNextLaunchAsksAgain)
{
    answer([] { QCoreApplication::quit(); });
    QTimer::singleShot(0, qApp, [] { panel()->showSubscribePanel(); });
    QApplication::exec();
    EXPECT_EQ(shown, 1);
    EXPECT_FALSE(isAnswered());
    EXPECT_EQ(opened, QStringList());
}

TEST_F(NewsPrompt, ThePageIsAnHTTPSAddressWithThePathNewsSubscribe)
{
    subscribe(std::nullopt);
    ASSERT_EQ(opened.size(), 1);
    const QUrl url(opened.first());
    EXPECT_EQ(url.scheme(), u"https"_s);
    EXPECT_EQ(url.path(), u"/news/subscribe"_s);
    EXPECT_FALSE(url.hasQuery());
}

TEST_F(NewsPrompt, AnEmptyProductCodeAndNoneBothGiveThePageAlone)
{
    subscribe(QString());
    subscribe(u""_s);
    subscribe(std::nullopt);
    EXPECT_EQ(opened, QStringList({page, page, page}));
}

TEST_F(NewsPrompt, AProductCodeIsInsertedAsItIs)
{
    for (const QString &code : {u"X1"_s, u"a&b=c"_s, u"%20"_s, u"x#y"_s, u"?"_s})
        subscribe(code);
    EXPECT_EQ(opened,
              QStringList({page + u"?product=X1"_s, page + u"?product=a&b=c"_s, page + u"?product=%20"_s,
                           page + u"?product=x#y"_s, page + u"?product=?"_s}));
}

TEST_F(NewsPrompt, AProductCodeThatIsNoPartOfAURLOpensNothingAndTheFlagIsSetAllTheSame)
{
    for (const QString &code : {u"two words"_s, u"é"_s, u"100%"_s, u"%@"_s, u"a\nb"_s, u"<x>"_s, u"\\"_s}) {
        defaults()->removeObjectForKey(runKey);
        subscribe(code);
        EXPECT_TRUE(isAnswered()) << code.toStdString();
    }
    EXPECT_EQ(opened, QStringList());
}

TEST_F(NewsPrompt, ABrowserThatDoesNotOpenIsNotReportedAndTheFlagIsSet)
{
    browserOpens = false;
    subscribe(u"X1"_s);
    EXPECT_EQ(opened.size(), 1);
    EXPECT_TRUE(isAnswered());
    EXPECT_EQ(prompt(), nullptr);
}

namespace {

class GermanTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        const QString text = QString::fromUtf8(sourceText);
        if (qstrcmp(context, "Localizable") != 0)
            return {};
        if (text == u"Sign Up for News")
            return u"Neuigkeiten bestellen"_s;
        if (text == u"Subscribe…")
            return u"Bestellen …"_s;
        return text == u"Cancel" ? u"Abbrechen"_s : QString();
    }
};

} // namespace

TEST_F(NewsPrompt, ItsTextsAreLookedUpAmongTheHostsMessagesAndStayEnglishWhereThereIsNone)
{
    GermanTranslator translator;
    QCoreApplication::installTranslator(&translator);
    answer([] {
        EXPECT_EQ(text("messageText"), u"Neuigkeiten bestellen"_s);
        EXPECT_TRUE(text("informativeText").startsWith(u"For the latest news"));
        EXPECT_NE(button(u"Abbrechen"_s), nullptr);
        QTest::mouseClick(button(u"Bestellen …"_s), Qt::LeftButton);
    });
    panel()->showSubscribePanel();
    EXPECT_EQ(opened, QStringList(page));
}
