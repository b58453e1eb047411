#pragma once

#include "Tools/CrashLog/Registers.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

struct Thread
{
    pid_t id = 0;
    std::string name; ///< as the program set it, up to 15 bytes of any kind; empty where unknown
    std::optional<Registers> registers; ///< nil where the thread could not be stopped
};

struct Threads
{
    std::vector<Thread> shown; ///< in the order in which they were started
    std::size_t omitted = 0; ///< number of those that are too many
};

/*! Stops the threads of a process, all before the registers of any are read, and leaves out only the crashed
   one, which waits anyway. They run on when this program ends.

    Of more than 512 only the first ones and the crashed one are stopped and shown. What does not stop in
    `patience`, or where the system refuses, has no registers; those of the crashed one are not read.
*/
Threads stopThreads(pid_t process, pid_t crashed, std::chrono::milliseconds patience);
