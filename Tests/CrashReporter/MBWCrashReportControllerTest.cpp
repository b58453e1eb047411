#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/RawServer.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/When.h"

#include <Marblewick/MBWCrashLogPreviewItem.h>
#include <Marblewick/MBWCrashReportController.h>
#include <Marblewick/MBWCrashReporter.h>
#include <Marblewick/NSApplication.h>
#include <Marblewick/NSURLError.h>
#include <Marblewick/NSURLSession.h>
#include <Marblewick/NSUserDefaults.h>
#include <Marblewick/QLPreviewView.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QWindow>

#include <atomic>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr QLatin1StringView lastUsedEmailKey("MBWCrashReportLastUsedEmail");

NSUserDefaults *defaults() { return NSUserDefaults::standardUserDefaults(); }

float storedDate() { return defaults()->floatForKey(MBWCrashReporterLastCrashReportDateKey); }

/*! The current time as the last-report date is stored. */
float now()
{
    return static_cast<float>(static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000 - 978307200.0);
}

class CrashReportPanel : public ::testing::Test
{
protected:
    CrashReportPanel() { QCoreApplication::setApplicationName(u"App"_s); }

    static MBWCrashReportController *panel() { return MBWCrashReportController::sharedReporter(); }
    static bool isShown() { return panel()->isWindowLoaded() && panel()->window()->isVisible(); }
    static void whenShown(std::function<void()> step) { when(isShown, std::move(step)); }
    static void click(QPushButton *button) { QTest::mouseClick(button, Qt::LeftButton); }
    /*! What the window system does when the user closes the window. */
    static void closeByItsOwnControl()
    {
        QCloseEvent event;
        QCoreApplication::sendEvent(panel()->window()->windowHandle(), &event);
    }
    static QPushButton *cancelButton()
    {
        return panel()->window()->findChild<QPushButton *>(u"cancelButton"_s);
    }

    /*! As after an earlier launch that checked: the last-report date lies in the past. */
    static void storeEarlierDate() { defaults()->setFloat(1000, MBWCrashReporterLastCrashReportDateKey); }
    void crash(const char *report = "a crash log\n") const
    {
        writeFile(home.diagnosticReportsFolder() + u"/App_1.crash"_s, report);
    }
    static bool wasJustStored(float date) { return date >= now() - 128 && date <= now() + 64; }

    const TemporaryHome home;
};

/*! A server whose answers wait until they are let go. */
class PatientServer
{
public:
    ~PatientServer() { letGo(); }
    QString url() const { return m_server.url().toString(); }
    bool hasReceived() const { return m_server.requests().size() == 1; }
    void letGo() { m_mayAnswer = true; }

private:
    std::atomic_bool m_mayAnswer = false;
    const LoopbackServer m_server{[this](const auto &) {
        while (!m_mayAnswer)
            QThread::msleep(1);
        return LoopbackServer::Answer();
    }};
};

/*! Sends a report to a server that does not answer yet, and cancels the panel meanwhile. */
void sendAndCancel(const PatientServer &server)
{
    MBWCrashReportController::setCrashReportURL(server.url());
    defaults()->setFloat(1000, MBWCrashReporterLastCrashReportDateKey);
    when([] { return MBWCrashReportController::sharedReporter()->window()->isVisible(); },
         [] {
             MBWCrashReportController::sharedReporter()->send();
             MBWCrashReportController::sharedReporter()->cancel();
         });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
}

RawServer::Script stalling()
{
    return [](RawServer::Connection &connection) {
        connection.readRequest();
        connection.stall();
    };
}

} // namespace

// The launch check

TEST_F(CrashReportPanel, TheFirstCheckThatFindsALogStoresTheDateAndShowsNothing)
{
    crash();
    EXPECT_FALSE(MBWCrashReportController::checkForCrash());
    EXPECT_FALSE(isShown());
    EXPECT_TRUE(wasJustStored(storedDate()));
}

TEST_F(CrashReportPanel, AFirstCheckThatFindsNoLogStoresNothing)
{
    EXPECT_FALSE(MBWCrashReportController::checkForCrash());
    home.diagnosticReportsFolder();
    home.crashReporterFolder();
    EXPECT_FALSE(MBWCrashReportController::checkForCrash());
    EXPECT_FALSE(defaults()->contains(MBWCrashReporterLastCrashReportDateKey));
}

