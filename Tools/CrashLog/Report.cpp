#include "Tools/CrashLog/Report.h"

#include "Tools/CrashLog/ELFImages.h"
#include "Tools/CrashLog/FaultRegion.h"
#include "Tools/CrashLog/ReportThreads.h"
#include "Tools/CrashLog/SystemText.h"

#include "CrashReporter/CrashLogHead.h"
#include "CrashReporter/JSONWriter.h"

#include <algorithm>
#include <optional>

namespace {

/*! Of the report's form, not of this program. */
constexpr int reportVersion = 2;

void writeUnlessEmpty(JSONWriter &json, std::string_view key, std::string_view text)
{
    if (!text.empty())
        json.string(key, text);
}

std::string kernelName() { return "Linux " + kernelVersion(); }

void writeSurroundings(JSONWriter &json, const CrashRecord &record)
{
    const pid_t parent = parentOfProcess(record.process);
    writeUnlessEmpty(json, "parentProc", nameOfProcess(parent));
    json.number("parentPid", parent);
    json.beginObject("osVersion");
    json.string("train", systemName());
    json.string("build", kernelName());
    json.endObject();
    writeUnlessEmpty(json, "modelCode", machineModel());
    json.number("uptime", secondsAwake());
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

} // namespace

bool writeReport(int descriptor, const CrashedProcess &process, Detail detail,
                 std::chrono::steady_clock::time_point deadline)
{
    const CrashRecord &record = process.record;
    std::optional<ELFImages> images;
    if (detail != Detail::NoStacks)
        images.emplace(record.process, process.images);
    const std::vector<std::string> buildIDs = buildIDsOfImages(images, process.images);

    JSONWriter json(descriptor);
    writeCrashLogHeader(json, record, systemName() + " (" + kernelName() + ')');
    json.beginObject();
    json.number("version", reportVersion);
    writeProcessMembers(json, record);
    writeSurroundings(json, record);
    writeExceptionMembers(json, record);
    writeUnlessEmpty(json, "vmRegionInfo", textOfFaultRegion(record.signal, process.regions));
    writeThreads(json, process, images ? images->handle() : nullptr, detail, deadline);
    writeImages(json, process.images, buildIDs);
    json.endObject();
    json.endDocument();
    return json.flush();
}
