#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/WindowLooks.h"

#include <Marblewick/MBWCrashReportController.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

class CrashReportLooks : public ::testing::Test
{
protected:
    CrashReportLooks()
    {
        QCoreApplication::setApplicationName(u"Cartographer"_s);
        MBWCrashReportController::setCrashReportURL(u"https://crash.example.com/report"_s);
    }

    void show()
    {
        controller.setCrashReportLog(u"Process:   cartographer [40217]\nException: SIGSEGV\n"_s.repeated(30));
        controller.showWindow();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(controller.window()));
    }

    const TemporaryHome home;
    MBWCrashReportController controller;
};

} // namespace

TEST_F(CrashReportLooks, NothingIsCutOffInTheLightPalette)
{
    show();
    expectThatNothingIsCutOffOrCovered(controller.window());
    keepPicture(controller.window(), u"crash-report-light"_s);
}

TEST_F(CrashReportLooks, EveryTextIsReadableInADarkPalette)
{
    useDarkPalette();
    show();
    expectThatEveryTextIsReadable(controller.window());
    keepPicture(controller.window(), u"crash-report-dark"_s);
}

TEST_F(CrashReportLooks, EveryTextIsTranslatedAndNothingIsCutOffInAWordyLanguage)
{
    WordyTranslator translator("CrashReport");
    QCoreApplication::installTranslator(&translator);
    show();
    const QWidget *const window = controller.window();
    EXPECT_TRUE(window->windowTitle().startsWith(u"Übersetzt")) << qPrintable(window->windowTitle());
    for (const QLabel *const label : window->findChildren<QLabel *>())
        EXPECT_TRUE(label->text().isEmpty() || label->text().startsWith(u"Übersetzt"))
            << qPrintable(label->text());
    for (const QPushButton *const button : window->findChildren<QPushButton *>())
        EXPECT_TRUE(button->text().startsWith(u"Übersetzt")) << qPrintable(button->text());
    EXPECT_TRUE(controller.emailField()->placeholderText().startsWith(u"Übersetzt"));
    EXPECT_TRUE(controller.descriptionText()->placeholderText().startsWith(u"Übersetzt"));
    expectThatNothingIsCutOffOrCovered(controller.window());
    keepPicture(controller.window(), u"crash-report-wordy"_s);
}

TEST_F(CrashReportLooks, TheTextsFollowATranslatorThatIsInstalledWhileThePanelIsShown)
{
    show();
    const auto *const headline = controller.window()->findChild<QLabel *>(u"headlineLabel"_s);
    EXPECT_EQ(headline->text(), u"Cartographer quit unexpectedly"_s);
    WordyTranslator translator("CrashReport");
    QCoreApplication::installTranslator(&translator);
    QTest::qWait(0);
    EXPECT_TRUE(headline->text().startsWith(u"Übersetzt: Cartographer quit unexpectedly"))
        << qPrintable(headline->text());
}

TEST_F(CrashReportLooks, TheWindowCanBeMadeSmallerWithoutCuttingItsTexts)
{
    show();
    controller.window()->resize(controller.window()->minimumSize());
    QTest::qWait(0);
    expectThatNothingIsCutOffOrCovered(controller.window());
    keepPicture(controller.window(), u"crash-report-small"_s);
    controller.window()->resize(1200, 900);
    QTest::qWait(0);
    expectThatNothingIsCutOffOrCovered(controller.window());
}