TEST_F(CrashReportPanel, AnyStoredValueCountsAsADateEvenZeroOrAText)
{
    MBWCrashReportController::setRunAsModal(false);
    defaults()->setInteger(0, MBWCrashReporterLastCrashReportDateKey);
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    defaults()->setString(u"yesterday"_s, MBWCrashReporterLastCrashReportDateKey);
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
}

TEST_F(CrashReportPanel, AfterTheFirstCheckTheLogsThatWereThereAreNeverReported)
{
    crash();
    setModified(home.diagnosticReportsFolder() + u"/App_1.crash"_s, static_cast<double>(now()) - 3600);
    EXPECT_FALSE(MBWCrashReportController::checkForCrash());
    EXPECT_FALSE(MBWCrashReportController::checkForCrash());
    EXPECT_FALSE(isShown());
}

TEST_F(CrashReportPanel, ALaterCheckAfterACrashShowsThePanelAndReturnsTrueOnceItIsClosed)
{
    storeEarlierDate();
    crash();
    bool wasShown = false;
    whenShown([&] {
        wasShown = true;
        EXPECT_TRUE(panel()->crashLogPreviewItem()->crashLog().endsWith(u"a crash log\n"));
        EXPECT_TRUE(panel()->sendButton()->isEnabled());
        EXPECT_TRUE(panel()->progress()->isHidden());
        click(cancelButton());
    });
    EXPECT_TRUE(MBWCrashReportController::checkForCrash());
    EXPECT_TRUE(wasShown);
    EXPECT_FALSE(isShown());
}

TEST_F(CrashReportPanel, ALaterCheckWithoutACrashShowsNothing)
{
    storeEarlierDate();
    EXPECT_FALSE(MBWCrashReportController::checkForCrash());
    EXPECT_FALSE(panel()->isWindowLoaded());
    EXPECT_EQ(storedDate(), 1000);
}

TEST_F(CrashReportPanel, ACheckThatIsNotToReportReturnsFalseAndLeavesTheLogsNew)
{
    storeEarlierDate();
    crash();
    EXPECT_FALSE(MBWCrashReportController::checkForCrashAndReport(false));
    EXPECT_FALSE(panel()->isWindowLoaded());
    EXPECT_EQ(storedDate(), 1000);
    EXPECT_TRUE(MBWCrashReporter().checkForCrashLog());
}

TEST_F(CrashReportPanel, ACheckThatIsNotToReportStoresNoFirstDateEither)
{
    crash();
    EXPECT_FALSE(MBWCrashReportController::checkForCrashAndReport(false));
    EXPECT_FALSE(defaults()->contains(MBWCrashReporterLastCrashReportDateKey));
}

TEST_F(CrashReportPanel, IsModalByDefault)
{
    EXPECT_TRUE(MBWCrashReportController::runAsModal());
    storeEarlierDate();
    whenShown([] {
        EXPECT_EQ(NSApplication::sharedApplication()->modalWindow(), panel()->window());
        EXPECT_EQ(panel()->window()->windowModality(), Qt::ApplicationModal);
        click(cancelButton());
    });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
}

TEST_F(CrashReportPanel, AsAnOrdinaryWindowIsShownAndTheCheckReturnsAtOnce)
{
    MBWCrashReportController::setRunAsModal(false);
    EXPECT_FALSE(MBWCrashReportController::runAsModal());
    storeEarlierDate();
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    EXPECT_TRUE(isShown());
    EXPECT_EQ(panel()->window()->windowModality(), Qt::NonModal);
    EXPECT_EQ(NSApplication::sharedApplication()->modalWindow(), nullptr);
}

TEST_F(CrashReportPanel, TheSharedControllerIsMadeOnceFromTheWindowResourceCrashReport)
{
    EXPECT_EQ(panel(), MBWCrashReportController::sharedReporter());
    EXPECT_EQ(panel()->windowNibName(), u"CrashReport"_s);
    EXPECT_EQ(panel()->window()->objectName(), u"CrashReport"_s);
}

// The window

