#include "Tests/Tools/CrashLog/CrashedProgram.h"

#include "Tests/Support/RawServer.h"
#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QRandomGenerator>

#include <cstring>
#include <optional>

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace {

/*! The crashed process kills the helper after 3 seconds. */
constexpr int timeLimit = 3000;

/*! The leak sanitizer needs ptrace itself. */
QStringList withoutPtrace(const QString &what)
{
    return {u"env"_s, u"ASAN_OPTIONS=detect_leaks=0"_s, CrashedProgram::pathOf(u"WithoutPtrace"_s), what};
}

QString topFrame() { return frameText(u"(anonymous namespace)::writeThrough(int volatile*)"_s, u"write"_s); }

QString libraryPath() { return CrashedProgram::pathOf(u"../lib/libCrasherLibrary.so"_s); }

QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QRandomGenerator generator(seed);
    QByteArray bytes(size, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(generator.bounded(256));
    return bytes;
}

/*! Overwrites a file where it is, so that its mappings see it. */
void overwrite(const QString &path, qsizetype offset, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite)) << qPrintable(path);
    ASSERT_TRUE(file.seek(offset));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

/*! Crasher, crashed in a library that is a copy of the tests' own. */
struct CrashInLibrary
{
    CrashInLibrary() { EXPECT_TRUE(QFile::copy(libraryPath(), path)); }

    const QTemporaryDir folder;
    const QString path = folder.filePath(u"libVictim.so"_s);
};

void expectReportInTime(const CrashRecord &record)
{
    QElapsedTimer timer;
    timer.start();
    const HelperResult result = runHelper(record);
    EXPECT_LT(timer.elapsed(), timeLimit);
    EXPECT_EQ(result.status, 0);
    EXPECT_FALSE(frames(crashedThread(result.body)).isEmpty());
    EXPECT_THAT(result.text.toStdString(), HasSubstr("\nBinary Images:\n"));
}

} // namespace

TEST(CrashLogHelperRefused, ShowsTheFramesOfTheCrashedThreadWherePtraceIsRefused)
{
    const CrashedProgram crashed(u"write"_s, {u"2"_s});
    for (const QString &refused : {u"ptrace"_s, u"memory"_s}) {
        const HelperResult result = runHelper(crashed.record, withoutPtrace(refused));
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(frameTexts(crashedThread(result.body)).value(0), topFrame());
        EXPECT_EQ(frameTexts(crashedThread(result.body)).last(), u"_start");
        const QJsonArray threads = result.body.value("threads"_L1).toArray();
        ASSERT_EQ(threads.size(), 3);
        EXPECT_EQ(threads.at(1).toObject().value("name"_L1).toString(), u"worker 0");
        EXPECT_TRUE(frames(threads.at(1).toObject()).isEmpty());
    }
}

TEST(CrashLogHelperRefused, ShowsWhereTheCrashWasWhereNothingOfTheProcessMayBeSeen)
{
    const QTemporaryDir folder;
    EXPECT_TRUE(resultInUnprivilegedChild(folder.path(), [&folder] {
        qputenv("TMPDIR", folder.path().toUtf8());
        const CrashedProgram crashed(u"secretive"_s);
        const HelperResult result = runHelper(crashed.record);
        const QJsonArray shown = frames(crashedThread(result.body));
        return result.status == 0 && shown.size() == 1
               && shown.first().toObject().value("imageOffset"_L1).toInteger()
                      == crashed.record.registers[REG_RIP];
    }));
}

TEST(CrashLogHelperHostile, AsksNoServerForDebuggingInformationEvenWhereTheEnvironmentNamesOne)
{
    const QTemporaryDir answers; // What a server does not have is not asked for again.
    qputenv("DEBUGINFOD_CACHE_PATH", answers.path().toUtf8());
    const RawServer server([](RawServer::Connection &) {});
    qputenv("DEBUGINFOD_URLS", server.url().toString().toUtf8());
    const CrashedProgram crashed(u"write"_s, {}, CrashedProgram::pathOf(u"StrippedCrasher"_s));
    EXPECT_EQ(runHelper(crashed.record).status, 0);
    EXPECT_EQ(server.connectionCount(), 0);
}

