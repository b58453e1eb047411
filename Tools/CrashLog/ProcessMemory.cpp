#include "Tools/CrashLog/ProcessMemory.h"

#include <cstdio>
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

std::optional<std::uint64_t> ProcessMemory::word(std::uint64_t address) const
{
    constexpr ssize_t size = sizeof(std::uint64_t);
    std::uint64_t word = 0;
    const iovec here{&word, size};
    const iovec there{reinterpret_cast<void *>(address), size};
    if (::process_vm_readv(m_process, &here, 1, &there, 1, 0) == size
        || ::pread(m_file, &word, size, static_cast<off_t>(address)) == size)
        return word;
    return std::nullopt;
}
