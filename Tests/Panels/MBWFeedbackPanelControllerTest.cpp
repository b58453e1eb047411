#include <Marblewick/MBWFeedbackPanelController.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/MBWFeedbackPanel.h>

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QElapsedTimer>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QTranslator>
#include <QWindow>

#include <array>
#include <functional>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

struct Delegate : MBWFeedbackPanelControllerDelegate
{
    void feedbackPanelControllerDidEndWithResponse(MBWFeedbackPanelController *controller,
                                                   MBWFeedbackPanelResponse response) override
    {
        sender = controller;
        answers.push_back(response);
        if (react)
            std::exchange(react, nullptr)();
    }

    MBWFeedbackPanelController *sender = nullptr;
    std::vector<qint64> answers;
    /*! What the host does at the first answer. */
    std::function<void()> react;
};

class FeedbackPanel : public ::testing::Test
{
protected:
    FeedbackPanel() { controller->setDelegate(&delegate); }

    MBWFeedbackPanel *panel() { return qobject_cast<MBWFeedbackPanel *>(controller->window()); }
    QPushButton *button(const char *name)
    {
        return panel()->findChild<QPushButton *>(QLatin1StringView(name));
    }
    bool isOpaque() { return panel()->alphaValue() == 1; }
    int distanceFromTheMiddleOf(const QRect &place)
    {
        return (panel()->frameGeometry().center() - place.center()).manhattanLength();
    }

    void show()
    {
        controller->showWindowForApplicationName(u"Cartographer"_s);
        ASSERT_TRUE(QTest::qWaitForWindowActive(panel()));
    }
    void showAndWaitForTheFade()
    {
        show();
        ASSERT_TRUE(QTest::qWaitFor([this] { return isOpaque(); }));
    }

    const TemporaryHome home;
    Delegate delegate;
    std::unique_ptr<MBWFeedbackPanelController> controller = MBWFeedbackPanelController::init();
};

using Answers = std::vector<qint64>;

QString expectedText(const QString &name)
{
    return u"If you like "_s + name
           + u", please consider rating the app or leaving a review on the Mac\u00A0App\u00A0Store, thanks!"_s;
}

} // namespace

// Loading

TEST_F(FeedbackPanel, ItsWindowIsLoadedHiddenAndTransparentAsSoonAsThereIsAController)
{
    EXPECT_EQ(controller->windowNibName(), u"FeedbackPanel"_s);
    EXPECT_TRUE(controller->isWindowLoaded());
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(panel()->alphaValue(), 0);
}

TEST_F(FeedbackPanel, HasAHeadingFromItsLayout)
{
    EXPECT_FALSE(controller->ratingText()->text().isEmpty());
    EXPECT_TRUE(controller->ratingText()->font().bold());
}

TEST_F(FeedbackPanel, BeforeItIsAskedForItHasNoNameAndPrintsItAsNull)
{
    EXPECT_EQ(controller->applicatioName(), std::nullopt);
    EXPECT_EQ(controller->infoText()->text(), expectedText(u"(null)"_s));
}

TEST_F(FeedbackPanel, ItsBackgroundHasCornersRoundedAtFivePointsAsFineAsTheScreen)
{
    show();
    const double scale = panel()->devicePixelRatio();
    const QImage mask = controller->visualEffectView()->maskImage();
    EXPECT_EQ(mask.size(), controller->visualEffectView()->size() * scale);
    // The pixel at a place in points.
    const auto alpha = [&](double x, double y) {
        return mask.pixelColor((QPointF(x, y) * scale).toPoint()).alpha();
    };
    for (const QPoint &corner : {QPoint(0, 0), QPoint(mask.width() - 1, 0), QPoint(0, mask.height() - 1),
                                 QPoint(mask.width() - 1, mask.height() - 1)})
        EXPECT_EQ(mask.pixelColor(corner).alpha(), 0);
    // A circle of radius 5 around (5, 5) touches the edges there and cuts the diagonal at 1.46.
    EXPECT_GT(alpha(5, 0), 240);
    EXPECT_GT(alpha(0, 5), 240);
    EXPECT_LT(alpha(1, 0), 64);
    EXPECT_GT(alpha(2, 2), 240);
    EXPECT_EQ(mask.pixelColor(mask.rect().center()), QColor(Qt::black));
}

