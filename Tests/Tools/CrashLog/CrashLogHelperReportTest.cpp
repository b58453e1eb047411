#include "Tests/Tools/CrashLog/CrashedProgram.h"

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/UnprivilegedChild.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QSysInfo>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

QJsonObject imageOfFrame(const QJsonObject &body, const QJsonObject &frame)
{
    return body.value("usedImages"_L1).toArray().at(frame.value("imageIndex"_L1).toInt(-1)).toObject();
}

struct Crash
{
    QString way;
    QString type;
    QString signal;
    QString subtype; ///< how it starts
};

} // namespace

TEST(CrashLogHelperReport, IsAFileWithTheApplicationsNameTheTimeAndTheProcessThatOnlyTheUserMayRead)
{
    CrashedProgram crashed(u"write"_s);
    crashed.record.crashTime = {1'700'000'000, 123'456'789}; // 2023-11-14 22:13:20 UTC
    crashed.record.secondsEastOfUTC = -(3 * 60 + 30) * 60;
    const QTemporaryDir folder;
    qstrncpy(crashed.record.folder, (folder.path() + u"/Logs"_s).toUtf8().constData(), PATH_MAX);
    const HelperResult result = runHelperWithInput(
        QByteArray(reinterpret_cast<const char *>(&crashed.record), sizeof crashed.record),
        folder.path() + u"/Logs"_s);
    EXPECT_EQ(result.status, 0);
    ASSERT_EQ(result.files, QStringList(u"Crasher_2023-11-14-184320_%1.ips"_s.arg(crashed.record.process)));
    EXPECT_THAT(result.contents.toStdString(), StartsWith("{\"app_name\":\"Crasher\","));
    EXPECT_EQ(result.header.value("timestamp"_L1).toString(), u"2023-11-14 18:43:20.12 -0330");
    EXPECT_EQ(result.body.value("captureTime"_L1).toString(), u"2023-11-14 18:43:20.1234 -0330");
    struct stat status = {};
    ASSERT_EQ(
        ::stat(QFile::encodeName(folder.path() + u"/Logs/"_s + result.files.first()).constData(), &status),
        0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(CrashLogHelperReport, NamesTheSystemTheMachineAndTheProcessAround)
{
    const CrashedProgram crashed(u"write"_s);
    const HelperResult result = runHelper(crashed.record);
    const QJsonObject system = result.body.value("osVersion"_L1).toObject();
    EXPECT_EQ(system.value("train"_L1).toString(), QSysInfo::prettyProductName());
    EXPECT_EQ(system.value("build"_L1).toString(), u"Linux "_s + QSysInfo::kernelVersion());
    EXPECT_EQ(result.header.value("os_version"_L1).toString(),
              QSysInfo::prettyProductName() + u" (Linux "_s + QSysInfo::kernelVersion() + u')');
    EXPECT_EQ(result.body.value("pid"_L1).toInt(), crashed.record.process);
    EXPECT_EQ(result.body.value("parentPid"_L1).toInt(), ::getpid());
    EXPECT_EQ(result.body.value("parentProc"_L1).toString(), u"CrashLogHelperT");
    EXPECT_EQ(result.body.value("userID"_L1).toInt(-1), static_cast<int>(::getuid()));
    EXPECT_GT(result.body.value("uptime"_L1).toInt(), 0);
}

TEST(CrashLogHelperReport, NamesEachKindOfCrash)
{
    const Crash crashes[] = {
        {u"write"_s, u"EXC_BAD_ACCESS"_s, u"SIGSEGV"_s, u"SEGV_MAPERR at 0x0000000000000000 (write)"_s},
        {u"call"_s, u"EXC_BAD_ACCESS"_s, u"SIGSEGV"_s, u"SEGV_MAPERR at 0x0000000000000000 (execute)"_s},
        {u"read-only"_s, u"EXC_BAD_ACCESS"_s, u"SIGSEGV"_s, u"SEGV_ACCERR at 0x"_s},
        {u"wild"_s, u"EXC_BAD_ACCESS"_s, u"SIGSEGV"_s, u"SI_KERNEL"_s},
        {u"kill"_s, u"EXC_BAD_ACCESS"_s, u"SIGSEGV"_s, u"SI_TKILL by process "_s},
        {u"mapping"_s, u"EXC_BAD_ACCESS"_s, u"SIGBUS"_s, u"BUS_ADRERR at 0x"_s},
        {u"abort"_s, u"EXC_CRASH"_s, u"SIGABRT"_s, u"SI_TKILL by process "_s},
        {u"divide"_s, u"EXC_ARITHMETIC"_s, u"SIGFPE"_s, u"FPE_INTDIV at 0x"_s},
        {u"chain"_s, u"EXC_BAD_INSTRUCTION"_s, u"SIGILL"_s, u"ILL_ILLOPN at 0x"_s},
        {u"trap"_s, u"EXC_BREAKPOINT"_s, u"SIGTRAP"_s, u"SI_TKILL by process "_s},
    };
    for (const Crash &crash : crashes) {
        const CrashedProgram crashed(crash.way);
        const QJsonObject exception = runHelper(crashed.record).body.value("exception"_L1).toObject();
        EXPECT_EQ(exception.value("type"_L1).toString(), crash.type);
        EXPECT_EQ(exception.value("signal"_L1).toString(), crash.signal);
        EXPECT_THAT(exception.value("subtype"_L1).toString().toStdString(),
                    StartsWith(crash.subtype.toStdString()));
    }
}

TEST(CrashLogHelperReport, ShowsTheTypeAndTheTextOfAnUncaughtException)
{
    CrashedProgram crashed(u"abort"_s);
    qstrncpy(crashed.record.exceptionType, "std::runtime_error", sizeof crashed.record.exceptionType);
    qstrncpy(crashed.record.exceptionText, "no \"map\"\n", sizeof crashed.record.exceptionText);
    const HelperResult result = runHelper(crashed.record);
    EXPECT_THAT(result.text.toStdString(),
                HasSubstr("uncaught exception of type std::runtime_error: no \"map\"\n"));
}

TEST(CrashLogHelperReport, ShowsTheRegistersOfTheCrash)
{
    const CrashedProgram crashed(u"write"_s);
    const HelperResult result = runHelper(crashed.record);
    const QJsonObject state = crashedThread(result.body).value("threadState"_L1).toObject();
    EXPECT_EQ(state.value("rip"_L1).toObject().value("value"_L1).toInteger(),
              crashed.record.registers[REG_RIP]);
    EXPECT_EQ(state.value("rsp"_L1).toObject().value("value"_L1).toInteger(),
              crashed.record.registers[REG_RSP]);
}

TEST(CrashLogHelperReport, ShowsTheLoadedImagesWithTheirBuilds)
{
    const CrashedProgram crashed(u"write"_s);
    const HelperResult result = runHelper(crashed.record);
    const QJsonObject frame = frames(crashedThread(result.body)).first().toObject();
    const QJsonObject image = imageOfFrame(result.body, frame);
    EXPECT_EQ(image.value("name"_L1).toString(), u"Crasher");
    EXPECT_EQ(image.value("path"_L1).toString(), CrashedProgram::pathOf(u"Crasher"_s));
    EXPECT_EQ(image.value("uuid"_L1).toString(), u"0123456789abcdef0123456789abcdef01234567");
    EXPECT_EQ(image.value("base"_L1).toInteger() + frame.value("imageOffset"_L1).toInteger(),
              crashed.record.registers[REG_RIP]);
    EXPECT_THAT(result.text.toStdString(), HasSubstr(" libc.so.6 (*) <"));
    EXPECT_THAT(result.text.toStdString(), HasSubstr(" [vdso] (*) <"));
}

TEST(CrashLogHelperReport, HoldsNoArgumentAndNothingOfTheEnvironment)
{
    qputenv("MARBLEWICK_TEST_SECRET", "secret of the environment");
    const CrashedProgram crashed(u"write"_s, {u"0"_s, u"secret argument"_s});
    const HelperResult result = runHelper(crashed.record);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.contents.toStdString(), testing::Not(HasSubstr("secret")));
    EXPECT_THAT(result.contents.toStdString(), testing::Not(HasSubstr("MARBLEWICK_TEST")));
}

TEST(CrashLogHelperReport, ReadsAsAPersonExpects)
{
    CrashedProgram crashed(u"write"_s, {u"1"_s});
    qstrncpy(crashed.record.bundleIdentifier, "com.example.crasher", 256);
    qstrncpy(crashed.record.shortVersion, "1.4", 128);
    qstrncpy(crashed.record.bundleVersion, "77", 128);
    const std::string text = runHelper(crashed.record).text.toStdString();
    EXPECT_THAT(text, StartsWith("Process:               Crasher ["));
    for (const char *const part :
         {"\nIdentifier:            com.example.crasher\n", "\nVersion:               1.4 (77)\n",
          "\nCode Type:             X86-64\n", "\nCrashed Thread:        0 Crasher\n",
          "\nException Type:        EXC_BAD_ACCESS (SIGSEGV)\n",
          "\nTermination Reason:    Namespace SIGNAL, Code 11 Segmentation fault: 11\n",
          "\nVM Region Info:\n0x0000000000000000 is not in any region.\nafter:  0x",
          "\nThread 0 Crashed:: Crasher\n0   Crasher ", "\nThread 1:: worker 0\n0   libc.so.6 ",
          "\nThread 0 crashed with X86 Thread State (64-bit):\n", "\nBinary Images:\n"})
        EXPECT_THAT(text, HasSubstr(part));
}

TEST(CrashLogHelperReport, IsNotMadeFromARecordThatIsMissingCutOrOfAnotherBuild)
{
    const CrashedProgram crashed(u"write"_s);
    const QTemporaryDir folder;
    CrashRecord record = crashed.record;
    qstrncpy(record.folder, folder.path().toUtf8().constData(), PATH_MAX);
    const auto bytes = [](const CrashRecord &whole) {
        return QByteArray(reinterpret_cast<const char *>(&whole), sizeof whole);
    };
    CrashRecord otherSize = record;
    --otherSize.size;
    CrashRecord noProcess = record;
    noProcess.process = 0;
    CrashRecord noSignal = record;
    noSignal.signal.si_signo = SIGUSR1;
    for (const QByteArray &input :
         {QByteArray(), bytes(record).chopped(1), bytes(otherSize), bytes(noProcess), bytes(noSignal)}) {
        const HelperResult result = runHelperWithInput(input, folder.path());
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.files, QStringList());
    }
    EXPECT_EQ(runHelperWithInput(bytes(record), folder.path()).status, 0);
}

TEST(CrashLogHelperReport, IsNotMadeInAFolderThatCannotBeWrittenWhichTheStatusSays)
{
    const CrashedProgram crashed(u"write"_s);
    const QTemporaryDir folder;
    const QString readOnly = folder.path() + u"/read-only"_s;
    ASSERT_TRUE(QDir().mkpath(readOnly));
    ASSERT_EQ(::chmod(QFile::encodeName(readOnly).constData(), 0500), 0);
    CrashRecord record = crashed.record;
    qstrncpy(record.folder, readOnly.toUtf8().constData(), PATH_MAX);
    EXPECT_TRUE(resultInUnprivilegedChild(folder.path(), [&] {
        qputenv("TMPDIR", folder.path().toUtf8());
        const HelperResult result = runHelperWithInput(
            QByteArray(reinterpret_cast<const char *>(&record), sizeof record), readOnly);
        return result.status == 2 && result.files.isEmpty();
    }));
}
