#include <Marblewick/NSAlert.h>

#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/When.h"

#include <Marblewick/NSApplication.h>

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTest>
#include <QWindow>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

QDialog *shown() { return qobject_cast<QDialog *>(QApplication::activeModalWidget()); }

QLabel *label(const char *name) { return shown()->findChild<QLabel *>(QLatin1StringView(name)); }

QPushButton *button(const QString &title)
{
    for (QPushButton *const candidate : shown()->findChildren<QPushButton *>()) {
        if (candidate->text() == title)
            return candidate;
    }
    return nullptr;
}

/*! Runs a step as soon as an alert is up and active. */
void whenShown(std::function<void()> step)
{
    when([] { return shown() && shown()->isActiveWindow(); }, std::move(step));
}

/*! What the window system does when the user closes the window. */
void closeByItsOwnControl()
{
    QCloseEvent event;
    QCoreApplication::sendEvent(shown()->windowHandle(), &event);
}

class NSAlertTest : public ::testing::Test
{
protected:
    NSAlertTest()
    {
        alert.setMessageText(u"Delete the map?"_s);
        alert.setInformativeText(u"It cannot be had back."_s);
        for (const QString &title : {u"Delete"_s, u"Archive"_s, u"Keep"_s})
            alert.addButtonWithTitle(title);
    }

    qint64 answer(const std::function<void()> &step)
    {
        bool wasShown = false;
        whenShown([&] {
            wasShown = true;
            step();
        });
        const qint64 code = alert.runModal();
        EXPECT_TRUE(wasShown);
        return code;
    }

    NSAlert alert;
};

} // namespace

TEST_F(NSAlertTest, EachButtonAnswersWithItsNumberFrom1000On)
{
    EXPECT_EQ(answer([] { QTest::mouseClick(button(u"Delete"_s), Qt::LeftButton); }), 1000);
    EXPECT_EQ(answer([] { QTest::mouseClick(button(u"Archive"_s), Qt::LeftButton); }), 1001);
    EXPECT_EQ(answer([] { QTest::mouseClick(button(u"Keep"_s), Qt::LeftButton); }), 1002);
}

TEST_F(NSAlertTest, ReturnAnswersWithTheFirstButton)
{
    EXPECT_EQ(answer([] { QTest::keyClick(shown(), Qt::Key_Return); }), 1000);
}

TEST_F(NSAlertTest, EscapeAndTheWindowsCloseControlAnswerWithTheLastButton)
{
    EXPECT_EQ(answer([] { QTest::keyClick(shown(), Qt::Key_Escape); }), 1002);
    EXPECT_EQ(answer(closeByItsOwnControl), 1002);
}

TEST_F(NSAlertTest, AnAlertWithOneButtonAnswersWithIt)
{
    NSAlert note;
    note.setMessageText(u"Done"_s);
    note.addButtonWithTitle(u"OK"_s);
    whenShown([] { QTest::keyClick(shown(), Qt::Key_Escape); });
    EXPECT_EQ(note.runModal(), 1000);
}

TEST_F(NSAlertTest, ShowsItsTextsAsTheyAre)
{
    alert.setMessageText(u"<b>Maps</b> & more"_s);
    alert.setInformativeText(u"a < b\n<i>really</i>"_s);
    answer([] {
        EXPECT_EQ(label("messageText")->text(), u"<b>Maps</b> & more"_s);
        EXPECT_EQ(label("informativeText")->text(), u"a < b\n<i>really</i>"_s);
        EXPECT_EQ(label("messageText")->textFormat(), Qt::PlainText);
        EXPECT_EQ(label("informativeText")->textFormat(), Qt::PlainText);
        shown()->close();
    });
}

TEST_F(NSAlertTest, BlocksTheApplicationsOtherWindows)
{
    QWidget other;
    other.show();
    answer([&] {
        EXPECT_TRUE(shown()->isModal());
        EXPECT_EQ(shown()->windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(NSApplication::sharedApplication()->modalWindow(), shown());
        shown()->close();
    });
    EXPECT_EQ(NSApplication::sharedApplication()->modalWindow(), nullptr);
}

TEST_F(NSAlertTest, HasTheApplicationsNameAndIcon)
{
    QCoreApplication::setApplicationName(u"Cartographer"_s);
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::green);
    QApplication::setWindowIcon(QIcon(pixmap));
    answer([] {
        EXPECT_EQ(shown()->windowTitle(), u"Cartographer"_s);
        EXPECT_EQ(label("icon")->pixmap().toImage().pixelColor(1, 1), QColor(Qt::green));
        shown()->close();
    });
}