TEST(CrashLogHelperHostile, SaysWhereThereWasNoTimeToFollowMillionsOfFrames)
{
    const QString crash = u"ulimit -s 200000 && exec %1 millions"_s.arg(CrashedProgram::pathOf(u"Crasher"_s));
    const CrashedProgram crashed(u"-c"_s, {crash}, u"bash"_s);
    QElapsedTimer timer;
    timer.start();
    const HelperResult result = runHelper(crashed.record);
    EXPECT_LT(timer.elapsed(), timeLimit);
    EXPECT_EQ(result.status, 0);
    const QStringList texts = frameTexts(crashedThread(result.body));
    EXPECT_THAT(texts.value(0).toStdString(), HasSubstr("recurse(int)"));
    EXPECT_EQ(texts.value(texts.size() - 1), u"... and more, for which there was no time");
}

TEST(CrashLogHelperHostile, ReportsAProcessThatIsGone)
{
    std::optional<CrashedProgram> crashed(std::in_place, u"write"_s);
    const CrashRecord record = crashed->record;
    crashed.reset();
    const HelperResult result = runHelper(record);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(frames(crashedThread(result.body)).size(), 1);
}

TEST(CrashLogHelperHostile, NamesTheFunctionsOfAProgramWhoseFileIsGone)
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath(u"Copy"_s);
    ASSERT_TRUE(QFile::copy(CrashedProgram::pathOf(u"Crasher"_s), copy));
    const CrashedProgram crashed(u"write"_s, {}, copy);
    ASSERT_TRUE(QFile::remove(copy));
    const HelperResult result = runHelper(crashed.record);
    EXPECT_EQ(result.status, 0);
    // What is loaded holds the names of exported functions only.
    EXPECT_EQ(frameTexts(crashedThread(result.body)).value(2), u"exportedCrash");
    EXPECT_THAT(result.text.toStdString(), HasSubstr(" Copy (deleted) (*) <0123456789abcdef"));
}

TEST(CrashLogHelperHostile, ReportsACrashInALibraryThatWasReplacedByAnotherFile)
{
    const CrashInLibrary library;
    const CrashedProgram crashed(u"library"_s, {u"0"_s, library.path});
    ASSERT_TRUE(QFile::remove(library.path));
    writeFile(library.path, randomBytes(20'000, 1));
    expectReportInTime(crashed.record);
}

TEST(CrashLogHelperHostile, ReportsACrashInALibraryWhoseFileWasEmptied)
{
    const CrashInLibrary library;
    const CrashedProgram crashed(u"library"_s, {u"0"_s, library.path});
    ASSERT_TRUE(QFile::resize(library.path, 0));
    expectReportInTime(crashed.record);
}

TEST(CrashLogHelperHostile, ReportsACrashInALibraryWhoseFileWasDamaged)
{
    for (quint32 seed = 1; seed <= 20; ++seed) {
        const CrashInLibrary library;
        const CrashedProgram crashed(u"library"_s, {u"0"_s, library.path});
        const qsizetype size = QFile(library.path).size();
        // Anything, the header, or what debuggers read.
        const qsizetype start = seed % 3 == 0 ? 0 : seed % 3 == 1 ? 64 : size / 2;
        QRandomGenerator generator(seed);
        for (int i = 0; i < 200; ++i)
            overwrite(library.path, start + generator.bounded(static_cast<int>(size - start - 4)),
                      randomBytes(4, generator.generate()));
        expectReportInTime(crashed.record);
    }
}

TEST(CrashLogHelperHostile, ReportsARecordWhoseAddressesAreRandom)
{
    const CrashedProgram crashed(u"write"_s);
    for (quint32 seed = 1; seed <= 20; ++seed) {
        CrashRecord record = crashed.record;
        const QByteArray bytes = randomBytes(sizeof record.registers, seed);
        std::memcpy(record.registers, bytes.constData(), sizeof record.registers);
        expectReportInTime(record);
    }
}

TEST(CrashLogHelperHostile, ShowsATextOfARecordThatDoesNotEndUpToItsSize)
{
    CrashedProgram crashed(u"write"_s);
    std::memset(crashed.record.applicationName, 'n', sizeof crashed.record.applicationName);
    std::memset(crashed.record.exceptionText, '\xff', sizeof crashed.record.exceptionText);
    std::memset(crashed.record.exceptionType, '"', sizeof crashed.record.exceptionType);
    const HelperResult result = runHelper(crashed.record);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.header.value("app_name"_L1).toString(), QString(255, u'n'));
}
