#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

/*! The memory of another process, which may be as damaged as it likes. */
class ProcessMemory
{
public:
    explicit ProcessMemory(pid_t process);
    ~ProcessMemory();
    ProcessMemory(const ProcessMemory &) = delete;
    ProcessMemory &operator=(const ProcessMemory &) = delete;

    /*! The word at an address; nil where there is none or the system refuses. */
    std::optional<std::uint64_t> word(std::uint64_t address) const;

private:
    const pid_t m_process;
    int m_file = -1; ///< in which the process's memory can be read where process_vm_readv() is not allowed
};
