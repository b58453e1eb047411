// Runs the command that follows the first argument, which then finds, as in a sandbox, that it must not
// observe another process: with "ptrace" it cannot stop threads, with "memory" it cannot use
// process_vm_readv() either.

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr sock_filter skipUnlessEqual(unsigned value) { return {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, value}; }

constexpr sock_filter result(unsigned value) { return {BPF_RET | BPF_K, 0, 0, value}; }

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return EXIT_FAILURE;
    const bool refusesMemory = std::string_view(argv[1]) == "memory";
    constexpr unsigned refused = SECCOMP_RET_ERRNO | EPERM;
    sock_filter rules[] = {
        {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
        skipUnlessEqual(SYS_ptrace),
        result(refused),
        skipUnlessEqual(SYS_process_vm_readv),
        result(refusesMemory ? refused : SECCOMP_RET_ALLOW),
        result(SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(std::size(rules)), rules};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
        || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        return EXIT_FAILURE;
    ::execv(argv[2], argv + 2);
    return EXIT_FAILURE;
}
