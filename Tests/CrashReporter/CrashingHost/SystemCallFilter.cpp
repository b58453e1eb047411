#include "Tests/CrashReporter/CrashingHost/SystemCallFilter.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

static void filterSystemCall(int number, unsigned action)
{
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, 1),
        BPF_STMT(BPF_RET | BPF_K, action),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = {.len = 4, .filter = program};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
        || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) != 0)
        std::_Exit(EXIT_FAILURE);
}

void trapSystemCall(int number) { filterSystemCall(number, SECCOMP_RET_TRAP); }

void refuseSystemCall(int number) { filterSystemCall(number, SECCOMP_RET_ERRNO | EPERM); }
