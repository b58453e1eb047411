#include "CrashReporter/AlternateStack.h"

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/*! What the handler needs, with a good margin for a handler that the host had before. Only what is touched
    becomes memory.
*/
constexpr std::size_t neededSize = 64 * 1024;

std::size_t pageSize() { return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)); }

/*! With what the kernel saves on it when a signal arrives, which depends on the processor. */
std::size_t stackSize()
{
    const std::size_t frame = static_cast<std::size_t>(::sysconf(_SC_MINSIGSTKSZ));
    return (neededSize + frame + pageSize() - 1) / pageSize() * pageSize();
}

stack_t currentStack()
{
    stack_t current = {};
    ::sigaltstack(nullptr, &current);
    return current;
}

} // namespace

AlternateStack::AlternateStack()
    : m_former(currentStack())
{
    if ((m_former.ss_flags & SS_DISABLE) == 0 && m_former.ss_size >= neededSize)
        return;
    // The lowest page stays closed: a handler that overflows shall not write into other memory.
    const std::size_t size = pageSize() + stackSize();
    void *const mapping = ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
    if (mapping == MAP_FAILED)
        return;
    m_own.ss_sp = static_cast<char *>(mapping) + pageSize();
    m_own.ss_size = stackSize();
    if (::mprotect(m_own.ss_sp, m_own.ss_size, PROT_READ | PROT_WRITE) == 0
        && ::sigaltstack(&m_own, nullptr) == 0)
        m_mapping = mapping;
    else
        ::munmap(mapping, size);
}

AlternateStack::~AlternateStack()
{
    // Who has put another in its place, or none, as the sanitizers do when a thread ends, may have freed it.
    if (!m_mapping || currentStack().ss_sp != m_own.ss_sp)
        return;
    ::sigaltstack(&m_former, nullptr);
    ::munmap(m_mapping, pageSize() + m_own.ss_size);
}
