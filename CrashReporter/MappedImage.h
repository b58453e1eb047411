#pragma once

#include <limits.h>

#include <cstdint>
#include <string_view>

/*! The file that an address of this process was loaded from, as the kernel lists it. Where there is none, all
   of memory, without a path. Allocates nothing and takes no lock, as asking the loader would.
*/
struct MappedImage
{
    explicit MappedImage(std::uint64_t address);

    std::string_view name() const;

    std::uint64_t base = 0;
    std::uint64_t size = 0; ///< bytes
    char path[PATH_MAX] = {};
};
