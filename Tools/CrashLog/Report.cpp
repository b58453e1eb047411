#include "Tools/CrashLog/Report.h"

#include "Tools/CrashLog/ELFImages.h"
#include "Tools/CrashLog/ReportThreads.h"
#include "Tools/CrashLog/SignalText.h"
#include "Tools/CrashLog/SystemText.h"

#include "CrashReporter/JSONWriter.h"

#include <unistd.h>

#include <algorithm>
#include <optional>

namespace {

/*! Of the report's form, not of this program. */
constexpr int reportVersion = 2;
constexpr int desktopPlatform = 1;

void writeUnlessEmpty(JSONWriter &json, std::string_view key, std::string_view text)
{
    if (!text.empty())
        json.string(key, text);
}

void writeHeader(JSONWriter &json, const CrashRecord &record, const std::string &incident,
                 const std::string &buildID)
{
    json.beginObject();
    json.string("app_name", record.applicationName); // The first key: programs know such a file by it.
    json.string("timestamp", timeText(record.crashTime, record.secondsEastOfUTC, 2));
    json.string("app_version", record.shortVersion);
    writeUnlessEmpty(json, "slice_uuid", buildID);
    json.string("build_version", record.bundleVersion);
    json.number("platform", desktopPlatform);
    writeUnlessEmpty(json, "bundleID", record.bundleIdentifier);
    json.string("bug_type", "309");
    json.string("os_version", systemName() + " (Linux " + kernelVersion() + ')');
    json.string("incident_id", incident);
    json.string("name", record.applicationName);
    json.endObject();
    json.endDocument();
}

void writeProcess(JSONWriter &json, const CrashRecord &record)
{
    json.number("pid", record.process);
    json.string("procName", record.applicationName);
    json.string("procPath", record.executablePath);
    json.beginObject("bundleInfo");
    writeUnlessEmpty(json, "CFBundleIdentifier", record.bundleIdentifier);
    writeUnlessEmpty(json, "CFBundleShortVersionString", record.shortVersion);
    writeUnlessEmpty(json, "CFBundleVersion", record.bundleVersion);
    json.endObject();
    const pid_t parent = parentOfProcess(record.process);
    writeUnlessEmpty(json, "parentProc", nameOfProcess(parent));
    json.number("parentPid", parent);
    json.number("userID", ::getuid());
}

void writeCircumstances(JSONWriter &json, const CrashRecord &record)
{
    json.string("captureTime", timeText(record.crashTime, record.secondsEastOfUTC, 4));
    json.string("procLaunch", timeText(record.launchTime, record.secondsEastOfUTC, 4));
    json.beginObject("osVersion");
    json.string("train", systemName());
    json.string("build", "Linux " + kernelVersion());
    json.endObject();
    json.string("cpuType", processorName);
    writeUnlessEmpty(json, "modelCode", machineModel());
    json.number("uptime", secondsAwake());
}

void writeException(JSONWriter &json, const CrashRecord &record)
{
    const SignalText text = signalText(record);
    const std::uint64_t address = faultAddress(record.signal).value_or(0);
    json.beginObject("exception");
    json.string("codes",
                hexadecimal(static_cast<std::uint32_t>(record.signal.si_code)) + ", " + hexadecimal(address));
    json.beginArray("rawCodes");
    json.number({}, record.signal.si_code);
    json.number({}, address);
    json.endArray();
    json.string("type", text.type);
    json.string("signal", text.signal);
    json.string("subtype", text.subtype);
    json.endObject();

    json.beginObject("termination");
    json.string("namespace", "SIGNAL");
    json.number("code", record.signal.si_signo);
    json.string("indicator", text.type + ": " + std::to_string(record.signal.si_signo));
    json.endObject();
}

std::string lineOfRegion(const Region &region)
{
    return hexadecimal(region.start) + " - " + hexadecimal(region.end - 1) + ' ' + region.permissions + ' '
           + region.path;
}

/*! What lies at the address that the process could not use, and around it. */
std::string regionText(const CrashedProcess &process)
{
    const auto address = faultAddress(process.record.signal);
    if (!address || process.regions.empty())
        return {};
    const Region *const region = regionAt(process.regions, *address);
    std::string text = hexadecimal(*address) + (region ? " is in this region:" : " is not in any region.");
    const Region *before = nullptr;
    const Region *after = nullptr;
    for (const Region &other : process.regions) {
        if (other.end <= *address)
            before = &other;
        else if (!after && other.start > *address)
            after = &other;
    }
    text += before ? "\nbefore: " + lineOfRegion(*before) : "";
    text += region ? "\n------> " + lineOfRegion(*region) : "";
    text += after ? "\nafter:  " + lineOfRegion(*after) : "";
    return text;
}

void writeMessages(JSONWriter &json, const CrashRecord &record)
{
    const std::string type = record.exceptionType;
    if (type.empty())
        return;
    const std::string text = record.exceptionText;
    json.beginObject("asi");
    json.beginArray("libstdc++.so.6");
    json.string({},
                "terminated by an uncaught exception of type " + type + (text.empty() ? "" : ": " + text));
    json.endArray();
    json.endObject();
}

void writeImages(JSONWriter &json, const std::vector<Image> &images, const std::vector<std::string> &buildIDs)
{
    json.beginArray("usedImages");
    for (std::size_t i = 0; i < images.size(); ++i) {
        const Image &image = images[i];
        json.beginObject();
        json.string("name", image.path.substr(image.path.rfind('/') + 1));
        json.string("path", image.path);
        writeUnlessEmpty(json, "uuid", buildIDs[i]);
        json.number("base", image.start);
        json.number("size", image.end - image.start);
        json.string("arch", architectureName);
        json.endObject();
    }
    json.endArray();
}

std::vector<std::string> buildIDsOfImages(const std::optional<ELFImages> &elfImages,
                                          const std::vector<Image> &images)
{
    std::vector<std::string> buildIDs(images.size());
    if (elfImages)
        std::ranges::transform(images, buildIDs.begin(),
                               [&](const Image &image) { return elfImages->buildID(image.start); });
    return buildIDs;
}

/*! Of the image that is the program itself. */
std::string buildIDOfProgram(const CrashedProcess &process, const std::vector<std::string> &buildIDs)
{
    const auto program = std::ranges::find(process.images, process.record.executablePath, &Image::path);
    return program == process.images.end()
               ? ""
               : buildIDs[static_cast<std::size_t>(program - process.images.begin())];
}

} // namespace

bool writeReport(int descriptor, const CrashedProcess &process, Detail detail,
                 std::chrono::steady_clock::time_point deadline)
{
    const CrashRecord &record = process.record;
    std::optional<ELFImages> images;
    if (detail != Detail::NoStacks)
        images.emplace(record.process, process.images);
    const std::vector<std::string> buildIDs = buildIDsOfImages(images, process.images);
    const std::string incident = randomUUID();

    JSONWriter json(descriptor);
    writeHeader(json, record, incident, buildIDOfProgram(process, buildIDs));
    json.beginObject();
    json.number("version", reportVersion);
    json.string("incident", incident);
    writeProcess(json, record);
    writeCircumstances(json, record);
    writeException(json, record);
    writeUnlessEmpty(json, "vmRegionInfo", regionText(process));
    writeMessages(json, record);
    writeThreads(json, process, images ? images->handle() : nullptr, detail, deadline);
    writeImages(json, process.images, buildIDs);
    json.endObject();
    json.endDocument();
    return json.flush();
}
