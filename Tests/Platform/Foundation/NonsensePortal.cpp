#include "Tests/Support/MountNamespace.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/fuse.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

void require(bool condition, const char *what)
{
    if (!condition) {
        std::perror(what);
        std::exit(1);
    }
}

/*! Shows a file system of this process's at a folder; the descriptor of its requests. */
int show(const char *folder)
{
    const int requests = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    require(requests >= 0, "/dev/fuse");
    const std::string options = "fd=" + std::to_string(requests) + ",rootmode=40000,user_id="
                                + std::to_string(::getuid()) + ",group_id=" + std::to_string(::getgid());
    require(::mount("nonsense", folder, "fuse.portal", MS_NOSUID | MS_NODEV, options.c_str()) == 0, "mount");
    return requests;
}

enum class Answer { Nonsense, Missing, None };

Answer answerNamed(const std::string &name)
{
    if (name == "nonsense")
        return Answer::Nonsense;
    require(name == "missing" || name == "none", "the kind of answer");
    return name == "missing" ? Answer::Missing : Answer::None;
}

template <typename Contents>
void reply(int requests, const fuse_in_header &request, const Contents &contents)
{
    struct
    {
        fuse_out_header head;
        Contents contents;
    } message{{sizeof message, 0, request.unique}, contents};
    // The kernel says what it thinks of the nonsense.
    [[maybe_unused]] const ssize_t written = ::write(requests, &message, sizeof message);
}

void replyMissing(int requests, const fuse_in_header &request)
{
    const fuse_out_header head{sizeof head, -ENOENT, request.unique};
    require(::write(requests, &head, sizeof head) == sizeof head, "reply");
}

/*! Answers that it is there and a folder, and everything else as it is told; the log gets a byte for each of
   the latter.
*/
void serve(int requests, Answer answer, std::ofstream log)
{
    static std::array<char, FUSE_MIN_READ_BUFFER + 131'072> buffer;
    while (::read(requests, buffer.data(), buffer.size()) > 0) {
        fuse_in_header request = {};
        std::memcpy(&request, buffer.data(), sizeof request);
        if (request.opcode == FUSE_INIT) {
            fuse_init_out version = {};
            version.major = FUSE_KERNEL_VERSION;
            version.minor = FUSE_KERNEL_MINOR_VERSION;
            version.max_write = 4096;
            reply(requests, request, version);
        } else if (request.opcode == FUSE_GETATTR && request.nodeid == FUSE_ROOT_ID) {
            fuse_attr_out root = {};
            root.attr.ino = FUSE_ROOT_ID;
            root.attr.mode = S_IFDIR | 0700;
            root.attr.nlink = 2;
            root.attr.uid = ::getuid();
            root.attr.gid = ::getgid();
            reply(requests, request, root);
        } else if (request.opcode != FUSE_FORGET && request.opcode != FUSE_BATCH_FORGET
                   && request.opcode != FUSE_INTERRUPT) {
            log << '.' << std::flush;
            std::array<char, sizeof(fuse_entry_out)> nonsense;
            nonsense.fill('\xa5');
            if (answer == Answer::Nonsense)
                reply(requests, request, nonsense);
            else if (answer == Answer::Missing)
                replyMissing(requests, request);
        }
    }
}

} // namespace

/*! NonsensePortal ANSWER LOG FOLDER COMMAND [ARGUMENT…] runs a command that sees, at a folder, a file system
   of this program's. It answers with nonsense ("nonsense"), that nothing is there ("missing"), or reads what
   it is asked and never answers ("none"). The log is a file that gets a byte for each such answer.
*/
int main(int argc, char **argv)
{
    require(argc > 4, "arguments");
    require(enterMountNamespace(), "mount namespace");
    const Answer answer = answerNamed(argv[1]);
    const int requests = show(argv[3]);
    std::thread(serve, requests, answer, std::ofstream(argv[2])).detach();
    const pid_t command = ::fork();
    if (command == 0) {
        ::execvp(argv[4], argv + 4);
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(command, &status, 0);
    ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1); // The thread is still in its read.
}