TEST_F(CrashReportPanel, TheReportIsInThePreviewWhichFillsItsBox)
{
    panel()->setCrashReportLog(u"\n\n***\n{\"app_name\""_s);
    EXPECT_EQ(panel()->crashLogPreviewItem()->crashLog(), u"\n\n***\n{\"app_name\""_s);
    EXPECT_EQ(panel()->quickLookPreview()->previewItem(), panel()->crashLogPreviewItem());
    EXPECT_EQ(panel()->quickLookPreview()->parentWidget(), panel()->quickLookBox());

    panel()->window()->show();
    const QSize before = panel()->quickLookPreview()->size();
    panel()->window()->resize(panel()->window()->size() + QSize(100, 50));
    QTest::qWait(0);
    EXPECT_EQ(panel()->quickLookPreview()->size(), before + QSize(100, 50));
}

TEST_F(CrashReportPanel, ThePreviewFollowsTheControllersItem)
{
    panel()->window();
    const auto item = std::make_shared<MBWCrashLogPreviewItem>(u"another"_s);
    panel()->setCrashLogPreviewItem(item);
    EXPECT_EQ(panel()->quickLookPreview()->previewItem(), item);
}

TEST_F(CrashReportPanel, AnItemThatWasSetBeforeTheWindowWasLoadedIsInThePreview)
{
    const auto item = std::make_shared<MBWCrashLogPreviewItem>(u"early"_s);
    panel()->setCrashLogPreviewItem(item);
    EXPECT_FALSE(panel()->isWindowLoaded());
    panel()->window();
    EXPECT_EQ(panel()->quickLookPreview()->previewItem(), item);
}

TEST_F(CrashReportPanel, TheEmailFieldIsFilledWithTheLastUsedAddress)
{
    defaults()->setString(u"ada@example.com"_s, lastUsedEmailKey);
    panel()->window();
    EXPECT_EQ(panel()->email(), u"ada@example.com"_s);
}

TEST_F(CrashReportPanel, WithoutALastUsedAddressTheEmailIsEmptyNotNil)
{
    defaults()->setString(u""_s, lastUsedEmailKey);
    panel()->window();
    EXPECT_EQ(panel()->email(), u""_s);
}

TEST_F(CrashReportPanel, OffersTheApplicationNameAndTheUsersTexts)
{
    panel()->window();
    panel()->emailField()->setText(u"a@b"_s);
    panel()->descriptionText()->setPlainText(u"one\ntwo"_s);
    EXPECT_EQ(panel()->applicationName(), u"App"_s);
    EXPECT_EQ(panel()->property("email"), u"a@b"_s);
    EXPECT_EQ(panel()->property("description"), u"one\ntwo"_s);
}

TEST_F(CrashReportPanel, SaysWhatIsSentAndToWhom)
{
    MBWCrashReportController::setCrashReportURL(u"https://crash.example.com/report"_s);
    panel()->setCrashReportLog(u"r"_s);
    const QString text = panel()->window()->findChild<QLabel *>(u"privacyLabel"_s)->text();
    for (const auto &part :
         {u"whole report"_s, u"e-mail address"_s, u"description"_s, u"App"_s, u"crash.example.com"_s})
        EXPECT_TRUE(text.contains(part)) << qPrintable(part) << " is not in: " << qPrintable(text);
}

TEST_F(CrashReportPanel, NamesTheReceiverThatIsSetWhenAReportIsShown)
{
    panel()->window();
    const auto *const privacy = panel()->window()->findChild<QLabel *>(u"privacyLabel"_s);
    for (const QString &host : {u"one.example.com"_s, u"two.example.com"_s}) {
        MBWCrashReportController::setCrashReportURL(u"https://"_s + host);
        panel()->setCrashReportLog(u"r"_s);
        EXPECT_TRUE(privacy->text().endsWith(u"They receive it at %1."_s.arg(host)))
            << qPrintable(privacy->text());
    }
    MBWCrashReportController::setCrashReportURL({});
    panel()->setCrashReportLog(u"r"_s);
    EXPECT_FALSE(privacy->text().contains(u"They receive it"));
}

TEST_F(CrashReportPanel, AnApplicationNameOfMarkupIsShownAsItStands)
{
    QCoreApplication::setApplicationName(u"<b>App</b> %1"_s);
    panel()->setCrashReportLog(u"r"_s);
    const auto *const headline = panel()->window()->findChild<QLabel *>(u"headlineLabel"_s);
    EXPECT_EQ(headline->text(), u"<b>App</b> %1 quit unexpectedly"_s);
    EXPECT_EQ(headline->textFormat(), Qt::PlainText);
}

