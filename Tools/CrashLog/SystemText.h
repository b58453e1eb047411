#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

// What a report says of the machine and of the processes around.

/*! Such as "Debian GNU/Linux 12 (bookworm)"; "Linux" where the system does not say. */
std::string systemName();
/*! Such as "6.1.0-13-amd64". */
std::string kernelVersion();
/*! The maker's name of the machine; empty where unknown. */
std::string machineModel();
/*! Seconds that the machine was awake since it was started. */
std::uint64_t secondsAwake();

/*! The name of a process, up to 15 bytes; empty where there is none. */
std::string nameOfProcess(pid_t process);
/*! 0 where unknown. */
pid_t parentOfProcess(pid_t process);
