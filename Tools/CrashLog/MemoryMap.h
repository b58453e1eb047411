#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

/*! A piece of a process's address space. */
struct Region
{
    std::uint64_t start = 0;
    std::uint64_t end = 0; ///< the first address behind it
    std::uint64_t fileOffset = 0;
    std::string permissions; ///< such as "r-xp"
    std::string path; ///< of the file, or the kernel's name for it, such as "[stack]"; empty for neither

    bool isExecutable() const { return permissions.size() > 2 && permissions[2] == 'x'; }
};

/*! A file that holds code, where it was loaded. */
struct Image
{
    std::uint64_t start = 0;
    std::uint64_t end = 0;
    std::string path; ///< with " (deleted)" behind it where the file is gone
};

/*! The regions of a process, by address; none where the system refuses. */
std::vector<Region> regionsOfProcess(pid_t process);

/*! The images in them, by address, up to 4,096. */
std::vector<Image> imagesInRegions(const std::vector<Region> &regions);

/*! The region that holds an address, or null. */
const Region *regionAt(const std::vector<Region> &regions, std::uint64_t address);
/*! The image that holds an address, or null. */
const Image *imageAt(const std::vector<Image> &images, std::uint64_t address);
