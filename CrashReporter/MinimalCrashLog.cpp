#include "CrashReporter/MinimalCrashLog.h"

#include "CrashReporter/CrashLogFile.h"
#include "CrashReporter/CrashLogHead.h"
#include "CrashReporter/CrashRegisters.h"
#include "CrashReporter/FixedText.h"
#include "CrashReporter/MappedImage.h"

#include <sys/prctl.h>
#include <sys/utsname.h>

namespace {

/*! Where the crashed thread was, as an offset into a file where it is known, else as an address. */
void writeFrame(JSONWriter &json, std::uint64_t address, const MappedImage &image)
{
    json.beginArray("frames");
    json.beginObject();
    json.number("imageOffset", address - image.base);
    json.number("imageIndex", 0);
    json.endObject();
    json.endArray();
}

void writeCrashedThread(JSONWriter &json, const CrashRecord &record, const MappedImage &image)
{
    char name[16] = {};
    ::prctl(PR_GET_NAME, name, 0, 0, 0);
    json.number("faultingThread", 0);
    json.beginArray("threads");
    json.beginObject();
    json.number("id", record.thread);
    json.string("name", name);
    json.boolean("triggered", true);
    writeThreadState(json, record);
    writeFrame(json, programCounter(record), image);
    json.endObject();
    json.endArray();
}

void writeImage(JSONWriter &json, const MappedImage &image)
{
    json.beginArray("usedImages");
    json.beginObject();
    json.string("name", image.name());
    json.string("path", image.path);
    json.number("base", image.base);
    json.number("size", image.size);
    json.endObject();
    json.endArray();
}

void writeReport(JSONWriter &json, const CrashRecord &record)
{
    utsname system = {};
    ::uname(&system);
    char version[sizeof system.sysname + sizeof system.release + 1];
    FixedText(version).append(system.sysname).append(" ").append(system.release);
    const MappedImage image(programCounter(record));

    writeCrashLogHeader(json, record, version);
    json.beginObject();
    writeProcessMembers(json, record);
    json.beginObject("osVersion");
    json.string("train", version);
    json.endObject();
    writeExceptionMembers(json, record);
    writeCrashedThread(json, record, image);
    writeImage(json, image);
    json.endObject();
    json.endDocument();
}

} // namespace

bool writeMinimalCrashLog(const CrashRecord &record)
{
    CrashLogFile file(record);
    if (!file.create())
        return false;
    JSONWriter json(file.descriptor());
    writeReport(json, record);
    return json.flush() && file.complete();
}
