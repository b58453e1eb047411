#include <Marblewick/NSExceptionHandler.h>

#include "Tests/Platform/ExceptionHandling/RunThrowingHost.h"
#include "Tests/Support/QtPrinters.h"
#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <exception>

using namespace Marblewick;
using namespace Qt::StringLiterals;
using namespace std::string_literals;
using testing::AllOf;
using testing::Ge;
using testing::Lt;

namespace {

const QString uncaught = u"Uncaught exception std::runtime_error: the map is upside down"_s;
const QString asked = u"asked: std::runtime_error / the map is upside down / 1"_s;

/*! What the standard library writes on its own. */
const QStringList messageOfStandardLibrary{
    u"terminate called after throwing an instance of 'std::runtime_error'"_s,
    u"  what():  the map is upside down"_s};

int countOfAddresses(const ThrowingHostResult &host)
{
    const QStringList lines = host.linesLike(u"^Stack trace: 0x[0-9a-f]+( 0x[0-9a-f]+)*$"_s);
    return lines.size() == 1 ? static_cast<int>(lines.first().count("0x"_L1)) : 0;
}

} // namespace

TEST(NSExceptionHandler, HasAtFirstNoMaskNoDelegateAndRecordsNothing)
{
    const NSExceptionHandler *const handler = NSExceptionHandler::defaultExceptionHandler();
    EXPECT_EQ(handler, NSExceptionHandler::defaultExceptionHandler());
    EXPECT_EQ(handler->exceptionHandlingMask(), 0U);
    EXPECT_EQ(handler->delegate(), nullptr);
    EXPECT_FALSE(handler->recordsThrows());
}

TEST(NSExceptionHandler, KeepsWhatTheHostSets)
{
    struct : NSExceptionHandlerDelegate
    {
        bool exceptionHandlerShouldLogException(NSExceptionHandler *, const NSException &, quint64) override
        {
            return true;
        }
    } delegate;
    NSExceptionHandler *const handler = NSExceptionHandler::defaultExceptionHandler();
    handler->setExceptionHandlingMask(NSLogUncaughtExceptionMask | 0x8000);
    handler->setDelegate(&delegate);
    handler->setRecordsThrows(true);
    EXPECT_EQ(handler->exceptionHandlingMask(), 0x8001U);
    EXPECT_EQ(handler->delegate(), &delegate);
    EXPECT_TRUE(handler->recordsThrows());
}

TEST(NSExceptionHandler, WithoutItsBitInTheMaskNothingArrives)
{
    for (const QStringList &mask : {QStringList(), {u"mask:0"_s}, {u"mask:2"_s}, {u"mask"_s, u"mask:0"_s}}) {
        const auto host = runThrowingHost(mask + QStringList{u"delegate:no"_s, u"throw:main"_s});
        EXPECT_EQ(host.signal, SIGABRT);
        EXPECT_EQ(host.log, messageOfStandardLibrary);
    }
}

TEST(NSExceptionHandler, WithoutItsBitInTheMaskTheTerminateHandlerStays)
{
    const std::terminate_handler hosts = std::get_terminate();
    NSExceptionHandler *const handler = NSExceptionHandler::defaultExceptionHandler();
    for (const quint64 mask : {0U, 2U}) {
        handler->setExceptionHandlingMask(mask);
        EXPECT_EQ(std::get_terminate(), hosts);
    }
    handler->setExceptionHandlingMask(NSLogUncaughtExceptionMask);
    EXPECT_NE(std::get_terminate(), hosts);
}

