#include "Tools/CrashLog/FaultRegion.h"

#include "CrashReporter/CrashSignals.h"
#include "CrashReporter/FixedText.h"

namespace {

std::string hexadecimal(std::uint64_t value)
{
    char text[24];
    return std::string(FixedText(text).append("0x").append(value, 16, 16).view());
}

std::string lineOfRegion(const Region &region)
{
    return hexadecimal(region.start) + " - " + hexadecimal(region.end - 1) + ' ' + region.permissions + ' '
           + region.path;
}

} // namespace

std::string textOfFaultRegion(const siginfo_t &signal, const std::vector<Region> &regions)
{
    const bool isOfMemory = signal.si_signo == SIGSEGV || signal.si_signo == SIGBUS;
    if (!isOfMemory || !isFault(signal) || regions.empty())
        return {};
    const auto address = reinterpret_cast<std::uint64_t>(signal.si_addr);
    const Region *const region = regionAt(regions, address);
    std::string text = hexadecimal(address) + (region ? " is in this region:" : " is not in any region.");
    const Region *before = nullptr;
    const Region *after = nullptr;
    for (const Region &other : regions) {
        if (other.end <= address)
            before = &other;
        else if (!after && other.start > address)
            after = &other;
    }
    text += before ? "\nbefore: " + lineOfRegion(*before) : "";
    text += region ? "\n------> " + lineOfRegion(*region) : "";
    text += after ? "\nafter:  " + lineOfRegion(*after) : "";
    return text;
}
