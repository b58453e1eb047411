// The log of real uncaught exceptions, from the throw to the last line.

#include "Tests/Platform/ExceptionHandling/RunThrowingHost.h"
#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QString uncaught = u"Uncaught exception std::runtime_error: the map is upside down"_s;
const QStringList withoutRecord{u"handler"_s, u"mask"_s};
const QStringList withRecord{u"record"_s, u"handler"_s, u"mask"_s};

/*! Function and line of the first frames: `openMap 103`; with a question mark where they are unknown. */
QStringList frames(const ThrowingHostResult &host, qsizetype count)
{
    static const QRegularExpression frame(
        uR"(^ +(\d+)\t(\S+)(?:\(\))? at (?:.*/)?(?:Ways\.cpp:(\d+):\d+)?)"_s);
    QStringList result;
    for (const QString &line : host.log.mid(1, count)) {
        const QRegularExpressionMatch match = frame.match(line);
        EXPECT_EQ(match.captured(1).toLongLong(), result.size() + 1) << qPrintable(line);
        result += (match.captured(2) + u' ' + match.captured(3)).trimmed();
    }
    return result;
}

const QStringList framesOfTheThrow{u"throwText 101"_s, u"readMap 102"_s, u"openMap 103"_s};

} // namespace

class UncaughtExceptionLogOfABuild : public ::testing::TestWithParam<const char *>
{ };

TEST_P(UncaughtExceptionLogOfABuild, NamesTypeTextFunctionsAndLines)
{
    const auto host = runThrowingHost(withoutRecord + QStringList(u"throw:main"_s),
                                      QString::fromLatin1(GetParam()));
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_EQ(frames(host, 3), framesOfTheThrow);
    // In the functions, not in the paths of their files.
    EXPECT_TRUE(host.linesLike(u"^ *\\d+\t[^/]*(terminate|backtrace|Marblewick|MBW)[^/]* at "_s).isEmpty())
        << qPrintable(host.log.join(u'\n'));
}

static std::string nameOfBuild(const ::testing::TestParamInfo<const char *> &build)
{
    return std::string(build.param).substr(std::string("ThrowingHost-").size());
}

INSTANTIATE_TEST_SUITE_P(All, UncaughtExceptionLogOfABuild,
                         ::testing::Values("ThrowingHost-O0", "ThrowingHost-O2", "ThrowingHost-Separate"),
                         nameOfBuild);

TEST(UncaughtExceptionLog, OfAStrippedProgramNumbersTheFramesAndNamesThoseOfLibraries)
{
    const auto host = runThrowingHost(withoutRecord + QStringList(u"throw:slot"_s),
                                      u"ThrowingHost-Stripped"_s);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_EQ(host.linesLike(uR"(^ +[123]\t\?\? at \?\?:0$)"_s).size(), 3);
    EXPECT_EQ(host.linesLike(uR"(^ +\d+\tQCoreApplication::exec\(\) at )"_s).size(), 1);
}

namespace {

struct Place
{
    const char *name;
    const char *way;
};

void PrintTo(const Place &place, std::ostream *out) { *out << place.way; }

std::string nameOf(const ::testing::TestParamInfo<Place> &info) { return info.param.name; }

} // namespace

class UncaughtExceptionLogOfAThrow : public ::testing::TestWithParam<Place>
{
protected:
    static ThrowingHostResult run(const QStringList &steps)
    {
        return runThrowingHost(steps + QStringList(u"throw:"_s + QString::fromLatin1(GetParam().way)));
    }
};

class UncaughtExceptionLogOfAKeptStack : public UncaughtExceptionLogOfAThrow
{ };

class UncaughtExceptionLogOfAnUnwoundStack : public UncaughtExceptionLogOfAThrow
{ };

TEST_P(UncaughtExceptionLogOfAKeptStack, NamesThePlaceOfTheThrowWithAndWithoutARecord)
{
    for (const QStringList &steps : {withoutRecord, withRecord}) {
        const auto host = run(steps);
        EXPECT_EQ(host.signal, SIGABRT);
        EXPECT_EQ(host.log.value(0), uncaught);
        EXPECT_EQ(frames(host, 3), framesOfTheThrow);
    }
}

INSTANTIATE_TEST_SUITE_P(Thrown, UncaughtExceptionLogOfAKeptStack,
                         ::testing::Values(Place{"InMain", "main"}, Place{"InAThread", "thread"},
                                           Place{"InASlot", "slot"},
                                           Place{"InAnEventHandler", "event handler"},
                                           Place{"OutOfANoexceptFunction", "noexcept"}),
                         nameOf);

TEST_P(UncaughtExceptionLogOfAnUnwoundStack, NamesThePlaceOfTheThrowWithARecord)
{
    ThrowingHostResult host = run(withRecord);
    EXPECT_EQ(host.signal, SIGABRT);
    host.log = host.log.sliced(host.log.indexOf(uncaught)); // Qt has something to say before.
    EXPECT_EQ(frames(host, 3), framesOfTheThrow);
}