TEST_F(FeedbackPanel, ItsCornersStayRoundWhereItsSizeChanges)
{
    show();
    panel()->resize(700, 300);
    EXPECT_TRUE(QTest::qWaitFor([this] { return controller->visualEffectView()->width() == 700; }));
    EXPECT_EQ(controller->visualEffectView()->maskImage().size(),
              QSize(700, 300) * panel()->devicePixelRatio());
}

TEST_F(FeedbackPanel, ItsCornersAreMadeAnewForAnotherScreen)
{
    show();
    controller->visualEffectView()->setMaskImage({});
    QEvent event(QEvent::ScreenChangeInternal); // what the toolkit sends then
    QCoreApplication::sendEvent(controller->visualEffectView(), &event);
    EXPECT_EQ(controller->visualEffectView()->maskImage().size(),
              controller->visualEffectView()->size() * panel()->devicePixelRatio());
}

TEST_F(FeedbackPanel, ABackgroundWithoutASizeIsNotDrawnOnAndNothingIsReported)
{
    show();
    const CapturedStandardError log;
    controller->visualEffectView()->resize(0, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(log.text(), QString());
}

TEST_F(FeedbackPanel, ItsCornersAreSeenThrough)
{
    showAndWaitForTheFade();
    const QImage picture = panel()->grab().toImage();
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(picture.rect().bottomRight()).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(10, 10).alpha(), 255);
}

// The text

TEST_F(FeedbackPanel, PutsTheApplicationsNameIntoItsText)
{
    controller->setApplicatioName(u"100% & <b>%@</b>"_s);
    controller->updateInfoText();
    EXPECT_EQ(controller->infoText()->text(), expectedText(u"100% & <b>%@</b>"_s));
    EXPECT_EQ(controller->infoText()->textFormat(), Qt::PlainText);
}

TEST_F(FeedbackPanel, KeepsTheNameOfTheStoreTogetherByNoBreakSpaces)
{
    const QString text = controller->infoText()->text();
    EXPECT_TRUE(text.contains(u"Mac\u00A0App\u00A0Store"_s));
    EXPECT_EQ(text.count(u'\u00A0'), 2);
}

namespace {

class GermanTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        if (qstrcmp(context, "Localizable") == 0
            && QString::fromUtf8(sourceText)
                   == u"If you like %@, please consider rating the app or leaving a review on the "
                      u"Mac\u00A0App\u00A0Store, thanks!")
            return u"Gefällt dir %@?"_s;
        return qstrcmp(context, "FeedbackPanel") == 0 ? u"auf Deutsch"_s : QString();
    }
};

} // namespace

TEST_F(FeedbackPanel, ItsTextsAreTranslatedAlsoWhileItIsShown)
{
    show();
    GermanTranslator translator;
    QCoreApplication::installTranslator(&translator);
    EXPECT_TRUE(QTest::qWaitFor([this] {
        return controller->infoText()->text() == u"Gefällt dir Cartographer?"
               && controller->ratingText()->text() == u"auf Deutsch";
    }));
    controller->setApplicatioName(u"Atlas"_s);
    controller->updateInfoText();
    EXPECT_EQ(controller->infoText()->text(), u"Gefällt dir Atlas?"_s);
}

// Showing

TEST_F(FeedbackPanel, IsShownForAnApplicationAndFadesInFromNothing)
{
    controller->showWindowForApplicationName(u"Cartographer"_s);
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(controller->applicatioName(), u"Cartographer"_s);
    EXPECT_EQ(controller->infoText()->text(), expectedText(u"Cartographer"_s));
    EXPECT_EQ(panel()->alphaValue(), 0);
    EXPECT_TRUE(QTest::qWaitFor([this] { return panel()->alphaValue() > 0; }));
    EXPECT_FALSE(isOpaque()) << "it appeared at once";
    EXPECT_TRUE(QTest::qWaitFor([this] { return isOpaque(); }));
    EXPECT_EQ(delegate.answers, Answers());
}

