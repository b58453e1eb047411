#pragma once

#include <fcntl.h>
#include <unistd.h>

/*! The same open file under a number that is no standard stream's. A process that has closed those gives
   their numbers to the next files that are opened, and what it then prints would go there. -1, with the
   descriptor closed, where there is no number left. Allocates nothing and takes no lock.
*/
inline int aboveStandardStreams(int descriptor)
{
    if (descriptor < 0 || descriptor > STDERR_FILENO)
        return descriptor;
    const int other = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ::close(descriptor);
    return other;
}