TEST_F(CrashReportPanel, EveryControlHasANameForAScreenReader)
{
    panel()->setCrashReportLog(u"r"_s);
    for (const QWidget *const control :
         {static_cast<QWidget *>(panel()->descriptionText()), static_cast<QWidget *>(panel()->emailField()),
          static_cast<QWidget *>(panel()->quickLookBox()), static_cast<QWidget *>(panel()->progress()),
          static_cast<QWidget *>(panel()->sendButton()), static_cast<QWidget *>(cancelButton())})
        EXPECT_FALSE(control->accessibleName().isEmpty()) << qPrintable(control->objectName());
}

TEST_F(CrashReportPanel, SendLooksLikeTheDefaultButton)
{
    panel()->window();
    EXPECT_TRUE(panel()->sendButton()->isDefault());
    EXPECT_FALSE(cancelButton()->isDefault());
}

// The keyboard

TEST_F(CrashReportPanel, TabMovesFromTheDescriptionToTheEmailFieldAndBack)
{
    panel()->setCrashReportLog(u"r"_s);
    panel()->showWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel()->window()));
    panel()->descriptionText()->setFocus();
    QTest::keyClick(panel()->descriptionText(), Qt::Key_Tab);
    EXPECT_TRUE(panel()->emailField()->hasFocus());
    EXPECT_EQ(panel()->description(), QString());
    QTest::keyClick(panel()->emailField(), Qt::Key_Tab);
    EXPECT_TRUE(panel()->descriptionText()->hasFocus());
    QTest::keyClick(panel()->descriptionText(), Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_TRUE(panel()->descriptionText()->hasFocus()) << "another key than Tab";
}

TEST_F(CrashReportPanel, HandlesTheTabCommandOfBothFieldsAndNoOther)
{
    panel()->window();
    QPlainTextEdit *const description = panel()->descriptionText();
    QLineEdit *const email = panel()->emailField();
    EXPECT_TRUE(panel()->textViewDoCommandBySelector(description, "insertTab:"));
    EXPECT_TRUE(panel()->controlTextViewDoCommandBySelector(email, email, "insertTab:"));
    for (const QByteArray command :
         {"insertNewline:", "insertBacktab:", "cancelOperation:", "deleteBackward:", ""}) {
        EXPECT_FALSE(panel()->textViewDoCommandBySelector(description, command)) << command.constData();
        EXPECT_FALSE(panel()->controlTextViewDoCommandBySelector(email, email, command))
            << command.constData();
    }
}

TEST_F(CrashReportPanel, HandlesTheTabCommandAlsoBeforeTheWindowWasLoaded)
{
    EXPECT_TRUE(panel()->textViewDoCommandBySelector(nullptr, "insertTab:"));
    EXPECT_TRUE(
        MBWCrashReportController().controlTextViewDoCommandBySelector(nullptr, nullptr, "insertTab:"));
}

TEST_F(CrashReportPanel, ReturnBreaksTheLineInTheDescription)
{
    panel()->showWindow();
    QTest::keyClicks(panel()->descriptionText(), u"a"_s);
    QTest::keyClick(panel()->descriptionText(), Qt::Key_Return);
    QTest::keyClicks(panel()->descriptionText(), u"b"_s);
    EXPECT_EQ(panel()->description(), u"a\nb"_s);
}

TEST_F(CrashReportPanel, ReturnInTheEmailFieldEndsEditingAndSendsNothing)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    panel()->setCrashReportLog(u"r"_s);
    panel()->showWindow();
    panel()->emailField()->setFocus();
    QTest::keyClicks(panel()->emailField(), u"a@b"_s);
    int edits = 0;
    QObject::connect(panel()->emailField(), &QLineEdit::editingFinished, qApp, [&] { ++edits; });
    QTest::keyClick(panel()->emailField(), Qt::Key_Return);
    QTest::keyClick(panel()->emailField(), Qt::Key_Enter);
    EXPECT_EQ(edits, 2);
    EXPECT_EQ(panel()->emailField()->selectedText(), u"a@b"_s);
    QTest::qWait(100);
    EXPECT_TRUE(isShown());
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_FALSE(defaults()->contains(lastUsedEmailKey));
}

