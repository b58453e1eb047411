#pragma once

#include <elfutils/libdwfl.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/*! A function, as its maker wrote it. */
struct SourceFrame
{
    std::string symbol; ///< without mangling; empty where unknown
    std::uint64_t symbolStart = 0; ///< 0 where unknown
    std::string file; ///< name without folder; empty where unknown
    int line = 0;
    bool isInlined = false; ///< whether its code is inside that of the frame behind it
};

/*! Names the code of a process. */
class Symbols
{
public:
    /*! `images` must outlive it. After the deadline nothing has a name any more. */
    Symbols(Dwfl *images, std::chrono::steady_clock::time_point deadline)
        : m_images(images)
        , m_deadline(deadline)
    { }

    /*! The functions whose code is at an address, innermost first: any that are inlined, and the one that was
        called. At least one.
    */
    const std::vector<SourceFrame> &at(std::uint64_t address);

private:
    bool isTooLate() const { return std::chrono::steady_clock::now() > m_deadline; }
    std::vector<SourceFrame> find(std::uint64_t address) const;
    Dwarf_Die *unitAt(Dwfl_Module *module, std::uint64_t address, Dwarf_Addr *bias) const;

    Dwfl *const m_images;
    const std::chrono::steady_clock::time_point m_deadline;
    std::unordered_map<std::uint64_t, std::vector<SourceFrame>> m_found; ///< by address
};
