#pragma once

#include <limits.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/ucontext.h>
#include <time.h>

#include <cstdint>

/*! What a crashed process tells the crash-log helper, sent through a socket as it stands.

    Both are of one build, so there is no byte order and no version to agree on; the size is checked. Pointers
    inside (`si_addr`, registers) are addresses of the crashed process. Texts are UTF-8, end with a zero byte
    and are empty where unknown; they were cut to fit when they were prepared.
*/
struct CrashRecord
{
    std::uint32_t size = sizeof(CrashRecord);

    pid_t process = 0;
    /*! The thread that crashed, by the kernel's number. */
    pid_t thread = 0;
    /*! CLOCK_REALTIME at the crash and when the writer was installed (taken as the launch). */
    timespec crashTime = {};
    timespec launchTime = {};
    /*! Seconds east of UTC when the record was prepared. The log is named by it. */
    std::int32_t secondsEastOfUTC = 0;

    siginfo_t signal = {};
    /*! General registers of the crashed thread, from the signal's context. */
    gregset_t registers = {};

    char applicationName[256] = {};
    char bundleIdentifier[256] = {};
    char shortVersion[128] = {};
    char bundleVersion[128] = {};
    char executablePath[PATH_MAX] = {};
    /*! Absolute path of the folder that the log goes to. */
    char folder[PATH_MAX] = {};

    /*! Of an uncaught C++ exception: its demangled type and what(); empty otherwise. */
    char exceptionType[512] = {};
    char exceptionText[2048] = {};
};
