#pragma once

#include "CrashReporter/CrashRecord.h"

#include <span>
#include <string_view>

// What depends on the processor.

/*! Names, as crash logs have them, of the processor and of the form of its registers. */
extern const std::string_view cpuType;
extern const std::string_view threadStateFlavor;

/*! The name of each of a record's registers, in their order; empty for one that says nothing. */
extern const std::span<const std::string_view> registerNames;

/*! Takes the registers over from what a signal handler was given. */
void copyRegisters(const ucontext_t &context, CrashRecord &record);

/*! Where the crashed thread was. */
std::uint64_t programCounter(const CrashRecord &record);

/*! What the processor was about to do with the address of a page fault: "read", "write" or "execute". Empty
    where it does not say.
*/
std::string_view attemptedAccess(const CrashRecord &record);
