#include "Tools/CrashLog/MemoryMap.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <optional>

namespace {

constexpr std::size_t maximumImages = 4096;

/*! A line of the kernel's list. */
std::optional<Region> regionOfLine(const std::string &line)
{
    Region region;
    char permissions[5] = "";
    int pathStart = 0;
    if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s %" SCNx64 " %*s %*s %n", &region.start,
                    &region.end, permissions, &region.fileOffset, &pathStart)
        != 4)
        return std::nullopt;
    region.permissions = permissions;
    region.path = line.substr(static_cast<std::size_t>(pathStart));
    return region;
}

bool canBeImage(const Region &region) { return region.path.starts_with('/') || region.path == "[vdso]"; }

/*! The one of the sorted, separate ranges that holds an address, or null. */
template <typename Range>
const Range *rangeAt(const std::vector<Range> &ranges, std::uint64_t address)
{
    const auto next = std::ranges::upper_bound(ranges, address, {}, &Range::start);
    if (next == ranges.begin() || std::prev(next)->end <= address)
        return nullptr;
    return &*std::prev(next);
}

} // namespace

std::vector<Region> regionsOfProcess(pid_t process)
{
    std::ifstream lines("/proc/" + std::to_string(process) + "/maps");
    std::vector<Region> regions;
    for (std::string line; std::getline(lines, line);) {
        if (auto region = regionOfLine(line))
            regions.push_back(std::move(*region));
    }
    return regions;
}

std::vector<Image> imagesInRegions(const std::vector<Region> &regions)
{
    std::vector<Image> images;
    bool isCode = true;
    // A file is mapped in several regions, of which the first one begins with the file's first byte. A file
    // of which nothing can be executed, such as a font, is no image.
    const auto dropUnlessCode = [&] {
        if (!isCode)
            images.pop_back();
    };
    for (const Region &region : regions) {
        if (!canBeImage(region))
            continue;
        if (region.fileOffset == 0 || images.empty() || images.back().path != region.path) {
            dropUnlessCode();
            if (images.size() == maximumImages)
                return images;
            images.push_back({region.start, region.end, region.path});
            isCode = false;
        }
        images.back().end = region.end;
        isCode = isCode || region.isExecutable();
    }
    dropUnlessCode();
    return images;
}

const Region *regionAt(const std::vector<Region> &regions, std::uint64_t address)
{
    return rangeAt(regions, address);
}

const Image *imageAt(const std::vector<Image> &images, std::uint64_t address)
{
    return rangeAt(images, address);
}