TEST_F(FeedbackPanel, IsShownByTheWindowControllersOwnWayToo)
{
    NSWindowController *const windowController = controller.get();
    windowController->showWindow();
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_TRUE(QTest::qWaitFor([this] { return isOpaque(); }));
}

TEST_F(FeedbackPanel, ShowingItWhileItIsShownClosesItWithTheAnswerLaterAndDoesNotUseTheName)
{
    showAndWaitForTheFade();
    controller->showWindowForApplicationName(u"Atlas"_s);
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(delegate.answers, Answers{1});
    EXPECT_EQ(controller->applicatioName(), u"Cartographer"_s);
    EXPECT_EQ(controller->infoText()->text(), expectedText(u"Cartographer"_s));
    EXPECT_EQ(panel()->alphaValue(), 0);
}

TEST_F(FeedbackPanel, CallingTwiceTogglesItEachTimeWithOneAnswer)
{
    for (int i = 1; i <= 6; ++i) {
        controller->showWindowForApplicationName(u"Cartographer"_s);
        EXPECT_EQ(panel()->isVisible(), i % 2 == 1);
        EXPECT_EQ(delegate.answers.size(), static_cast<size_t>(i / 2));
    }
}

TEST_F(FeedbackPanel, IsOpaqueInTheEndEachTimeItIsShown)
{
    for (int i = 0; i < 2; ++i) {
        showAndWaitForTheFade();
        controller->rateLater();
        EXPECT_EQ(panel()->alphaValue(), 0);
    }
}

TEST_F(FeedbackPanel, AFadeThatWasInterruptedDoesNotMakeTheHiddenPanelOpaque)
{
    show();
    ASSERT_TRUE(QTest::qWaitFor([this] { return panel()->alphaValue() > 0; }));
    controller->rateLater();
    QTest::qWait(400); // longer than the fade takes
    EXPECT_EQ(panel()->alphaValue(), 0);
}

TEST_F(FeedbackPanel, IsPutInTheMiddleOfTheActiveWindowAndStaysAboveIt)
{
    QWidget host;
    host.setGeometry(100, 120, 600, 400);
    host.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&host));
    show();
    EXPECT_LE(distanceFromTheMiddleOf(host.frameGeometry()), 2);
    EXPECT_EQ(panel()->windowHandle()->transientParent(), host.windowHandle());
}

TEST_F(FeedbackPanel, IsPutInTheMiddleOfADialogThatIsTheHostsOnlyWindowWhetherItIsActiveOrNot)
{
    for (const bool isActive : {true, false}) {
        controller = MBWFeedbackPanelController::init();
        QDialog host;
        host.setGeometry(100, 120, 600, 400);
        host.show();
        ASSERT_TRUE(!isActive || QTest::qWaitForWindowActive(&host));
        ASSERT_EQ(QApplication::activeWindow(), isActive ? &host : nullptr);
        controller->showWindowForApplicationName(u"Cartographer"_s);
        EXPECT_LE(distanceFromTheMiddleOf(host.frameGeometry()), 2);
        EXPECT_EQ(panel()->windowHandle()->transientParent(), host.windowHandle());
    }
}

TEST_F(FeedbackPanel, IsPutInTheMiddleOfAWindowWithoutWidgetsWhetherItIsActiveOrNot)
{
    QWindow other;
    other.setGeometry(10, 10, 200, 200);
    other.show();
    QWindow host;
    host.setGeometry(100, 120, 600, 400);
    host.show();
    controller->showWindowForApplicationName(u"Cartographer"_s);
    EXPECT_EQ(panel()->windowHandle()->transientParent(), &other);
    EXPECT_LE(distanceFromTheMiddleOf(other.frameGeometry()), 2);
    controller = MBWFeedbackPanelController::init();
    host.requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&host));
    controller->showWindowForApplicationName(u"Cartographer"_s);
    EXPECT_EQ(panel()->windowHandle()->transientParent(), &host);
    EXPECT_LE(distanceFromTheMiddleOf(host.frameGeometry()), 2);
}

