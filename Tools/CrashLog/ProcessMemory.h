#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
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

    /*! The word at an address; nil where there is none or the system refuses. What was read once is not read
        again.
    */
    std::optional<std::uint64_t> word(std::uint64_t address);

private:
    static constexpr std::size_t pageSize = 4096;

    bool read(std::uint64_t address, void *bytes, std::size_t size) const;

    const pid_t m_process;
    std::uint64_t m_page = 1; ///< address of the page that was read last; 1, which is none's, before
    std::array<std::byte, pageSize> m_bytes = {};
    int m_file = -1; ///< in which the process's memory can be read where process_vm_readv() is not allowed
};
