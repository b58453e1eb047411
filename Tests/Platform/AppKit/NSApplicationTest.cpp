#include <Marblewick/NSApplication.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QTimer>

using namespace Marblewick;

namespace {

/*! Runs a step inside the modal session, once its window is there. */
template <typename Step>
void inTheSession(Step step)
{
    QTimer::singleShot(0, qApp, step);
}

} // namespace

TEST(ModalSession, ShowsItsWindowAndReturnsTheCodeItWasStoppedWith)
{
    QLabel window;
    inTheSession([&] {
        EXPECT_TRUE(window.isVisible());
        EXPECT_EQ(window.windowModality(), Qt::ApplicationModal);
        NSApplication::sharedApplication()->stopModalWithCode(42);
    });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&window), 42);
}

TEST(ModalSession, KnowsItsWindowWhileItRuns)
{
    NSApplication *const application = NSApplication::sharedApplication();
    QLabel window;
    EXPECT_EQ(application->modalWindow(), nullptr);
    inTheSession([&] {
        EXPECT_EQ(application->modalWindow(), &window);
        application->stopModalWithCode(0);
    });
    application->runModalForWindow(&window);
    EXPECT_EQ(application->modalWindow(), nullptr);
}

TEST(ModalSession, IsNotEndedByAQuitBeforeTheHostsEventLoopRuns)
{
    QLabel window;
    inTheSession([&] {
        QCoreApplication::quit();
        inTheSession([] { NSApplication::sharedApplication()->stopModalWithCode(7); });
    });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&window), 7);
}

TEST(ModalSession, EndsWhenTheHostQuitsItsEventLoop)
{
    QLabel window;
    qint64 code = 0;
    inTheSession([&] {
        inTheSession([] { QCoreApplication::exit(3); });
        code = NSApplication::sharedApplication()->runModalForWindow(&window);
    });
    EXPECT_EQ(QApplication::exec(), 3);
    EXPECT_EQ(code, NSModalResponseAbort);
}

TEST(ModalSession, EndsWhenItsWindowIsHiddenAndNobodyStopsIt)
{
    QLabel window;
    inTheSession([&] { window.hide(); });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&window), NSModalResponseAbort);
}

TEST(ModalSession, EndsWhenItsWindowIsClosed)
{
    QLabel window;
    inTheSession([&] { window.close(); });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&window), NSModalResponseAbort);
}

TEST(ModalSession, EndsWhenItsWindowIsDestroyed)
{
    auto *const window = new QLabel;
    inTheSession([&] { delete window; });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(window), NSModalResponseAbort);
}

TEST(ModalSession, ThatIsStoppedRightAfterItsWindowWasHiddenReturnsTheCode)
{
    QLabel window;
    inTheSession([&] {
        window.hide();
        NSApplication::sharedApplication()->stopModalWithCode(1);
    });
    EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&window), 1);
}

TEST(ModalSession, LeavesItsWindowTheModalityThatItHadBefore)
{
    QLabel window;
    window.setWindowModality(Qt::WindowModal);
    inTheSession([&] {
        EXPECT_EQ(window.windowModality(), Qt::ApplicationModal);
        NSApplication::sharedApplication()->stopModalWithCode(0);
    });
    NSApplication::sharedApplication()->runModalForWindow(&window);
    EXPECT_EQ(window.windowModality(), Qt::WindowModal);
}

TEST(ModalSession, CanBeRunAgainWithTheSameWindow)
{
    QLabel window;
    for (const qint64 code : {5, 6}) {
        inTheSession([&] {
            window.hide();
            NSApplication::sharedApplication()->stopModalWithCode(code);
        });
        EXPECT_EQ(NSApplication::sharedApplication()->runModalForWindow(&window), code);
    }
}

TEST(ModalSession, TheInnermostIsStoppedFirst)
{
    NSApplication *const application = NSApplication::sharedApplication();
    QLabel outer;
    QLabel inner;
    inTheSession([&] {
        inTheSession([&] { application->stopModalWithCode(1); });
        EXPECT_EQ(application->runModalForWindow(&inner), 1);
        EXPECT_EQ(application->modalWindow(), &outer);
        application->stopModalWithCode(2);
    });
    EXPECT_EQ(application->runModalForWindow(&outer), 2);
}

TEST(ModalSession, OfOneWindowIsStoppedWithoutTouchingAnothers)
{
    NSApplication *const application = NSApplication::sharedApplication();
    QLabel ours;
    QLabel somebodyElses;
    inTheSession([&] {
        inTheSession([&] {
            application->stopModalForWindow(&ours, 1);
            EXPECT_EQ(application->modalWindow(), &somebodyElses);
            inTheSession([&] { application->stopModalWithCode(2); });
        });
        EXPECT_EQ(application->runModalForWindow(&somebodyElses), 2);
    });
    EXPECT_EQ(application->runModalForWindow(&ours), 1);
}

TEST(ModalSession, StoppingWhereNoneRunsDoesNothing)
{
    NSApplication *const application = NSApplication::sharedApplication();
    QLabel window;
    application->stopModalWithCode(1);
    application->stopModalForWindow(&window, 1);
    inTheSession([&] { application->stopModalWithCode(2); });
    EXPECT_EQ(application->runModalForWindow(&window), 2);
}
