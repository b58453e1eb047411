#include "CrashReporter/CrashLogHead.h"

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryFile>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

siginfo_t signalOf(int number, int code)
{
    siginfo_t signal = {};
    signal.si_signo = number;
    signal.si_code = code;
    return signal;
}

siginfo_t signalOfProcess(int code)
{
    siginfo_t signal = signalOf(SIGSEGV, code);
    signal.si_pid = 4711;
    return signal;
}

QString subtype(const siginfo_t &signal)
{
    QTemporaryFile file;
    EXPECT_TRUE(file.open());
    CrashRecord record;
    record.signal = signal;
    JSONWriter json(file.handle());
    json.beginObject();
    writeExceptionMembers(json, record);
    json.endObject();
    EXPECT_TRUE(json.flush());
    const QJsonDocument document = QJsonDocument::fromJson(readFile(file.fileName()));
    return document[u"exception"_s][u"subtype"_s].toString();
}

} // namespace

TEST(CrashLogHead, ASignalThatAProcessSentHasItsNumber)
{
    EXPECT_EQ(subtype(signalOfProcess(SI_USER)), u"SI_USER by process 4711"_s);
    EXPECT_EQ(subtype(signalOfProcess(SI_QUEUE)), u"SI_QUEUE by process 4711"_s);
    EXPECT_EQ(subtype(signalOfProcess(SI_TKILL)), u"SI_TKILL by process 4711"_s);
    EXPECT_EQ(subtype(signalOfProcess(SI_MESGQ)), u"SI_MESGQ by process 4711"_s);
}

TEST(CrashLogHead, ASignalThatNoProcessSentHasOnlyItsCause)
{
    siginfo_t timer = signalOf(SIGSEGV, SI_TIMER);
    timer.si_timerid = 3;
    EXPECT_EQ(subtype(timer), u"SI_TIMER"_s);
    EXPECT_EQ(subtype(signalOf(SIGSEGV, SI_ASYNCIO)), u"SI_ASYNCIO"_s);
    EXPECT_EQ(subtype(signalOf(SIGSEGV, SI_SIGIO)), u"SI_SIGIO"_s);
    EXPECT_EQ(subtype(signalOf(SIGSEGV, SI_KERNEL)), u"SI_KERNEL"_s);
}

TEST(CrashLogHead, AFaultHasItsAddress)
{
    siginfo_t fault = signalOf(SIGSEGV, SEGV_MAPERR);
    fault.si_addr = reinterpret_cast<void *>(0x1234);
    EXPECT_EQ(subtype(fault), u"SEGV_MAPERR at 0x0000000000001234"_s);
}

TEST(CrashLogHead, AForbiddenSystemCallHasItsNumber)
{
    siginfo_t call = signalOf(SIGSYS, 1);
    call.si_syscall = 140;
    EXPECT_EQ(subtype(call), u"SYS_SECCOMP system call 140"_s);
}

TEST(CrashLogHead, ACauseWithoutANameIsANumber)
{
    EXPECT_EQ(subtype(signalOf(SIGSEGV, -60)), u"code -60"_s);
    EXPECT_EQ(subtype(signalOf(SIGSEGV, std::numeric_limits<int>::min())), u"code -2147483648"_s);
    EXPECT_EQ(subtype(signalOf(SIGILL, 99)), u"code 99 at 0x0000000000000000"_s);
}
