#include "Tests/Tools/CrashLog/CrashedProgram.h"

#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QJsonArray>
#include <QSet>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr qsizetype mostInnermost = 384;
constexpr qsizetype mostOutermost = 128;

QString optimisedCrasher() { return CrashedProgram::pathOf(u"OptimisedCrasher"_s); }

QStringList framesAfterCrash(const QString &way,
                             const QString &program = CrashedProgram::pathOf(u"Crasher"_s))
{
    const CrashedProgram crashed(way, {}, program);
    const HelperResult result = runHelper(crashed.record);
    EXPECT_EQ(result.status, 0);
    return frameTexts(crashedThread(result.body));
}

} // namespace

TEST(CrashLogHelperFrames, NamesFunctionsFilesAndLinesDownToTheStartOfTheProgram)
{
    const QStringList texts = framesAfterCrash(u"write"_s);
    ASSERT_GE(texts.size(), 5);
    EXPECT_EQ(texts.first(4),
              (QStringList{frameText(u"(anonymous namespace)::writeThrough(int volatile*)"_s, u"write"_s),
                           frameText(u"(anonymous namespace)::Ship::sink(int volatile*)"_s, u"sink"_s),
                           frameText(u"exportedCrash"_s, u"exported"_s), frameText(u"main"_s, u"way"_s)}));
    EXPECT_EQ(texts.last(), u"_start");
}

TEST(CrashLogHelperFrames, NamesThemInOptimisedCode)
{
    const QStringList texts = framesAfterCrash(u"write"_s, optimisedCrasher());
    ASSERT_GE(texts.size(), 4);
    EXPECT_EQ(texts.at(0), frameText(u"(anonymous namespace)::writeThrough(int volatile*)"_s, u"write"_s));
    EXPECT_THAT(texts.at(1).toStdString(), StartsWith("(anonymous namespace)::Ship::sink"));
    EXPECT_EQ(texts.at(2), frameText(u"exportedCrash"_s, u"exported"_s));
    EXPECT_EQ(texts.at(3), frameText(u"main"_s, u"way"_s));
}

TEST(CrashLogHelperFrames, MarksInlinedFunctionsAndNamesTheLinesThatCalledThem)
{
    for (const QString &program : {CrashedProgram::pathOf(u"Crasher"_s), optimisedCrasher()}) {
        const QStringList texts = framesAfterCrash(u"inline"_s, program);
        ASSERT_GE(texts.size(), 4);
        EXPECT_EQ(
            texts.first(3),
            (QStringList{
                frameText(u"(anonymous namespace)::writeInlined"_s, u"inlined write"_s) + u" [inlined]"_s,
                frameText(u"(anonymous namespace)::passOn"_s, u"inlined call"_s) + u" [inlined]"_s,
                frameText(u"(anonymous namespace)::crashInInlinedFunction()"_s, u"caller of inlined"_s)}));
    }
}

TEST(CrashLogHelperFrames, NamesLambdas)
{
    const QStringList texts = framesAfterCrash(u"divide"_s);
    ASSERT_FALSE(texts.isEmpty());
    EXPECT_THAT(texts.at(0).toStdString(), HasSubstr("{lambda()#"));
    EXPECT_THAT(texts.at(0).toStdString(), HasSubstr("::operator()() const"));
    EXPECT_TRUE(texts.at(0).endsWith(u"(Crasher.cpp:%1)"_s.arg(lineOf(u"divide"_s))))
        << qPrintable(texts.at(0));
}

TEST(CrashLogHelperFrames, ShowsWhoCalledThroughANullPointer)
{
    const CrashedProgram crashed(u"call"_s);
    const QJsonObject thread = crashedThread(runHelper(crashed.record).body);
    const QStringList texts = frameTexts(thread);
    ASSERT_GE(texts.size(), 4);
    EXPECT_EQ(texts.at(0), u"?");
    EXPECT_EQ(frames(thread).at(0).toObject().value("imageOffset"_L1).toInt(-1), 0);
    EXPECT_FALSE(frames(thread).at(0).toObject().contains("imageIndex"_L1));
    EXPECT_EQ(texts.at(1), frameText(u"(anonymous namespace)::callMissingFunction()"_s, u"call"_s));
    EXPECT_EQ(texts.at(2), frameText(u"main"_s, u"way"_s));
    EXPECT_EQ(texts.last(), u"_start");
}

TEST(CrashLogHelperFrames, KeepsTheInnermost384AndTheOutermost128FramesOfADeepRecursion)
{
    const QStringList texts = framesAfterCrash(u"recursion"_s);
    const QString turn = frameText(u"(anonymous namespace)::recurse(int)"_s, u"recursion"_s);
    ASSERT_EQ(texts.size(), mostInnermost + 1 + mostOutermost);
    EXPECT_EQ(texts.at(1), frameText(u"(anonymous namespace)::recurse(int)"_s, u"bottom"_s));
    for (qsizetype i = 2; i < mostInnermost; ++i)
        EXPECT_EQ(texts.at(i), turn);
    EXPECT_EQ(texts.at(mostInnermost + 1), turn);
    EXPECT_TRUE(texts.contains(frameText(u"main"_s, u"way"_s)));
    EXPECT_EQ(texts.last(), u"_start");

    // The recursion has 2001 frames, writeThrough() is above and main() with what called it below.
    const qsizetype shownBelow = texts.size() - texts.lastIndexOf(turn) - 1;
    const qsizetype omitted = 1 + 2001 + shownBelow - mostInnermost - mostOutermost;
    EXPECT_EQ(texts.at(mostInnermost), u"... %1 frames are left out here"_s.arg(omitted));
}