TEST_F(CrashReportPanel, EveryControlIsReachedByTheKeyboard)
{
    panel()->setCrashReportLog(u"r"_s);
    panel()->showWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel()->window()));
    panel()->descriptionText()->setFocus();
    QSet<QWidget *> reached;
    for (int i = 0; i < 10; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab, Qt::ShiftModifier);
        reached.insert(QApplication::focusWidget());
    }
    EXPECT_TRUE(reached.contains(panel()->sendButton()));
    EXPECT_TRUE(reached.contains(cancelButton()));
    EXPECT_TRUE(reached.contains(panel()->emailField()));
    EXPECT_TRUE(
        std::ranges::any_of(reached, [](QWidget *w) { return panel()->quickLookBox()->isAncestorOf(w); }));
}

// Send

TEST_F(CrashReportPanel, SendPostsTheReportTheEmailAndTheDescriptionAndClosesThePanel)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url(u"/report"_s).toString());
    storeEarlierDate();
    crash();
    whenShown([] {
        QTest::keyClicks(panel()->descriptionText(), u"I did it"_s);
        QTest::keyClicks(panel()->emailField(), u"ada@example.com"_s);
        click(panel()->sendButton());
    });
    EXPECT_TRUE(MBWCrashReportController::checkForCrash());
    EXPECT_FALSE(isShown());
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].target, "/report");
    EXPECT_TRUE(server.requests()[0].body.contains(
        "Email: ada@example.com\r\nDescription: I did it\r\n\r\n###\r\n\r\n\n\n****"));
    EXPECT_TRUE(server.requests()[0].body.contains("a crash log\n\r\n--"));
}

TEST_F(CrashReportPanel, SendStoresTheDateAndTheEmailAndTheLogsCountAsReported)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    storeEarlierDate();
    crash();
    whenShown([] {
        panel()->emailField()->setText(u"ada@example.com"_s);
        click(panel()->sendButton());
    });
    EXPECT_TRUE(MBWCrashReportController::checkForCrash());
    EXPECT_TRUE(wasJustStored(storedDate()));
    EXPECT_EQ(defaults()->stringForKey(lastUsedEmailKey), u"ada@example.com"_s);
    EXPECT_FALSE(defaults()->contains(MBWCrashReporterNumberOfUnreportedCrashesKey));
    setModified(home.diagnosticReportsFolder() + u"/App_1.crash"_s, static_cast<double>(storedDate()) - 1);
    EXPECT_FALSE(MBWCrashReportController::checkForCrash());
}

TEST_F(CrashReportPanel, SendStoresTheDateBeforeAnythingIsSent)
{
    float dateAtRequest = 0;
    const LoopbackServer server([&](const auto &) {
        dateAtRequest = storedDate();
        return LoopbackServer::Answer();
    });
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    storeEarlierDate();
    whenShown([] { click(panel()->sendButton()); });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    EXPECT_TRUE(wasJustStored(dateAtRequest));
}

TEST_F(CrashReportPanel, SendWithAnEmptyEmailFieldStoresAndSendsTheEmptyAddress)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    storeEarlierDate();
    defaults()->setString(u"old@example.com"_s, lastUsedEmailKey);
    whenShown([] {
        panel()->emailField()->clear();
        click(panel()->sendButton());
    });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    EXPECT_TRUE(defaults()->contains(lastUsedEmailKey));
    EXPECT_EQ(defaults()->stringForKey(lastUsedEmailKey), u""_s);
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_TRUE(server.requests()[0].body.contains("\r\nEmail: \r\nDescription: "));

    MBWCrashReportController next;
    next.window();
    EXPECT_EQ(next.email(), u""_s);
}

TEST_F(CrashReportPanel, WhileItSendsTheSpinnerRunsAndSendIsDisabledAndTheHostStaysBlocked)
{
    const RawServer server(stalling());
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    storeEarlierDate();
    bool wasSending = false;
    whenShown([&] {
        click(panel()->sendButton());
        when([&] { return server.requests().size() == 1; },
             [&] {
                 wasSending = true;
                 EXPECT_TRUE(isShown());
                 EXPECT_FALSE(panel()->sendButton()->isEnabled());
                 EXPECT_TRUE(panel()->progress()->isVisible());
                 EXPECT_EQ(panel()->progress()->maximum(), 0);
                 click(cancelButton());
             });
    });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    EXPECT_TRUE(wasSending);
}