TEST_P(UncaughtExceptionLogOfAnUnwoundStack, NamesThePlaceOfTheEndWithoutARecord)
{
    const auto host = run(withoutRecord);
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_TRUE(host.log.contains(uncaught));
    EXPECT_EQ(host.linesLike(uR"(^ +1\t)"_s).size(), 1);
    EXPECT_TRUE(host.linesLike(u"throwText"_s).isEmpty()) << qPrintable(host.log.join(u'\n'));
}

INSTANTIATE_TEST_SUITE_P(
    Thrown, UncaughtExceptionLogOfAnUnwoundStack,
    ::testing::Values(Place{"InAQThread", "QThread"}, Place{"InAQThreadPool", "QThreadPool"},
                      Place{"OutOfANoexceptFunctionPastADestructor", "noexcept past destructor"},
                      Place{"OnAfterItWasCaught", "thrown on"}, Place{"OnInAnotherThread", "other thread"}),
    nameOf);

TEST(UncaughtExceptionLog, LeavesOutTheFramesOfTheLibraryThatThrows)
{
    const auto host = runThrowingHost(withRecord + QStringList(u"throw:at"_s));
    EXPECT_TRUE(host.log.value(1).contains(u"Ways.cpp:"_s) || host.log.value(1).contains(u"stl_vector.h:"_s))
        << qPrintable(host.log.value(1));
}

TEST(UncaughtExceptionLog, LeavesOutATerminateHandlerThatTheHostHasPutInFront)
{
    for (const QString &way : {u"throw:main"_s, u"throw:noexcept"_s}) {
        const auto host = runThrowingHost(withoutRecord + QStringList{u"chaining-terminate-handler"_s, way});
        EXPECT_EQ(host.output, u"the host's chaining terminate handler\n"_s);
        EXPECT_EQ(frames(host, 3), framesOfTheThrow);
    }
}

TEST(UncaughtExceptionLog, IsWholeWhereTheHostHasClosedItsOtherStreams)
{
    for (const QStringList &closed :
         {QStringList(u"close:0"_s), {u"close:1"_s}, {u"close:0"_s, u"close:1"_s}}) {
        const auto host = runThrowingHost(closed + withoutRecord + QStringList(u"throw:main"_s));
        EXPECT_EQ(host.signal, SIGABRT);
        EXPECT_EQ(host.log.value(0), uncaught);
        EXPECT_EQ(frames(host, 3), framesOfTheThrow);
    }
}

TEST(UncaughtExceptionLog, IsInTheFileAlsoWhereTheHostHadClosedStandardError)
{
    for (const QStringList &closed : {QStringList(u"close:2"_s), {u"close:1"_s, u"close:2"_s}}) {
        const TemporaryHome home;
        const QString file = home.path() + u"/App.log"_s;
        const auto host = runThrowingHost(closed + QStringList(u"redirect:"_s + file) + withoutRecord
                                          + QStringList(u"throw:main"_s));
        EXPECT_EQ(host.signal, SIGABRT);
        const QByteArrayList lines = readFile(file).split('\n');
        EXPECT_TRUE(lines.value(0).endsWith(uncaught.toUtf8())) << lines.value(0).constData();
        EXPECT_TRUE(lines.value(1).startsWith("     1\tthrowText at ")) << lines.value(1).constData();
    }
}

