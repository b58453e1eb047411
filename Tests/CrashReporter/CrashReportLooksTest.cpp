#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/MBWCrashReportController.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyleFactory>
#include <QTest>
#include <QTranslator>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/*! Makes every text half as long again and recognisable, as a wordy language does. */
class WordyTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        if (qstrcmp(context, "CrashReport") != 0)
            return {};
        const QString text = QString::fromUtf8(sourceText);
        return u"Übersetzt: "_s + text + u' ' + text.left(text.size() / 2).remove(u'&').remove(u"%1"_s);
    }
};

QPalette darkPalette()
{
    QPalette palette(QColor(53, 53, 53));
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    return palette;
}

/*! The contrast ratio of WCAG 2.1: from 1, the same, to 21, black on white. */
double contrast(const QColor &a, const QColor &b)
{
    const auto luminance = [](const QColor &color) {
        const auto linear = [](double channel) {
            return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
               + 0.0722 * linear(color.blueF());
    };
    const double brighter = std::max(luminance(a), luminance(b));
    const double darker = std::min(luminance(a), luminance(b));
    return (brighter + 0.05) / (darker + 0.05);
}

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

    /*! Keeps a picture for a person to look at, where the environment names a folder for it. */
    void keepPicture(const QString &name)
    {
        const QString folder = qEnvironmentVariable("MARBLEWICK_TEST_PICTURES");
        if (!folder.isEmpty()) {
            EXPECT_TRUE(QDir().mkpath(folder));
            EXPECT_TRUE(controller.window()->grab().save(folder + u'/' + name + u".png"_s));
        }
    }

    void expectThatNothingIsCutOffOrCovered()
    {
        const auto labels = controller.window()->findChildren<QLabel *>(Qt::FindDirectChildrenOnly);
        EXPECT_GE(labels.size(), 5);
        for (const QLabel *const label : labels) {
            EXPECT_GE(label->height(), label->heightForWidth(label->width())) << qPrintable(label->text());
            EXPECT_TRUE(controller.window()->rect().contains(label->geometry())) << qPrintable(label->text());
        }
        for (const QWidget *const widget :
             controller.window()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
            for (const QWidget *const other :
                 controller.window()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly))
                EXPECT_TRUE(other == widget || !other->geometry().intersects(widget->geometry()))
                    << qPrintable(widget->objectName()) << " lies over " << qPrintable(other->objectName());
        }
        for (const QPushButton *const button : controller.window()->findChildren<QPushButton *>())
            EXPECT_GE(button->width(),
                      button->fontMetrics().size(Qt::TextShowMnemonic, button->text()).width())
                << qPrintable(button->text());
    }

    const TemporaryHome home;
    MBWCrashReportController controller;
};

} // namespace

TEST_F(CrashReportLooks, NothingIsCutOffInTheLightPalette)
{
    show();
    expectThatNothingIsCutOffOrCovered();
    keepPicture(u"crash-report-light"_s);
}

TEST_F(CrashReportLooks, EveryTextIsReadableInADarkPalette)
{
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QApplication::setPalette(darkPalette());
    show();
    for (const QWidget *const widget : controller.window()->findChildren<QWidget *>()) {
        const QPalette palette = widget->palette();
        const bool isField = qobject_cast<const QLineEdit *>(widget)
                             || qobject_cast<const QPlainTextEdit *>(widget);
        const QColor text = palette.color(isField ? QPalette::Text : QPalette::WindowText);
        const QColor background = palette.color(isField ? QPalette::Base : QPalette::Window);
        EXPECT_GE(contrast(text, background), 4.5) << qPrintable(widget->objectName());
    }
    keepPicture(u"crash-report-dark"_s);
}

TEST_F(CrashReportLooks, EveryTextIsTranslatedAndNothingIsCutOffInAWordyLanguage)
{
    WordyTranslator translator;
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
    expectThatNothingIsCutOffOrCovered();
    keepPicture(u"crash-report-wordy"_s);
}

TEST_F(CrashReportLooks, TheTextsFollowATranslatorThatIsInstalledWhileThePanelIsShown)
{
    show();
    const auto *const headline = controller.window()->findChild<QLabel *>(u"headlineLabel"_s);
    EXPECT_EQ(headline->text(), u"Cartographer quit unexpectedly"_s);
    WordyTranslator translator;
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
    expectThatNothingIsCutOffOrCovered();
    keepPicture(u"crash-report-small"_s);
    controller.window()->resize(1200, 900);
    QTest::qWait(0);
    expectThatNothingIsCutOffOrCovered();
}