TEST_F(CrashReportPanel, AfterSendingNothingReenablesSendAndTheSpinnerStaysVisibleButStill)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    storeEarlierDate();
    whenShown([] { click(panel()->sendButton()); });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"first"_s));

    whenShown([] {
        EXPECT_EQ(panel()->crashLogPreviewItem()->crashLog(), u"second"_s);
        EXPECT_FALSE(panel()->sendButton()->isEnabled());
        EXPECT_TRUE(panel()->progress()->isVisible());
        EXPECT_EQ(panel()->progress()->maximum(), 1);
        click(cancelButton());
    });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"second"_s));
}

TEST_F(CrashReportPanel, AFailedUploadClosesThePanelAsASuccessDoesAndOnlyTheLogSaysSo)
{
    QString unreachable;
    {
        const RawServer server(stalling());
        unreachable = server.url().toString();
    }
    for (const QString &url : {QString(), u"not a url"_s, u"ftp://127.0.0.1/"_s, u"http://"_s, unreachable}) {
        MBWCrashReportController::setCrashReportURL(url);
        storeEarlierDate();
        const CapturedStandardError standardError;
        whenShown([] { panel()->send(); });
        EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
        EXPECT_FALSE(isShown());
        EXPECT_TRUE(wasJustStored(storedDate())) << "the logs count as reported anyway";
        EXPECT_TRUE(standardError.text().contains(u"] Failed to send crash report: ")) << qPrintable(url);
    }
}

TEST_F(CrashReportPanel, WithoutAnEndpointTheUploadFailsAsAnUnsupportedURL)
{
    storeEarlierDate();
    const CapturedStandardError standardError;
    whenShown([] { click(panel()->sendButton()); });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    EXPECT_TRUE(standardError.text().contains(
        u"Failed to send crash report: Error Domain=NSURLErrorDomain Code=%1 "_s.arg(
            NSURLErrorUnsupportedURL)));
}

TEST_F(CrashReportPanel, SendingAsModalEndsTheSessionWithCode1AndCancellingWithCode0)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    panel()->setCrashReportLog(u"r"_s);
    whenShown([] { click(panel()->sendButton()); });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(panel()->window()), 1);
    whenShown([] { click(cancelButton()); });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(panel()->window()), 0);
}

TEST_F(CrashReportPanel, ClosingAfterSendingStopsASessionOnlyWhereThePanelIsRunAsModal)
{
    for (const auto &[isModal, code] : {std::pair(true, qint64{1}), std::pair(false, NSModalResponseAbort)}) {
        MBWCrashReportController::setRunAsModal(isModal);
        panel()->window();
        panel()->sendButton()->setEnabled(true);
        whenShown([] { panel()->closeAfterSending(); });
        EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(panel()->window()), code);
        EXPECT_FALSE(isShown());
        EXPECT_FALSE(panel()->sendButton()->isEnabled());
    }
}

TEST_F(CrashReportPanel, SendingAsAnOrdinaryWindowClosesItAndStopsNoSession)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    MBWCrashReportController::setRunAsModal(false);
    storeEarlierDate();
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    panel()->send();

    QLabel somebodyElses;
    when([] { return !isShown(); },
         [] {
             QTest::qWait(50);
             NSApplication::sharedApplication()->stopModalWithCode(7);
         });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&somebodyElses), 7);
}

// Cancel

TEST_F(CrashReportPanel, CancelStoresTheDateAndCountsAndLeavesTheEmailAlone)
{
    storeEarlierDate();
    crash();
    whenShown([] {
        panel()->emailField()->setText(u"ada@example.com"_s);
        click(cancelButton());
    });
    EXPECT_TRUE(MBWCrashReportController::checkForCrash());
    EXPECT_TRUE(wasJustStored(storedDate()));
    EXPECT_FALSE(defaults()->contains(lastUsedEmailKey));
    EXPECT_EQ(defaults()->integerForKey(MBWCrashReporterNumberOfUnreportedCrashesKey), 1);
    EXPECT_FALSE(panel()->sendButton()->isEnabled());

    whenShown([] { click(cancelButton()); });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    EXPECT_EQ(defaults()->integerForKey(MBWCrashReporterNumberOfUnreportedCrashesKey), 2);
}

TEST_F(CrashReportPanel, ClosingTheWindowByItsOwnControlActsAsCancel)
{
    storeEarlierDate();
    whenShown([] { closeByItsOwnControl(); });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
    EXPECT_FALSE(isShown());
    EXPECT_TRUE(wasJustStored(storedDate()));
    EXPECT_EQ(defaults()->integerForKey(MBWCrashReporterNumberOfUnreportedCrashesKey), 1);
}

