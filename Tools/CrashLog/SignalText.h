#pragma once

#include "CrashReporter/CrashRecord.h"

#include <cstdint>
#include <optional>
#include <string>

/*! What a report says of the signal that ended a process. */
struct SignalText
{
    std::string type; ///< in words, such as "Segmentation fault"
    std::string signal; ///< such as "SIGSEGV"
    std::string subtype; ///< why it came, such as "SEGV_MAPERR at 0x0000000000000008 (write)"
};

SignalText signalText(const CrashRecord &record);

/*! The address that the process could not use, where the signal came from that. */
std::optional<std::uint64_t> faultAddress(const siginfo_t &signal);

/*! A number with 16 hexadecimal digits behind "0x". */
std::string hexadecimal(std::uint64_t value);