TEST_F(FeedbackPanel, IsPutOverTheModalDialogThatBlocksTheOtherWindowsAndIsNotBlockedItself)
{
    QWidget host;
    host.setGeometry(0, 0, 200, 200);
    host.show();
    QDialog dialog;
    dialog.setModal(true);
    dialog.setGeometry(100, 120, 600, 400);
    dialog.show();
    ASSERT_EQ(QApplication::activeWindow(), nullptr);
    showAndWaitForTheFade();
    EXPECT_EQ(panel()->windowHandle()->transientParent(), dialog.windowHandle());
    const QPushButton *const rate = button("rateAppButton");
    QTest::mouseClick(panel()->windowHandle(), Qt::LeftButton, {},
                      rate->mapTo(panel(), rate->rect().center()));
    EXPECT_EQ(delegate.answers, Answers{0});
}

TEST_F(FeedbackPanel, StaysAboveTheFirstOfSeveralWindowsWhereNoneIsActive)
{
    std::array<QWidget, 8> hosts;
    for (QWidget &host : hosts)
        host.show();
    ASSERT_EQ(QApplication::activeWindow(), nullptr);
    controller->showWindowForApplicationName(u"Cartographer"_s);
    EXPECT_EQ(panel()->windowHandle()->transientParent(), hosts.front().windowHandle());
}

TEST_F(FeedbackPanel, StaysAboveAWindowThatIsShownWhereNoneIsActiveAsAtLaunch)
{
    QWidget minimized;
    minimized.showMinimized();
    QWidget host;
    host.setGeometry(100, 120, 600, 400);
    host.show();
    ASSERT_EQ(QApplication::activeWindow(), nullptr);
    controller->showWindowForApplicationName(u"Cartographer"_s);
    EXPECT_EQ(panel()->windowHandle()->transientParent(), host.windowHandle());
}

TEST_F(FeedbackPanel, StaysAboveNoWindowWhereTheHostShowsNone)
{
    controller->showWindowForApplicationName(u"Cartographer"_s);
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(panel()->windowHandle()->transientParent(), nullptr);
    EXPECT_LE(distanceFromTheMiddleOf(panel()->screen()->availableGeometry()), 2);
}

TEST_F(FeedbackPanel, FadesInOverAQuarterOfASecond)
{
    QElapsedTimer time;
    time.start();
    controller->showWindowForApplicationName(u"Cartographer"_s);
    ASSERT_TRUE(QTest::qWaitFor([this] { return isOpaque(); }));
    EXPECT_GE(time.elapsed(), 245); // The clock of animations counts whole milliseconds.
    EXPECT_LT(time.elapsed(), 1500); // A busy machine may be late.
}

TEST_F(FeedbackPanel, StaysWhereTheUserMovedItWhenItIsShownAgain)
{
    show();
    panel()->move(33, 44);
    controller->rateLater();
    show();
    EXPECT_EQ(panel()->pos(), QPoint(33, 44));
}

TEST_F(FeedbackPanel, DoesNotEndAHostWithoutOtherWindows)
{
    show();
    QTimer::singleShot(0, qApp, [this] {
        controller->rateLater();
        // Were the host to quit for the closed panel, it would do so before this.
        QTimer::singleShot(50, qApp, [] { QApplication::exit(5); });
    });
    EXPECT_EQ(QApplication::exec(), 5);
}

// Answers

TEST_F(FeedbackPanel, AnswersAreNumberedRateLaterDeclineSupport)
{
    EXPECT_EQ(qint64{MBWFeedbackPanelResponseRateApp}, 0);
    EXPECT_EQ(qint64{MBWFeedbackPanelResponseRateLater}, 1);
    EXPECT_EQ(qint64{MBWFeedbackPanelResponseDeclineRateApp}, 2);
    EXPECT_EQ(qint64{MBWFeedbackPanelResponseGetSupport}, 3);
}

TEST_F(FeedbackPanel, EachButtonHidesThePanelAndSendsItsOwnAnswerExactlyOnce)
{
    const std::pair<const char *, qint64> buttons[] = {
        {"rateAppButton", 0}, {"rateLaterButton", 1}, {"declineRateAppButton", 2}, {"getSupportButton", 3}};
    for (const auto &[name, answer] : buttons) {
        delegate.answers.clear();
        showAndWaitForTheFade();
        QTest::mouseClick(button(name), Qt::LeftButton);
        EXPECT_FALSE(panel()->isVisible()) << name;
        EXPECT_EQ(panel()->alphaValue(), 0) << name;
        QCoreApplication::processEvents();
        EXPECT_EQ(delegate.answers, Answers{answer}) << name;
        EXPECT_EQ(delegate.sender, controller.get());
    }
}