TEST(NSExceptionHandler, WritesTheExceptionInOneLineBeforeTheDelegateIsAsked)
{
    const auto host = runThrowingHost({u"delegate:no"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    ASSERT_EQ(host.log.size(), 3);
    EXPECT_EQ(host.log[0], uncaught);
    EXPECT_EQ(host.log[1], asked);
    EXPECT_EQ(host.linesLike(u"^NSStackTraceKey = 0x[0-9a-f]+( 0x[0-9a-f]+)+$"_s).size(), 1);
}

TEST(NSExceptionHandler, OtherBitsOfTheMaskChangeNothing)
{
    EXPECT_EQ(runThrowingHost({u"delegate:no"_s, u"mask:65535"_s, u"throw:main"_s}).log.value(1), asked);
}

TEST(NSExceptionHandler, WritesTheStackInItsOwnWayWhereTheDelegateSaysYesOrThereIsNone)
{
    for (const QStringList &delegate : {QStringList{u"delegate:yes"_s}, {}}) {
        const auto host = runThrowingHost(delegate + QStringList{u"mask"_s, u"throw:main"_s});
        EXPECT_EQ(host.log.first(), uncaught);
        EXPECT_GT(countOfAddresses(host), 3);
    }
}

TEST(NSExceptionHandler, HandsOnAPlatformExceptionWithItsNameReasonAndUserInfo)
{
    const auto host = runThrowingHost({u"delegate:no"_s, u"mask"_s, u"throw:platform exception"_s});
    ASSERT_EQ(host.log.size(), 4);
    EXPECT_EQ(host.log[0], u"Uncaught exception Marblewick::NSException: MapException: no north"_s);
    EXPECT_EQ(host.log[1], u"asked: MapException / no north / 1"_s);
    EXPECT_TRUE(host.log[2].startsWith(u"NSStackTraceKey = 0x"_s));
    EXPECT_EQ(host.log[3], u"sheet = 7"_s);
}

TEST(NSExceptionHandler, WritesExceptionsOfAnyTypeWithTheTextThatTheyHave)
{
    const auto lineOf = [](const QString &way) {
        return runThrowingHost({u"mask"_s, u"throw:"_s + way}).log.value(0);
    };
    EXPECT_EQ(lineOf(u"number"_s), u"Uncaught exception int"_s);
    EXPECT_EQ(
        lineOf(u"string"_s),
        u"Uncaught exception std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"_s);
    EXPECT_EQ(lineOf(u"own type"_s), u"Uncaught exception (anonymous namespace)::Storm"_s);
    EXPECT_EQ(lineOf(u"no text"_s), u"Uncaught exception (anonymous namespace)::TextLess"_s);
    EXPECT_TRUE(lineOf(u"at"_s).startsWith(u"Uncaught exception std::out_of_range: vector::"_s));
    EXPECT_EQ(lineOf(u"Latin-1"_s), u"Uncaught exception std::runtime_error: café"_s);
    EXPECT_EQ(lineOf(u"destructor"_s), u"Uncaught exception std::runtime_error: in the destructor"_s);
}

TEST(NSExceptionHandler, ATextCanNeitherForgeALineNorDriveATerminal)
{
    const auto host = runThrowingHost({u"mask"_s, u"throw:two lines"_s});
    EXPECT_EQ(host.log.size(), 2);
    EXPECT_EQ(host.log.first(), uR"(Uncaught exception std::runtime_error: one\n2026-11-21 two\u{1b}[31m)"_s);
}

TEST(NSExceptionHandler, LeavesAnExceptionAloneThatIsCaught)
{
    const auto host = runThrowingHost({u"delegate:yes"_s, u"mask"_s, u"record"_s, u"throw:caught"_s});
    EXPECT_EQ(host.exitStatus, 0);
    EXPECT_EQ(host.log, QStringList());
}

TEST(NSExceptionHandler, LeavesAnEndWithoutAnExceptionAlone)
{
    const auto host = runThrowingHost({u"delegate:yes"_s, u"mask"_s, u"throw:terminate"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log, QStringList(u"terminate called without an active exception"_s));
}

TEST(NSExceptionHandler, ADelegateThatThrowsCountsAsOneThatSaysYes)
{
    for (const QString &behaviour : {u"throws"_s, u"terminates"_s}) {
        const auto host = runThrowingHost({u"delegate:"_s + behaviour, u"mask"_s, u"throw:main"_s});
        EXPECT_EQ(host.signal, SIGABRT);
        EXPECT_EQ(host.log.value(0), uncaught);
        EXPECT_EQ(host.log.value(1), asked);
        EXPECT_GT(countOfAddresses(host), 3);
    }
}

TEST(NSExceptionHandler, TheLineIsThereAlsoWhereTheDelegateCrashes)
{
    const auto host = runThrowingHost({u"delegate:crashes"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGSEGV);
    EXPECT_EQ(host.log.value(0), uncaught);
}

class ADelegateThatBlocks : public ::testing::TestWithParam<const char *>
{ };

TEST_P(ADelegateThatBlocks, IsEndedAfterTenSecondsWhateverTheHostDoesAtTheSignal)
{
    const auto host = runThrowingHost(
        {QString::fromLatin1(GetParam()), u"delegate:blocks"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_EQ(host.output, GetParam() == "survive-abort"s ? u"SIGABRT\n"_s : QString())
        << "the host's handler";
    EXPECT_THAT(host.milliseconds, AllOf(Ge(10'000), Lt(15'000)));
}

INSTANTIATE_TEST_SUITE_P(All, ADelegateThatBlocks,
                         ::testing::Values("default-abort", "block-abort", "ignore-abort", "survive-abort"),
                         [](const ::testing::TestParamInfo<const char *> &host) {
                             return QString::fromLatin1(host.param).remove(u'-').toStdString();
                         });

TEST(NSExceptionHandler, WhatTheHostDoesAtSIGABRTIsDoneAtTheEndAsWithoutIt)
{
    const auto host = runThrowingHost({u"survive-abort"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.output, u"SIGABRT\n"_s);
}

TEST(NSExceptionHandler, TheHostHasItsHandlerAndItsMaskOfSIGABRTBackAfterTheReport)
{
    const QString handler = u"telling-terminate-handler"_s;
    const auto changed = runThrowingHost(
        {u"ignore-abort"_s, u"block-abort"_s, handler, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(changed.exitStatus, 7);
    EXPECT_EQ(changed.log.value(0), uncaught);
    EXPECT_EQ(changed.output, u"ignored\nblocked\n"_s);
    const auto untouched = runThrowingHost({u"default-abort"_s, handler, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(untouched.output, u"not ignored\nnot blocked\n"_s);
}

TEST(NSExceptionHandler, TheHostsTerminateHandlerMayTakeLongerThanTenSeconds)
{
    const auto host = runThrowingHost({u"slow-terminate-handler"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.exitStatus, 7);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_GE(host.milliseconds, 11'000);
}

TEST(NSExceptionHandler, ATextThatThrowsLeavesTheTypeAndTheStack)
{
    const auto host = runThrowingHost({u"mask"_s, u"throw:throwing text"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.value(0), u"Uncaught exception (anonymous namespace)::ThrowingText"_s);
    EXPECT_GT(countOfAddresses(host), 3);
}

TEST(NSExceptionHandler, ATextThatCrashesEndsTheProcessByItsSignal)
{
    const auto host = runThrowingHost({u"delegate:no"_s, u"mask"_s, u"throw:crashing text"_s});
    EXPECT_EQ(host.signal, SIGSEGV);
    EXPECT_EQ(host.log, QStringList());
}

TEST(NSExceptionHandler, ATextThatNeverComesIsNotAwaitedLongerThanTenSeconds)
{
    const auto host = runThrowingHost({u"mask"_s, u"throw:endless text"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_THAT(host.milliseconds, AllOf(Ge(10'000), Lt(15'000)));
}

TEST(NSExceptionHandler, OfTwoThreadsThatThrowAtOnceBothAreLogged)
{
    const auto host = runThrowingHost({u"handler"_s, u"mask"_s, u"throw:two threads"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.count(uncaught), 1);
    EXPECT_EQ(host.log.count(u"Uncaught exception (anonymous namespace)::Storm"_s), 1);
    EXPECT_EQ(host.linesLike(u"\\bthrowText at .*Ways.cpp:101:"_s).size(), 1);
    EXPECT_EQ(host.linesLike(u"\\braiseStorm at .*Ways.cpp:104:"_s).size(), 1);
}

TEST(NSExceptionHandler, OfTwoThreadsThatThrowAtOnceBothAreEndedWhereTheDelegateBlocks)
{
    const auto host = runThrowingHost({u"delegate:blocks"_s, u"mask"_s, u"throw:two threads"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.linesLike(u"^Uncaught exception"_s).size(), 2);
    EXPECT_THAT(host.milliseconds, AllOf(Ge(10'000), Lt(15'000)));
}

TEST(NSExceptionHandler, AThreadThatThrowsWhileAnothersTextNeverComesIsLogged)
{
    const auto host = runThrowingHost({u"mask"_s, u"throw:beside an endless text"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.count(uncaught), 1);
    EXPECT_THAT(host.milliseconds, AllOf(Ge(10'000), Lt(15'000)));
}

TEST(NSExceptionHandler, TheTerminateHandlerThatWasThereBeforeGoesOnAfterIt)
{
    const auto host = runThrowingHost({u"terminate-handler"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.exitStatus, 7);
    EXPECT_EQ(host.output, u"the host's terminate handler\n"_s);
    EXPECT_EQ(host.log.value(0), uncaught);
}

TEST(NSExceptionHandler, SettingTheMaskComesInFrontOfATerminateHandlerThatIsYoungerThanTheCrashLogWriter)
{
    const TemporaryHome home;
    const auto host = runThrowingHost({u"writer"_s, u"terminate-handler"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.exitStatus, 7);
    EXPECT_EQ(host.output, u"the host's terminate handler\n"_s);
    EXPECT_EQ(host.log.value(0), uncaught);
}

TEST(NSExceptionHandler, SettingTheMaskOnceMoreComesInFrontOfATerminateHandlerOfMeanwhile)
{
    const auto host = runThrowingHost(
        {u"mask"_s, u"mask:0"_s, u"terminate-handler"_s, u"mask"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.exitStatus, 7);
    EXPECT_EQ(host.output, u"the host's terminate handler\n"_s);
    EXPECT_EQ(host.log.count(uncaught), 1);
}

TEST(NSExceptionHandler, TerminateHandlersThatCallTheOneTheyReplacedAreEachCalledOnce)
{
    const QString chaining = u"chaining-terminate-handler"_s;
    const auto ended = runThrowingHost(
        {u"terminate-handler"_s, u"mask"_s, chaining, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(ended.exitStatus, 7);
    EXPECT_EQ(ended.output, u"the host's chaining terminate handler\nthe host's terminate handler\n"_s);
    EXPECT_EQ(ended.log.count(uncaught), 1);
    const auto aborted = runThrowingHost({u"mask"_s, chaining, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(aborted.signal, SIGABRT);
    EXPECT_EQ(aborted.output, u"the host's chaining terminate handler\n"_s);
    EXPECT_EQ(aborted.log.count(uncaught), 1);
    EXPECT_FALSE(aborted.log.contains(messageOfStandardLibrary.first())) << "it was logged already";
}

TEST(NSExceptionHandler, AHandlerOfBeforeThatCallsTheStandardLibrarysHasTheExceptionPrintedOnceMore)
{
    const auto host = runThrowingHost({u"chaining-terminate-handler"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.output, u"the host's chaining terminate handler\n"_s);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_EQ(host.log.mid(2), messageOfStandardLibrary);
}

TEST(NSExceptionHandler, AFormerTerminateHandlerThatThrowsEndsTheProcessAfterTheReport)
{
    const auto host = runThrowingHost({u"throwing-terminate-handler"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_EQ(host.log.size(), 2) << qPrintable(host.log.join(u'\n'));
}

TEST(NSExceptionHandler, ATerminateHandlerThatTheHostSetsAfterwardsHasTheException)
{
    const auto host = runThrowingHost({u"mask"_s, u"terminate-handler"_s, u"throw:main"_s});
    EXPECT_EQ(host.exitStatus, 7);
    EXPECT_EQ(host.log, QStringList());
}

TEST(NSExceptionHandler, ATerminateHandlerThatTheHostSetsAfterwardsCanHandTheExceptionOn)
{
    const auto host = runThrowingHost({u"mask"_s, u"chaining-terminate-handler"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.output, u"the host's chaining terminate handler\n"_s);
    EXPECT_EQ(host.log.value(0), uncaught);
}

TEST(NSExceptionHandler, OfADeepStackTheInnermost128FramesAreKept)
{
    EXPECT_THAT(countOfAddresses(runThrowingHost({u"record"_s, u"mask"_s, u"throw:deep"_s})),
                AllOf(Ge(120), testing::Le(128)))
        << "less those of the runtime";
}
