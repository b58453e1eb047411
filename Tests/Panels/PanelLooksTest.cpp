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

void expectThatNothingIsCutOffOrCovered(const QWidget *window)
{
    QList<const QWidget *> parts;
    for (const QLabel *const label : window->findChildren<QLabel *>()) {
        if (!label->isVisible() || label->text().isEmpty())
            continue;
        parts.append(label);
        EXPECT_GE(label->height(), label->heightForWidth(label->width())) << qPrintable(label->text());
    }
    EXPECT_EQ(parts.size(), 2);
    for (const QPushButton *const button : window->findChildren<QPushButton *>()) {
        parts.append(button);
        EXPECT_GE(button->width(), button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width())
            << qPrintable(button->text());
    }
    const auto frame = [window](const QWidget *part) {
        return QRect(part->mapTo(window, QPoint()), part->size());
    };
    for (const QWidget *const part : parts) {
        EXPECT_TRUE(window->rect().contains(frame(part))) << qPrintable(part->objectName());
        for (const QWidget *const other : parts)
            EXPECT_TRUE(other == part || !frame(other).intersects(frame(part)))
                << qPrintable(part->objectName()) << " lies over " << qPrintable(other->objectName());
    }
}

void expectThatEveryTextIsReadable(const QWidget *window)
{
    for (const QWidget *const part : window->findChildren<QWidget *>())
        EXPECT_GE(
            contrast(part->palette().color(QPalette::WindowText), part->palette().color(QPalette::Window)),
            4.5)
            << qPrintable(part->objectName());
}

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
    });
    EXPECT_EQ(distanceFromTheLeft.size(), 6);
    QApplication::setLayoutDirection(Qt::RightToLeft);
    lookAtEach(u"right-to-left"_s, [&](const QWidget *window) {
        for (const QPushButton *const button : window->findChildren<QPushButton *>()) {
            const int fromTheRight = window->width() - button->mapTo(window, button->rect().topRight()).x()
                                     - 1;
            EXPECT_NEAR(fromTheRight, distanceFromTheLeft[button->text()], 1) << qPrintable(button->text());
        }
    });
}

TEST_F(PanelLooks, TheFeedbackPanelGrowsWithAVeryLongApplicationName)
{
    const auto controller = MBWFeedbackPanelController::init();
    controller->showWindowForApplicationName(u"Cartographer of the Northern Isles "_s.repeated(20));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(controller->window()));
    expectThatNothingIsCutOffOrCovered(controller->window());
}