TEST(UncaughtExceptionLog, OfAHostWithoutStandardErrorIsLostAndTheProcessEndsAsItWould)
{
    for (const QStringList &closed : {QStringList(u"close:2"_s), {u"close:1"_s, u"close:2"_s}}) {
        const auto host = runThrowingHost(closed + withoutRecord + QStringList(u"throw:main"_s));
        EXPECT_EQ(host.signal, SIGABRT);
        EXPECT_LT(host.milliseconds, 4'000);
    }
}

TEST(UncaughtExceptionLog, OfAThrowingTextStillHasTheFrames)
{
    const auto host = runThrowingHost(withoutRecord + QStringList(u"throw:throwing text"_s));
    EXPECT_EQ(host.log.value(0), u"Uncaught exception (anonymous namespace)::ThrowingText"_s);
    EXPECT_TRUE(host.log.value(1).contains(u"Ways.cpp:"_s)) << qPrintable(host.log.value(1));
}

TEST(UncaughtExceptionLog, OfAnExceptionThatWasNeverThrownHasNotTheFramesOfOneBefore)
{
    const auto host = runThrowingHost(withRecord + QStringList(u"throw:never thrown"_s));
    EXPECT_EQ(host.log.value(0), u"Uncaught exception std::runtime_error: never thrown"_s);
    EXPECT_EQ(host.linesLike(uR"(^ +1\t)"_s).size(), 1);
    EXPECT_TRUE(host.linesLike(u"throwText"_s).isEmpty()) << qPrintable(host.log.join(u'\n'));
}

TEST(UncaughtExceptionLog, OnceNothingIsRecordedAnyMoreHasNotTheFramesOfAThrowBefore)
{
    const auto host = runThrowingHost(
        withRecord + QStringList{u"throw:caught"_s, u"record:off"_s, u"throw:thrown on"_s});
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_EQ(host.linesLike(uR"(^ +1\t)"_s).size(), 1);
    EXPECT_TRUE(host.linesLike(u"throwText"_s).isEmpty()) << qPrintable(host.log.join(u'\n'));
}

TEST(UncaughtExceptionLog, IsNotWrittenWhereTheHostHasSetNoMask)
{
    const auto host = runThrowingHost({u"handler"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log, QStringList({u"terminate called after throwing an instance of 'std::runtime_error'"_s,
                                     u"  what():  the map is upside down"_s}));
}

TEST(UncaughtExceptionLog, WithoutASymbolizerHasTheAddresses)
{
    const auto host = runThrowingHost({u"symbolizer:/nonexistent"_s, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_EQ(host.log.value(1), u"printing backtrace"_s);
    EXPECT_GT(host.log.size(), 5);
    EXPECT_EQ(host.linesLike(u"\\[0x[0-9a-f]{1,8}\\]$"_s), host.log.mid(2));
}

TEST(UncaughtExceptionLog, OfASymbolizerThatHangsHasWhatThatPrintedAndTheProcessEnds)
{
    const TemporaryHome home;
    const QString symbolizer = home.path() + u"/symbolizer"_s;
    writeFile(symbolizer, "#!/bin/sh\necho symbol; exec sleep 1000\n");
    QFile::setPermissions(symbolizer, QFile::ReadOwner | QFile::ExeOwner);
    const auto host = runThrowingHost({u"symbolizer:"_s + symbolizer, u"mask"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log, QStringList({uncaught, u"     1\tsymbol"_s}));
    EXPECT_THAT(host.milliseconds, testing::AllOf(testing::Ge(5'000), testing::Lt(8'000)));
}

TEST(UncaughtExceptionLog, OfAProcessThatNobodyMayLookIntoHasTheSymbolizersMessage)
{
    const auto host = runThrowingHost(withoutRecord + QStringList{u"undumpable"_s, u"throw:main"_s});
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log.value(0), uncaught);
    EXPECT_TRUE(host.log.value(1).contains(u"eu-addr2line: "_s)) << qPrintable(host.log.join(u'\n'));
}

TEST(UncaughtExceptionLog, IsInTheFileThatStandardErrorWasRedirectedTo)
{
    const TemporaryHome home;
    const QString file = home.path() + u"/logs/App.log"_s;
    const auto host = runThrowingHost(QStringList(u"redirect:"_s + file) + withoutRecord
                                      + QStringList(u"throw:main"_s));
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log, QStringList());
    const QByteArrayList lines = readFile(file).split('\n');
    EXPECT_TRUE(lines.value(0).endsWith(uncaught.toUtf8())) << lines.value(0).constData();
    EXPECT_TRUE(lines.value(1).startsWith("     1\tthrowText at ")) << lines.value(1).constData();
}

TEST(UncaughtExceptionLog, ThatFindsNoRoomOnTheDiskIsLostAndTheProcessEndsAsItWould)
{
    const auto host = runThrowingHost(QStringList(u"redirect:/dev/full"_s) + withoutRecord
                                      + QStringList(u"throw:main"_s));
    EXPECT_EQ(host.signal, SIGABRT);
    EXPECT_EQ(host.log, QStringList());
}

TEST(UncaughtExceptionLog, ComesWithACrashLogThatNamesTheExceptionWhicheverWasInstalledFirst)
{
    const QString writer = u"writer"_s;
    for (const QStringList &steps :
         {QStringList(writer) + withoutRecord, withoutRecord + QStringList(writer)}) {
        const TemporaryHome home;
        const auto host = runThrowingHost(steps + QStringList(u"throw:thread"_s));
        EXPECT_EQ(host.signal, SIGABRT);
        EXPECT_EQ(host.log.value(0), uncaught);
        EXPECT_EQ(frames(host, 3), framesOfTheThrow);
        const QDir folder(home.diagnosticReportsFolder());
        ASSERT_EQ(folder.entryList(QDir::Files).size(), 1);
        const QByteArray crashLog = readFile(folder.filePath(folder.entryList(QDir::Files).first()));
        EXPECT_TRUE(crashLog.contains("std::runtime_error: the map is upside down")) << crashLog.constData();
        EXPECT_TRUE(crashLog.contains("throwText")) << "the frames of the throw are those of the crash";
    }
}

TEST(UncaughtExceptionLog, OfADelegateThatCrashesOrBlocksComesWithACrashLogThatNamesTheException)
{
    for (const QString &delegate : {u"delegate:crashes"_s, u"delegate:blocks"_s}) {
        const TemporaryHome home;
        const auto host = runThrowingHost({delegate, u"mask"_s, u"writer"_s, u"throw:main"_s});
        EXPECT_NE(host.signal, 0);
        const QDir folder(home.diagnosticReportsFolder());
        ASSERT_EQ(folder.entryList(QDir::Files).size(), 1);
        const QByteArray crashLog = readFile(folder.filePath(folder.entryList(QDir::Files).first()));
        EXPECT_TRUE(crashLog.contains("std::runtime_error: the map is upside down")) << crashLog.constData();
    }
}