TEST_F(CrashReportPanel, EscapeActsAsCancelWhereverTheFocusIs)
{
    storeEarlierDate();
    const auto focusWidgets = [] {
        return QList<QWidget *>{panel()->descriptionText(), panel()->emailField(), panel()->sendButton()};
    };
    for (int i = 0; i < 3; ++i) {
        whenShown([&, i] {
            EXPECT_TRUE(QTest::qWaitForWindowActive(panel()->window()));
            focusWidgets()[i]->setFocus();
            QTest::keyClick(focusWidgets()[i], Qt::Key_Escape);
        });
        EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s));
        EXPECT_EQ(defaults()->integerForKey(MBWCrashReporterNumberOfUnreportedCrashesKey), i + 1);
    }
}

TEST_F(CrashReportPanel, CancelReachesTheCrashReporterPropertyWhichThePanelNeverSets)
{
    const RawServer server(stalling());
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    panel()->setCrashReportLog(u"r"_s);
    panel()->sendReport();
    EXPECT_EQ(panel()->crashReporter(), nullptr);

    const auto reporter = std::make_shared<MBWCrashReporter>();
    std::optional<NSError> error;
    reporter->sendCrashReport(u"r"_s, {}, {}, server.url(), [&](const auto &received) { error = received; });
    panel()->setCrashReporter(reporter);
    panel()->cancel();
    ASSERT_TRUE(QTest::qWaitFor([&] { return error.has_value(); }, 5'000));
    EXPECT_EQ(error->code(), NSURLErrorCancelled);
}

TEST_F(CrashReportPanel, CancelWhileItSendsLeavesTheUploadRunning)
{
    PatientServer server;
    const CapturedStandardError standardError;
    sendAndCancel(server);
    EXPECT_FALSE(isShown());
    EXPECT_EQ(defaults()->integerForKey(MBWCrashReporterNumberOfUnreportedCrashesKey), 1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.hasReceived(); }, 5'000));
    server.letGo();
    QTest::qWait(100);
    EXPECT_FALSE(standardError.text().contains(u"Failed")) << "a cancelled upload would have been logged";
}

TEST_F(CrashReportPanel, TheLateEndOfACancelledPanelsUploadStopsNoSessionOfAnybodyElses)
{
    PatientServer server;
    sendAndCancel(server);

    QLabel somebodyElses;
    when([&] { return server.hasReceived(); },
         [&] {
             server.letGo();
             QTest::qWait(100);
             NSApplication::sharedApplication()->stopModalWithCode(7);
         });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&somebodyElses), 7);
}

TEST_F(CrashReportPanel, TheLateEndOfACancelledPanelsUploadDoesNotCloseTheNextReport)
{
    PatientServer server;
    sendAndCancel(server);

    bool wasStillShown = false;
    whenShown([&] {
        EXPECT_TRUE(QTest::qWaitFor([&] { return server.hasReceived(); }, 5'000));
        server.letGo();
        QTest::qWait(100);
        wasStillShown = isShown();
        EXPECT_EQ(panel()->progress()->maximum(), 1) << "nothing is being sent any more";
        click(cancelButton());
    });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"second"_s));
    EXPECT_TRUE(wasStillShown);
}

TEST_F(CrashReportPanel, CancelAsAnOrdinaryWindowStillAsksToStopASession)
{
    MBWCrashReportController::setRunAsModal(false);
    panel()->setCrashReportLog(u"r"_s);
    panel()->showWindow();
    QLabel modal;
    QTimer::singleShot(0, qApp, [] { panel()->cancel(); });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&modal), 0);
    EXPECT_FALSE(isShown());
}

// Faults around it

TEST_F(CrashReportPanel, WithoutAPreviewFileSendingIsUnaffected)
{
    ASSERT_TRUE(QDir(home.temporaryFolder()).removeRecursively());
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    storeEarlierDate();
    whenShown([] { click(panel()->sendButton()); });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"the report"_s));
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_TRUE(server.requests()[0].body.contains("the report"));
}

TEST_F(CrashReportPanel, AControllerThatIsDestroyedWhileItSendsIsNotCalledBack)
{
    const LoopbackServer server;
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    {
        MBWCrashReportController controller;
        controller.setCrashReportLog(u"r"_s);
        controller.send();
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.requests().size() == 1; }, 5'000));
    QTest::qWait(50);
}