TEST_F(FeedbackPanel, ASecondClickDoesNotAnswerAgain)
{
    showAndWaitForTheFade();
    QTest::mouseClick(button("rateAppButton"), Qt::LeftButton);
    QTest::mouseClick(button("rateAppButton"), Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(delegate.answers, Answers{0});
}

TEST_F(FeedbackPanel, EachActionSendsItsOwnAnswer)
{
    controller->rateApp();
    controller->rateLater();
    controller->declineRateApp();
    controller->getSupport();
    EXPECT_EQ(delegate.answers, (Answers{0, 1, 2, 3}));
    EXPECT_EQ(panel()->alphaValue(), 0);
}

TEST_F(FeedbackPanel, IsOffTheScreenAndStillOpaqueWhenTheDelegateIsTold)
{
    showAndWaitForTheFade();
    bool wasVisible = true;
    double alpha = 0;
    delegate.react = [&] {
        wasVisible = panel()->isVisible();
        alpha = panel()->alphaValue();
    };
    controller->getSupport();
    EXPECT_FALSE(wasVisible);
    EXPECT_EQ(alpha, 1);
    EXPECT_EQ(panel()->alphaValue(), 0);
}

TEST_F(FeedbackPanel, WithoutADelegateTheAnswerIsDropped)
{
    controller->setDelegate(nullptr);
    show();
    QTest::mouseClick(button("rateAppButton"), Qt::LeftButton);
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(panel()->alphaValue(), 0);
    EXPECT_EQ(delegate.answers, Answers());
}

TEST_F(FeedbackPanel, ADelegateMayDestroyTheControllerWhateverThePanelWasClosedBy)
{
    const std::function<void()> closings[] = {
        [this] { QTest::mouseClick(button("rateAppButton"), Qt::LeftButton); },
        [this] { QTest::keyClick(button("getSupportButton"), Qt::Key_Space); },
        [this] { QTest::keyClick(button("rateAppButton"), Qt::Key_Return); },
        [this] { QTest::keyClick(panel(), Qt::Key_Escape); },
        [this] { QTest::keyClick(panel(), Qt::Key_L, Qt::AltModifier); },
        [this] {
            QCloseEvent event;
            QCoreApplication::sendEvent(panel()->windowHandle(), &event);
        },
        [this] { panel()->close(); },
        [this] { controller->showWindowForApplicationName(u"Atlas"_s); },
        [this] { controller->closeWindowWithResponse(MBWFeedbackPanelResponseDeclineRateApp); },
    };
    for (const auto &close : closings) {
        delegate.answers.clear();
        controller = MBWFeedbackPanelController::init();
        controller->setDelegate(&delegate);
        show();
        const QPointer<QWidget> window = panel();
        delegate.react = [this] { controller.reset(); };
        close();
        EXPECT_TRUE(QTest::qWaitFor([this] { return !controller; }));
        QCoreApplication::processEvents();
        EXPECT_EQ(delegate.answers.size(), 1U);
        EXPECT_TRUE(window.isNull());
    }
}

TEST_F(FeedbackPanel, ADelegateMayShowThePanelAgainWhichFadesInFromNothing)
{
    showAndWaitForTheFade();
    double alphaWhenShownAgain = -1;
    delegate.react = [&] {
        controller->showWindowForApplicationName(u"Atlas"_s);
        alphaWhenShownAgain = panel()->alphaValue();
    };
    QTest::mouseClick(button("declineRateAppButton"), Qt::LeftButton);
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_EQ(alphaWhenShownAgain, 0);
    EXPECT_LT(panel()->alphaValue(), 1);
    EXPECT_EQ(controller->applicatioName(), u"Atlas"_s);
    EXPECT_TRUE(QTest::qWaitFor([this] { return isOpaque(); }));
    EXPECT_EQ(delegate.answers, Answers{2});
    QTest::mouseClick(button("rateAppButton"), Qt::LeftButton);
    EXPECT_EQ(delegate.answers, (Answers{2, 0}));
}

TEST_F(FeedbackPanel, ADelegateMayShowThePanelAgainAndWaitUntilItIsOpaque)
{
    showAndWaitForTheFade();
    delegate.react = [this] { showAndWaitForTheFade(); };
    controller->rateLater();
    EXPECT_TRUE(panel()->isVisible());
    EXPECT_TRUE(isOpaque());
}

TEST_F(FeedbackPanel, ADelegateMayShowThePanelAgainThatWasClosedAsAWindow)
{
    const std::function<void()> closings[] = {
        [this] { EXPECT_FALSE(panel()->close()); },
        [this] {
            QCloseEvent event;
            QCoreApplication::sendEvent(panel()->windowHandle(), &event);
        },
    };
    for (const auto &close : closings) {
        delegate.answers.clear();
        showAndWaitForTheFade();
        delegate.react = [this] { controller->showWindowForApplicationName(u"Atlas"_s); };
        close();
        EXPECT_TRUE(panel()->isVisible());
        EXPECT_TRUE(QTest::qWaitFor([this] { return isOpaque(); }));
        EXPECT_EQ(delegate.answers, Answers{1});
        controller->rateLater();
    }
}

TEST_F(FeedbackPanel, ADelegateMayShowAndCloseThePanelAgain)
{
    show();
    delegate.react = [this] {
        controller->showWindowForApplicationName(u"Cartographer"_s);
        controller->rateApp();
    };
    controller->rateLater();
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(panel()->alphaValue(), 0);
    EXPECT_EQ(delegate.answers, (Answers{1, 0}));
}

// The keyboard, and other ways to close a window

TEST_F(FeedbackPanel, ReturnRatesNowAsThatButtonHasTheFocusAtFirst)
{
    show();
    QTest::keyClick(panel()->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(delegate.answers, Answers{0});
}

TEST_F(FeedbackPanel, EachButtonIsReachedByTheTabKeyAndPressedBySpaceOrReturn)
{
    const std::pair<const char *, qint64> order[] = {
        {"rateAppButton", 0}, {"getSupportButton", 3}, {"declineRateAppButton", 2}, {"rateLaterButton", 1}};
    for (const auto &[name, answer] : order) {
        for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
            delegate.answers.clear();
            show();
            button("rateAppButton")->setFocus();
            for (int i = 0; i < 4 && panel()->focusWidget() != button(name); ++i)
                QTest::keyClick(panel()->focusWidget(), Qt::Key_Tab);
            ASSERT_EQ(panel()->focusWidget(), button(name)) << name;
            QTest::keyClick(panel()->focusWidget(), key);
            EXPECT_EQ(delegate.answers, Answers{answer}) << name;
        }
    }
}

TEST_F(FeedbackPanel, EachButtonHasAKeyOfItsOwn)
{
    const std::pair<Qt::Key, qint64> keys[] = {
        {Qt::Key_R, 0}, {Qt::Key_L, 1}, {Qt::Key_N, 2}, {Qt::Key_S, 3}};
    for (const auto &[key, answer] : keys) {
        delegate.answers.clear();
        show();
        QTest::keyClick(panel(), key, Qt::AltModifier);
        EXPECT_TRUE(QTest::qWaitFor([this] { return !panel()->isVisible(); }));
        EXPECT_EQ(delegate.answers, Answers{answer});
    }
}

TEST_F(FeedbackPanel, EscapeRightAfterAButtonsKeyAnswersOnlyOnce)
{
    show();
    QTest::keyClick(panel(), Qt::Key_R, Qt::AltModifier);
    ASSERT_TRUE(button("rateAppButton")->isDown());
    QTest::keyClick(panel(), Qt::Key_Escape);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !button("rateAppButton")->isDown(); }));
    EXPECT_EQ(delegate.answers, Answers{1});
}

