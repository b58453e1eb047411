#pragma once

#include "Tools/CrashLog/MemoryMap.h"
#include "Tools/CrashLog/ProcessMemory.h"
#include "Tools/CrashLog/Registers.h"

#include <elfutils/libdwfl.h>

#include <chrono>
#include <cstdint>
#include <vector>

struct Frame
{
    std::uint64_t address = 0; ///< where the function was, or where it will go on
    /*! Whether the function waits for one that it called. Then the call stands before the address, and what
        stands at it may belong to another line or function.
    */
    bool isWaiting = false;

    std::uint64_t codeAddress() const { return isWaiting ? address - 1 : address; }
};

/*! The frames of a thread, innermost first. */
struct Stack
{
    std::vector<Frame> innermost; ///< up to 384
    std::size_t omitted = 0; ///< number of those between
    std::vector<Frame> outermost; ///< up to 128
    bool isUnfinished = false; ///< whether time ran out before the outermost ones were reached
};

/*! Walks the stacks of a process whose threads stand still, with the tables that compilers leave in images.
 */
class StackWalker
{
public:
    using Deadline = std::chrono::steady_clock::time_point;

    /*! What is given must outlive the walker. */
    StackWalker(Dwfl *images, pid_t process, const std::vector<Region> &regions, ProcessMemory &memory);

    /*! The stack of a thread with these registers; at least one frame. */
    Stack walk(const Registers &registers, Deadline deadline);

private:
    static const Dwfl_Thread_Callbacks callbacks;

    bool isCode(std::uint64_t address) const;

    Dwfl *const m_images;
    const pid_t m_process;
    const std::vector<Region> &m_regions;
    ProcessMemory &m_memory;
    Registers m_registers; ///< those that the walk under way begins with
};
