#pragma once

#include "Tools/CrashLog/MemoryMap.h"

#include <elfutils/libdwfl.h>

#include <memory>
#include <string>
#include <vector>

/*! What elfutils knows of the images of a process. It reads their files, and what their makers offer for
    debugging where that is installed, when it needs them.
*/
class ELFImages
{
public:
    ELFImages(pid_t process, const std::vector<Image> &images);

    /*! Null where elfutils failed. */
    Dwfl *handle() const { return m_handle.get(); }

    /*! Number of the build that made the image at an address, in hexadecimal; empty where it has none. */
    std::string buildID(std::uint64_t address) const;

private:
    const std::unique_ptr<Dwfl, void (*)(Dwfl *)> m_handle;
};