TEST_F(CrashReportPanel, ClosingThePanelDoesNotEndAHostWithoutOtherWindows)
{
    MBWCrashReportController::setRunAsModal(false);
    storeEarlierDate();
    QTimer::singleShot(0, qApp, [] { EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s)); });
    whenShown([] {
        panel()->window()->close();
        QTimer::singleShot(50, qApp, [] { QApplication::exit(5); });
    });
    EXPECT_EQ(QApplication::exec(), 5);
}

TEST_F(CrashReportPanel, AHostThatQuitsWhileThePanelIsModalEnds)
{
    storeEarlierDate();
    bool wasShown = false;
    QTimer::singleShot(0, qApp, [&] { wasShown = MBWCrashReportController::reportCrash(u"r"_s); });
    whenShown([] { QCoreApplication::exit(5); });
    EXPECT_EQ(QApplication::exec(), 5);
    EXPECT_TRUE(wasShown);
}

TEST_F(CrashReportPanel, AHostThatQuitsWhileThePanelIsShownLeavesTheReportForTheNextLaunch)
{
    for (const bool isModal : {true, false}) {
        MBWCrashReportController::setRunAsModal(isModal);
        storeEarlierDate();
        crash();
        QTimer::singleShot(0, qApp, [] { EXPECT_TRUE(MBWCrashReportController::checkForCrash()); });
        whenShown([] { QCoreApplication::quit(); });
        EXPECT_EQ(QApplication::exec(), 0);
        EXPECT_FALSE(isShown());
        EXPECT_EQ(storedDate(), 1000);
        EXPECT_FALSE(defaults()->contains(MBWCrashReporterNumberOfUnreportedCrashesKey));
        EXPECT_TRUE(MBWCrashReporter().checkForCrashLog());
    }
}

TEST_F(CrashReportPanel, AHostThatQuitsWhileItSendsEndsAtOnceAndTheReportIsNotCountedAsCancelled)
{
    const RawServer server(stalling());
    MBWCrashReportController::setCrashReportURL(server.url().toString());
    storeEarlierDate();
    QTimer::singleShot(0, qApp, [] { EXPECT_TRUE(MBWCrashReportController::reportCrash(u"r"_s)); });
    QElapsedTimer sinceQuit;
    whenShown([&] {
        click(panel()->sendButton());
        when([&] { return server.requests().size() == 1; },
             [&] {
                 sinceQuit.start();
                 QCoreApplication::quit();
             });
    });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_LT(sinceQuit.elapsed(), 5'000);
    EXPECT_TRUE(wasJustStored(storedDate()));
    EXPECT_FALSE(defaults()->contains(MBWCrashReporterNumberOfUnreportedCrashesKey));
}

TEST_F(CrashReportPanel, AReportThatIsRaisedWhileThePanelIsModalReplacesTheFirstAndOneCancelEndsBoth)
{
    storeEarlierDate();
    bool hasEnded = false;
    whenShown([&] {
        QTimer::singleShot(50, qApp, [] {
            EXPECT_EQ(panel()->crashLogPreviewItem()->crashLog(), u"second"_s);
            click(cancelButton());
        });
        EXPECT_TRUE(MBWCrashReportController::reportCrash(u"second"_s));
        hasEnded = true;
    });
    EXPECT_TRUE(MBWCrashReportController::reportCrash(u"first"_s));
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(defaults()->integerForKey(MBWCrashReporterNumberOfUnreportedCrashesKey), 1);
}

TEST_F(CrashReportPanel, IsResponsiveWithAReportOf50Megabytes)
{
    storeEarlierDate();
    crash(QByteArray("0123456789012345678901234567890123456789012345678\n").repeated(1'000'000).constData());
    QElapsedTimer sinceLastEvent;
    qint64 longestPause = 0;
    QTimer heartbeat;
    QObject::connect(&heartbeat, &QTimer::timeout, qApp,
                     [&] { longestPause = qMax(longestPause, sinceLastEvent.restart()); });
    whenShown([&] {
        sinceLastEvent.start();
        heartbeat.start(1);
        QTimer::singleShot(3'000, qApp, [] { click(cancelButton()); });
    });
    EXPECT_TRUE(MBWCrashReportController::checkForCrash());
    RecordProperty("longestPauseInMilliseconds", std::to_string(longestPause));
    EXPECT_LT(longestPause, 2'000) << "the panel was stuck";
}
