#pragma once

#include <sys/types.h>
#include <sys/ucontext.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

class ProcessMemory;

/*! What walking a thread's stack begins with. */
struct Registers
{
#if defined(__x86_64__)
    static constexpr std::size_t count = 17;
#elif defined(__aarch64__)
    static constexpr std::size_t count = 32;
#endif
    /*! The general registers by their numbers in DWARF. */
    std::array<std::uint64_t, count> numbered = {};
    std::uint64_t programCounter = 0;
};

/*! The registers that a signal handler was given. */
Registers registersOfSignal(const gregset_t &registers);

/*! The registers of a thread that this program has stopped; nil where the system refuses. */
std::optional<Registers> registersOfStoppedThread(pid_t thread);

/*! What the registers were before a call of which no instruction ran, as it led to where no code is. The
   program counter is inside the call. Nil where the stack cannot be read.
*/
std::optional<Registers> registersBeforeCall(const Registers &registers, ProcessMemory &memory);

/*! What a report calls the kind of machine that an image was built for. */
extern const std::string_view architectureName;
