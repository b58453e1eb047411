#include "Tools/CrashLog/ProcessMemory.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

ProcessMemory::ProcessMemory(pid_t process)
    : m_process(process)
{
    char path[32];
    std::snprintf(path, sizeof path, "/proc/%d/mem", process);
    m_file = ::open(path, O_RDONLY | O_CLOEXEC);
}

ProcessMemory::~ProcessMemory()
{
    if (m_file >= 0)
        ::close(m_file);
}

std::optional<std::uint64_t> ProcessMemory::word(std::uint64_t address)
{
    std::uint64_t word = 0;
    const std::uint64_t offset = address % pageSize;
    if (offset > pageSize - sizeof word) // It lies on two pages.
        return read(address, &word, sizeof word) ? std::optional(word) : std::nullopt;
    if (m_page != address - offset) {
        if (!read(address - offset, m_bytes.data(), pageSize))
            return std::nullopt;
        m_page = address - offset;
    }
    std::memcpy(&word, &m_bytes[offset], sizeof word);
    return word;
}

bool ProcessMemory::read(std::uint64_t address, void *bytes, std::size_t size) const
{
    const iovec here{bytes, size};
    const iovec there{reinterpret_cast<void *>(address), size};
    const auto all = static_cast<ssize_t>(size);
    return ::process_vm_readv(m_process, &here, 1, &there, 1, 0) == all
           || ::pread(m_file, bytes, size, static_cast<off_t>(address)) == all;
}