TEST(CrashLogHelperFrames, ReachesTheStartOfTheProgramFromTheEndOfAnOverflownStack)
{
    const CrashedProgram crashed(u"overflow"_s);
    const HelperResult result = runHelper(crashed.record);
    const QStringList texts = frameTexts(crashedThread(result.body));
    ASSERT_EQ(texts.size(), mostInnermost + 1 + mostOutermost);
    EXPECT_THAT(texts.at(0).toStdString(), StartsWith("(anonymous namespace)::recurseWidely(int) ("));
    EXPECT_EQ(texts.at(1), frameText(u"(anonymous namespace)::recurseWidely(int)"_s, u"wide recursion"_s));
    EXPECT_EQ(texts.last(), u"_start");
    EXPECT_THAT(result.text.toStdString(), HasSubstr("[stack]"));
}

TEST(CrashLogHelperFrames, EndsWhereTheStackIsOverwritten)
{
    const QStringList texts = framesAfterCrash(u"garbage"_s);
    ASSERT_GE(texts.size(), 2);
    EXPECT_LE(texts.size(), 4);
    EXPECT_EQ(texts.at(0), frameText(u"(anonymous namespace)::writeThrough(int volatile*)"_s, u"write"_s));
    EXPECT_EQ(texts.at(1), frameText(u"(anonymous namespace)::crashOnGarbage()"_s, u"garbage call"_s));
}

TEST(CrashLogHelperFrames, DoesNotFollowFramesThatLeadToThemselves)
{
    const CrashedProgram crashed(u"chain"_s);
    const HelperResult result = runHelper(crashed.record);
    EXPECT_EQ(result.status, 0);
    const qsizetype count = frames(crashedThread(result.body)).size();
    EXPECT_GE(count, 1);
    EXPECT_LE(count, mostInnermost + 1 + mostOutermost);
}

TEST(CrashLogHelperFrames, OfAStrippedProgramNamesWhatItExportsAndKeepsTheOffsetsOfTheRest)
{
    const CrashedProgram crashed(u"write"_s);
    const CrashedProgram stripped(u"write"_s, {}, CrashedProgram::pathOf(u"StrippedCrasher"_s));
    const QJsonObject thread = crashedThread(runHelper(crashed.record).body);
    const QJsonObject strippedThread = crashedThread(runHelper(stripped.record).body);
    EXPECT_EQ(frameTexts(strippedThread).first(3), (QStringList{u"?"_s, u"?"_s, u"exportedCrash"_s}));
    for (qsizetype i = 0; i < 4; ++i)
        EXPECT_EQ(frames(strippedThread).at(i).toObject().value("imageOffset"_L1).toInteger(),
                  frames(thread).at(i).toObject().value("imageOffset"_L1).toInteger());
}

TEST(CrashLogHelperFrames, ShowsAllOf256ThreadsByTheirNames)
{
    const CrashedProgram crashed(u"write"_s, {u"255"_s});
    const QJsonArray threads = runHelper(crashed.record).body.value("threads"_L1).toArray();
    ASSERT_EQ(threads.size(), 256);
    QSet<QString> names;
    for (qsizetype i = 1; i < threads.size(); ++i) {
        const QJsonObject thread = threads.at(i).toObject();
        names.insert(thread.value("name"_L1).toString());
        EXPECT_THAT(frameTexts(thread).join(u'\n').toStdString(),
                    HasSubstr(u"(Crasher.cpp:%1)"_s.arg(lineOf(u"pause"_s)).toStdString()));
    }
    EXPECT_EQ(names.size(), 255);
    EXPECT_TRUE(names.contains(u"worker 0"_s) && names.contains(u"worker 254"_s));
}

TEST(CrashLogHelperFrames, ShowsTheCrashedOneAmongTheFirst512OfTooManyThreads)
{
    const CrashedProgram crashed(u"thread"_s, {u"600"_s});
    const HelperResult result = runHelper(crashed.record);
    EXPECT_EQ(result.status, 0);
    // There are 602: main() and the one that crashes, too. A line says that 89 of them are missing.
    const QJsonArray threads = result.body.value("threads"_L1).toArray();
    ASSERT_EQ(threads.size(), 514);
    EXPECT_EQ(threads.last().toObject().value("name"_L1).toString(), u"... 89 threads are left out here");
    EXPECT_EQ(crashedThread(result.body).value("name"_L1).toString(), u"unlucky");
    EXPECT_EQ(crashedThread(result.body).value("id"_L1).toInt(), crashed.record.thread);
}

TEST(CrashLogHelperFrames, ShowsAThreadThatNeverSleeps)
{
    const CrashedProgram crashed(u"spin"_s);
    const QJsonArray threads = runHelper(crashed.record).body.value("threads"_L1).toArray();
    ASSERT_EQ(threads.size(), 2);
    EXPECT_THAT(frameTexts(threads.at(1).toObject()).value(0).toStdString(),
                testing::EndsWith(u" (Crasher.cpp:%1)"_s.arg(lineOf(u"spin"_s)).toStdString()));
}

TEST(CrashLogHelperFrames, LetsTheThreadsRunOn)
{
    const CrashedProgram crashed(u"spin"_s);
    EXPECT_EQ(runHelper(crashed.record).status, 0);
    // Of the thread that spins, the one that was not stopped for the crash.
    const QDir tasks(u"/proc/%1/task"_s.arg(crashed.record.process));
    const QStringList threads = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    ASSERT_EQ(threads.size(), 2);
    for (const QString &thread : threads) {
        const QByteArray status = readFile(tasks.filePath(thread + u"/status"_s));
        EXPECT_THAT(status.toStdString(), HasSubstr("TracerPid:\t0\n"));
        EXPECT_THAT(status.toStdString(), testing::Not(HasSubstr("State:\tt")));
    }
}
