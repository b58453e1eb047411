#pragma once

#include <fcntl.h>
#include <unistd.h>

/*! Fills the numbers of standard streams that the process has closed while it lives, with a device that takes
    everything. They would otherwise go to the next files that are opened, and what other threads print would
    go into those. Allocates nothing and takes no lock.
*/
class FilledStandardStreams
{
public:
    FilledStandardStreams()
    {
        while (m_count < 3) {
            const int descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
            if (descriptor < 0)
                return;
            if (descriptor > STDERR_FILENO) {
                ::close(descriptor);
                return;
            }
            m_filled[m_count++] = descriptor;
        }
    }
    ~FilledStandardStreams()
    {
        while (m_count > 0)
            ::close(m_filled[--m_count]);
    }
    FilledStandardStreams(const FilledStandardStreams &) = delete;
    FilledStandardStreams &operator=(const FilledStandardStreams &) = delete;

private:
    int m_filled[3] = {};
    int m_count = 0;
};

/*! The same open file under a number that is no standard stream's, for where those could not be filled. -1,
    with the descriptor closed, where there is no number left. Allocates nothing and takes no lock.
*/
inline int aboveStandardStreams(int descriptor)
{
    if (descriptor < 0 || descriptor > STDERR_FILENO)
        return descriptor;
    const int other = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(descriptor);
    return other;
}
