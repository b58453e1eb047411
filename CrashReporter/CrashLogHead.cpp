#include "CrashReporter/CrashLogHead.h"

#include "CrashReporter/CrashRegisters.h"
#include "CrashReporter/CrashSignals.h"
#include "CrashReporter/FixedText.h"
#include "CrashReporter/LocalTime.h"

#include <sys/random.h>
#include <unistd.h>

namespace {

/*! As much as any of the texts below needs. */
using Line = char[128];

/*! A random name for this report: a UUID of version 4, or zeros where the system gives no random bytes. */
std::string_view incidentIdentifier(Line &line)
{
    unsigned char bytes[16] = {};
    if (::getrandom(bytes, sizeof bytes, GRND_NONBLOCK) == sizeof bytes) {
        bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40);
        bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
    }
    FixedText text(line);
    for (std::size_t index = 0; index < sizeof bytes; ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10)
            text.append("-");
        text.append(static_cast<unsigned>(bytes[index]), 2, 16);
    }
    return text.view();
}

/*! What a person reads about the cause: its name, and where or by whom. */
std::string_view subtype(const CrashRecord &record, Line &line)
{
    const siginfo_t &signal = record.signal;
    FixedText text(line);
    if (const std::string_view cause = causeOfSignal(signal); !cause.empty())
        text.append(cause);
    else
        text.append("code ").append(signal.si_code);
    if (hasSender(signal))
        text.append(" by process ").append(signal.si_pid);
    else if (signal.si_signo == SIGSYS && isFault(signal))
        text.append(" system call ").append(signal.si_syscall);
    else if (isFault(signal))
        text.append(" at 0x").append(reinterpret_cast<std::uintptr_t>(signal.si_addr), 16, 16);
    const std::string_view access = attemptedAccess(record);
    if (signal.si_signo == SIGSEGV && isFault(signal) && !access.empty())
        text.append(" (").append(access).append(")");
    return text.view();
}

void writeTermination(JSONWriter &json, const CrashRecord &record)
{
    Line indicator;
    const CrashSignal &signal = crashSignal(record.signal.si_signo);
    FixedText(indicator).append(signal.description).append(": ").append(signal.number);
    json.beginObject("termination");
    json.string("namespace", "SIGNAL");
    json.number("code", signal.number);
    json.string("indicator", indicator);
    json.endObject();
}

void writeUncaughtException(JSONWriter &json, const CrashRecord &record)
{
    json.beginObject("uncaughtException");
    json.string("type", record.exceptionType);
    json.string("what", record.exceptionText);
    json.endObject();

    // Readers show what a library had to say before the end under its name.
    char message[sizeof record.exceptionType + sizeof record.exceptionText + sizeof(Line)];
    FixedText(message)
        .append("terminating due to uncaught exception of type ")
        .append(record.exceptionType)
        .append(record.exceptionText[0] ? ": " : "")
        .append(record.exceptionText);
    json.beginObject("asi");
    json.beginArray("libstdc++.so.6");
    json.string({}, message);
    json.endArray();
    json.endObject();
}

std::string_view fileName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

} // namespace

void writeCrashLogHeader(JSONWriter &json, const CrashRecord &record, std::string_view osVersion)
{
    Line line;
    json.beginObject();
    json.string("app_name", record.applicationName);
    json.string("timestamp", localTimestamp(record.crashTime, record.secondsEastOfUTC, 2, line));
    json.string("app_version", record.shortVersion);
    json.string("build_version", record.bundleVersion);
    json.string("bundleID", record.bundleIdentifier);
    json.string("bug_type", "309");
    json.string("os_version", osVersion);
    json.string("name", record.applicationName);
    json.string("incident_id", incidentIdentifier(line));
    json.endObject();
    json.endDocument();
}

void writeProcessMembers(JSONWriter &json, const CrashRecord &record)
{
    Line line;
    json.string("procName", fileName(record.executablePath));
    json.number("pid", record.process);
    json.string("procPath", record.executablePath);
    json.beginObject("bundleInfo");
    json.string("CFBundleIdentifier", record.bundleIdentifier);
    json.string("CFBundleShortVersionString", record.shortVersion);
    json.string("CFBundleVersion", record.bundleVersion);
    json.endObject();
    json.string("cpuType", cpuType);
    json.number("userID", ::getuid());
    json.string("captureTime", localTimestamp(record.crashTime, record.secondsEastOfUTC, 4, line));
    json.string("procLaunch", localTimestamp(record.launchTime, record.secondsEastOfUTC, 4, line));
}

void writeExceptionMembers(JSONWriter &json, const CrashRecord &record)
{
    Line line;
    const siginfo_t &signal = record.signal;
    const std::uintptr_t address = isFault(signal) ? reinterpret_cast<std::uintptr_t>(signal.si_addr) : 0;
    json.beginObject("exception");
    json.string("type", crashSignal(signal.si_signo).exceptionType);
    json.string("signal", crashSignal(signal.si_signo).name);
    json.string("subtype", subtype(record, line));
    FixedText(line)
        .append("0x")
        .append(static_cast<std::uint64_t>(signal.si_code), 16, 16)
        .append(", 0x")
        .append(address, 16, 16);
    json.string("codes", line);
    json.endObject();
    writeTermination(json, record);
    if (record.exceptionType[0])
        writeUncaughtException(json, record);
}

void writeThreadState(JSONWriter &json, const CrashRecord &record)
{
    json.beginObject("threadState");
    json.string("flavor", threadStateFlavor);
    for (std::size_t index = 0; index < registerNames.size(); ++index) {
        if (registerNames[index].empty())
            continue;
        json.beginObject(registerNames[index]);
        json.number("value", static_cast<std::uint64_t>(record.registers[index]));
        json.endObject();
    }
    json.endObject();
}