TEST_F(FeedbackPanel, EscapeAnswersLater)
{
    show();
    QTest::keyClick(panel(), Qt::Key_Escape);
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(delegate.answers, Answers{1});
}

TEST_F(FeedbackPanel, ClosingItThroughTheWindowManagerAnswersLaterOnce)
{
    showAndWaitForTheFade();
    QCloseEvent event;
    QCoreApplication::sendEvent(panel()->windowHandle(), &event);
    QCoreApplication::processEvents();
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(delegate.answers, Answers{1});
    EXPECT_EQ(panel()->alphaValue(), 0);
}

TEST_F(FeedbackPanel, QuittingTheApplicationIsNoAnswer)
{
    show();
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QApplication::exec();
    EXPECT_FALSE(panel()->isVisible());
    EXPECT_EQ(delegate.answers, Answers());
}

namespace {

/*! A host's window that refuses to be closed, after it has let events be handled as a question to the user
 * does.
 */
class UnwillingWindow : public QWidget
{
public:
    int refusals = 0;

protected:
    void closeEvent(QCloseEvent *event) override
    {
        QCoreApplication::processEvents();
        event->ignore();
        ++refusals;
    }
};

} // namespace

TEST_F(FeedbackPanel, StaysWithoutAnAnswerWhereAWindowOfTheHostRefusesToQuit)
{
    UnwillingWindow host;
    host.show();
    showAndWaitForTheFade();
    QTimer::singleShot(0, qApp, [&] {
        QCoreApplication::quit();
        EXPECT_EQ(host.refusals, 1);
        EXPECT_TRUE(panel()->isVisible());
        EXPECT_TRUE(isOpaque());
        EXPECT_EQ(delegate.answers, Answers());
        QTest::mouseClick(button("rateAppButton"), Qt::LeftButton);
        EXPECT_EQ(delegate.answers, Answers{0});
        QCoreApplication::exit(5);
    });
    EXPECT_EQ(QApplication::exec(), 5);
}

