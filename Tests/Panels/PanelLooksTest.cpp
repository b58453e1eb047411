#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/When.h"
#include "Tests/Support/WindowLooks.h"

#include <Marblewick/MBWFeedbackPanel.h>
#include <Marblewick/MBWFeedbackPanelController.h>
#include <Marblewick/MBWNewsPanelController.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

class PanelLooks : public ::testing::Test
{
protected:
    PanelLooks() { QCoreApplication::setApplicationName(u"Cartographer"_s); }

    /*! Shows each panel, looks at it, keeps its picture and closes it. */
    void lookAtEach(const QString &pictureName, const std::function<void(QWidget *)> &look)
    {
        lookAtFeedbackPanel(pictureName, look);
        lookAtNewsPrompt(pictureName, look);
    }

    void lookAtFeedbackPanel(const QString &pictureName, const std::function<void(QWidget *)> &look)
    {
        const auto controller = MBWFeedbackPanelController::init();
        auto *const panel = qobject_cast<MBWFeedbackPanel *>(controller->window());
        controller->showWindowForApplicationName(u"Cartographer"_s);
        ASSERT_TRUE(QTest::qWaitFor([&] { return panel->alphaValue() == 1; }));
        look(panel);
        expectThatNothingIsCutOffOrCovered(panel);
        keepPicture(panel, u"feedback-"_s + pictureName);
    }

    void lookAtNewsPrompt(const QString &pictureName, const std::function<void(QWidget *)> &look)
    {
        bool wasShown = false;
        when([] { return QApplication::activeModalWidget() && QApplication::activeWindow(); },
             [&] {
                 wasShown = true;
                 QWidget *const prompt = QApplication::activeModalWidget();
                 look(prompt);
                 expectThatNothingIsCutOffOrCovered(prompt);
                 keepPicture(prompt, u"news-"_s + pictureName);
                 QTest::keyClick(prompt, Qt::Key_Escape);
             });
        MBWNewsPanelController::sharedPanel()->showSubscribePanel();
        EXPECT_TRUE(wasShown);
    }

    const TemporaryHome home;
};

} // namespace

TEST_F(PanelLooks, NothingIsCutOffInTheLightPalette)
{
    lookAtEach(u"light"_s, expectThatEveryTextIsReadable);
}

TEST_F(PanelLooks, EveryTextIsReadableInADarkPalette)
{
    useDarkPalette();
    lookAtEach(u"dark"_s, expectThatEveryTextIsReadable);
}

TEST_F(PanelLooks, NothingIsCutOffInAWordyLanguage)
{
    WordyTranslator messages("Localizable");
    WordyTranslator panelTexts("FeedbackPanel");
    QCoreApplication::installTranslator(&messages);
    QCoreApplication::installTranslator(&panelTexts);
    lookAtEach(u"wordy"_s, [](const QWidget *window) {
        for (const QLabel *const label : window->findChildren<QLabel *>())
            EXPECT_TRUE(label->text().isEmpty() || label->text().startsWith(u"Übersetzt: "))
                << qPrintable(label->text());
        for (const QPushButton *const button : window->findChildren<QPushButton *>())
            EXPECT_TRUE(button->text().startsWith(u"Übersetzt: ")) << qPrintable(button->text());
    });
}

TEST_F(PanelLooks, EachIsMirroredWhereTheTextRunsFromRightToLeft)
{
    QMap<QString, int> distanceFromTheLeft;
    lookAtEach(u"left-to-right"_s, [&](const QWidget *window) {
        for (const QPushButton *const button : window->findChildren<QPushButton *>())
            distanceFromTheLeft[button->text()] = button->mapTo(window, QPoint()).x();
        expectThatTextsLieWhereLinesBegin(window);
    });
    EXPECT_EQ(distanceFromTheLeft.size(), 6);
    QApplication::setLayoutDirection(Qt::RightToLeft);
    lookAtEach(u"right-to-left"_s, [&](const QWidget *window) {
        for (const QPushButton *const button : window->findChildren<QPushButton *>()) {
            const int fromTheRight = window->width() - button->mapTo(window, button->rect().topRight()).x()
                                     - 1;
            EXPECT_NEAR(fromTheRight, distanceFromTheLeft[button->text()], 1) << qPrintable(button->text());
        }
        expectThatTextsLieWhereLinesBegin(window);
    });
}

TEST_F(PanelLooks, TheFeedbackPanelIsMirroredWhileItIsShownWithItsTexts)
{
    const auto controller = MBWFeedbackPanelController::init();
    controller->showWindowForApplicationName(u"Cartographer"_s);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(controller->window()));
    QApplication::setLayoutDirection(Qt::RightToLeft);
    QTest::qWait(0);
    expectThatTextsLieWhereLinesBegin(controller->window());
}

TEST_F(PanelLooks, TheFeedbackPanelGrowsWithAVeryLongApplicationName)
{
    const auto controller = MBWFeedbackPanelController::init();
    controller->showWindowForApplicationName(u"Cartographer of the Northern Isles "_s.repeated(20));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(controller->window()));
    expectThatNothingIsCutOffOrCovered(controller->window());
}