TEST_F(NSAlertTest, WithoutAnApplicationIconItShowsThatOfANote)
{
    answer([] {
        const QIcon note = shown()->style()->standardIcon(QStyle::SP_MessageBoxInformation);
        const QPixmap shownIcon = label("icon")->pixmap();
        EXPECT_FALSE(shownIcon.isNull());
        EXPECT_EQ(shownIcon.toImage(), note.pixmap(shownIcon.size()).toImage());
        shown()->close();
    });
}

TEST_F(NSAlertTest, AScreenReaderIsToldTheQuestionAndWhatThereIsToKnowAboutIt)
{
    answer([] {
        const QAccessibleInterface *const window = QAccessible::queryAccessibleInterface(shown());
        EXPECT_EQ(window->role(), QAccessible::Dialog);
        EXPECT_EQ(window->text(QAccessible::Name), u"Delete the map?"_s);
        EXPECT_EQ(window->text(QAccessible::Description), u"It cannot be had back."_s);
        shown()->close();
    });
}

TEST_F(NSAlertTest, CanBeRunAgain)
{
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(answer([] { QTest::mouseClick(button(u"Archive"_s), Qt::LeftButton); }), 1001);
}

TEST_F(NSAlertTest, IsAnsweredBeforeTheEventLoopRunsEvenIfTheHostHasCalledQuit)
{
    QCoreApplication::quit();
    EXPECT_EQ(answer([] {
                  QCoreApplication::quit();
                  whenShown([] { QTest::keyClick(shown(), Qt::Key_Return); });
              }),
              1000);
}

TEST_F(NSAlertTest, IsAnsweredAfterTheEventLoopHasEnded)
{
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QApplication::exec();
    EXPECT_EQ(answer([] { QTest::keyClick(shown(), Qt::Key_Return); }), 1000);
}

TEST_F(NSAlertTest, QuittingInsideTheEventLoopIsNoAnswer)
{
    qint64 code = 0;
    QTimer::singleShot(0, qApp, [&] { code = answer([] { QCoreApplication::quit(); }); });
    QApplication::exec();
    EXPECT_EQ(code, NSModalResponseAbort);
}

namespace {

/*! A host's window that refuses to be closed, after it has let events be handled as a question to the user
 * does.
 */
class UnwillingWindow : public QWidget
{
protected:
    void closeEvent(QCloseEvent *event) override
    {
        QCoreApplication::processEvents();
        event->ignore();
    }
};

} // namespace

TEST_F(NSAlertTest, StaysForItsAnswerWhereAWindowOfTheHostRefusesToQuit)
{
    UnwillingWindow host;
    host.show();
    QTimer::singleShot(0, qApp, [&] {
        EXPECT_EQ(answer([] {
                      QCoreApplication::quit();
                      when([] { return shown() && shown()->isVisible(); },
                           [] { QTest::mouseClick(button(u"Archive"_s), Qt::LeftButton); });
                  }),
                  1001);
        QCoreApplication::exit(5);
    });
    EXPECT_EQ(QApplication::exec(), 5);
}

TEST_F(NSAlertTest, DoesNotEndAHostWithoutOtherWindows)
{
    QTimer::singleShot(0, qApp, [&] {
        answer([] { shown()->close(); });
        // Were the host to quit for the closed window, it would do so before this.
        QTimer::singleShot(50, qApp, [] { QApplication::exit(5); });
    });
    EXPECT_EQ(QApplication::exec(), 5);
}

TEST_F(NSAlertTest, ATitleMayHaveAKeyOfItsOwn)
{
    alert.addButtonWithTitle(u"&Print"_s);
    EXPECT_EQ(answer([] { QTest::keyClick(shown(), Qt::Key_P, Qt::AltModifier); }), 1003);
}