TEST_F(FeedbackPanel, DestroyingTheControllerWhileItIsShownIsNoAnswer)
{
    show();
    controller.reset();
    EXPECT_EQ(delegate.answers, Answers());
}

TEST_F(FeedbackPanel, AScreenReaderIsToldTheWindowsAndTheButtonsNames)
{
    const auto name = [](QObject *object) {
        return QAccessible::queryAccessibleInterface(object)->text(QAccessible::Name);
    };
    EXPECT_EQ(name(panel()), u"Feedback"_s);
    EXPECT_EQ(name(button("rateAppButton")), u"Rate Now"_s);
    EXPECT_EQ(name(button("rateLaterButton")), u"Later"_s);
    EXPECT_EQ(name(button("declineRateAppButton")), u"No, Thanks"_s);
    EXPECT_EQ(name(button("getSupportButton")), u"Get Support"_s);
    EXPECT_EQ(name(controller->infoText()), controller->infoText()->text());
}

// Parts that are missing

TEST_F(FeedbackPanel, AChangeOfLanguageIsTakenWithWhateverPartsAreLeft)
{
    GermanTranslator translator;
    const auto changeLanguage = [&translator] {
        QCoreApplication::removeTranslator(&translator);
        QCoreApplication::installTranslator(&translator);
        QCoreApplication::processEvents();
    };
    delete controller->infoText();
    changeLanguage();
    EXPECT_EQ(controller->ratingText()->text(), u"auf Deutsch"_s);
    delete controller->ratingText();
    changeLanguage();
    delete controller->visualEffectView();
    changeLanguage();
    EXPECT_EQ(controller->infoText(), nullptr);
    EXPECT_EQ(controller->ratingText(), nullptr);
}

TEST_F(FeedbackPanel, WhatWouldBeDoneToAPartThatIsMissingIsNotDoneAndThePanelStillAnswers)
{
    show(); // An empty window has no size of its own to be shown in.
    controller->rateApp();
    delete controller->infoText();
    EXPECT_EQ(controller->infoText(), nullptr);
    controller->updateInfoText();
    delete controller->visualEffectView();
    EXPECT_EQ(controller->visualEffectView(), nullptr);
    EXPECT_EQ(controller->ratingText(), nullptr);
    showAndWaitForTheFade();
    QTest::keyClick(panel(), Qt::Key_Escape);
    EXPECT_EQ(delegate.answers, (Answers{0, 1}));
}
