#include "Tools/CrashLog/Symbols.h"

#include "Tools/CrashLog/DWARFScopes.h"
#include "Tools/CrashLog/Demangle.h"

#include <dwarf.h>
#include <elfutils/libdw.h>

#include <cstdlib>
#include <memory>

namespace {

std::string baseName(const char *path)
{
    const std::string name = path ? path : "";
    return name.substr(name.rfind('/') + 1);
}

/*! Where a function was declared, which is inside the class or namespace that it belongs to. */
Dwarf_Die declarationOf(Dwarf_Die function)
{
    for (const unsigned reference : {DW_AT_abstract_origin, DW_AT_specification}) {
        Dwarf_Attribute attribute;
        dwarf_formref_die(dwarf_attr(&function, reference, &attribute), &function);
    }
    return function;
}

std::string nameOfScope(Dwarf_Die *scope)
{
    if (const char *const name = dwarf_diename(scope))
        return name;
    return dwarf_tag(scope) == DW_TAG_namespace ? "(anonymous namespace)" : "{lambda}";
}

std::string functionName(Dwarf_Die *function)
{
    Dwarf_Attribute attribute;
    const char *const symbol = dwarf_formstring(
        dwarf_attr_integrate(function, DW_AT_linkage_name, &attribute));
    if (symbol)
        return demangled(symbol);

    // A function that other files do not see has no linkage name.
    const char *const ownName = dwarf_diename(function);
    std::string name = ownName ? ownName : "";
    Dwarf_Die declaration = declarationOf(*function);
    Dwarf_Die *scopes = nullptr;
    const int count = dwarf_getscopes_die(&declaration, &scopes);
    const std::unique_ptr<Dwarf_Die, void (*)(void *)> owner(scopes, std::free);
    for (int i = 1; i < count; ++i) {
        const int tag = dwarf_tag(&scopes[i]);
        if (tag == DW_TAG_subprogram)
            return functionName(&scopes[i]) + "::" + name;
        if (tag == DW_TAG_namespace || tag == DW_TAG_structure_type || tag == DW_TAG_class_type)
            name.insert(0, nameOfScope(&scopes[i]) + "::");
    }
    return name;
}

struct Place
{
    std::string file;
    int line = 0;
};

Place placeOfAddress(Dwarf_Die *unit, Dwarf_Addr address)
{
    Dwarf_Line *const found = dwarf_getsrc_die(unit, address);
    int line = 0;
    if (!found || dwarf_lineno(found, &line) != 0 || line <= 0)
        return {};
    return {baseName(dwarf_linesrc(found, nullptr, nullptr)), line};
}

/*! Where an inlined function would have been called. */
Place placeOfCall(Dwarf_Die *unit, Dwarf_Die *inlined)
{
    Dwarf_Attribute attribute;
    Dwarf_Word file = 0;
    Dwarf_Word line = 0;
    Dwarf_Files *files = nullptr;
    if (dwarf_formudata(dwarf_attr(inlined, DW_AT_call_file, &attribute), &file) != 0
        || dwarf_formudata(dwarf_attr(inlined, DW_AT_call_line, &attribute), &line) != 0
        || dwarf_getsrcfiles(unit, &files, nullptr) != 0)
        return {};
    return {baseName(dwarf_filesrc(files, file, nullptr, nullptr)), static_cast<int>(line)};
}

/*! From debugging information; one without a name where that tells of no function there. */
std::vector<SourceFrame> framesOfUnit(Dwarf_Die *unit, std::uint64_t address, Dwarf_Addr bias)
{
    std::vector<SourceFrame> frames;
    Place place = placeOfAddress(unit, address - bias);
    for (Dwarf_Die &function : functionsAt(unit, address - bias)) {
        Dwarf_Addr start = 0;
        const bool hasStart = dwarf_entrypc(&function, &start) == 0;
        const bool isInlined = dwarf_tag(&function) == DW_TAG_inlined_subroutine;
        frames.push_back(
            {functionName(&function), hasStart ? start + bias : 0, place.file, place.line, isInlined});
        if (isInlined)
            place = placeOfCall(unit, &function);
    }
    if (frames.empty()) // Assemblers tell lines only.
        frames.push_back({{}, 0, place.file, place.line, false});
    return frames;
}

} // namespace

const std::vector<SourceFrame> &Symbols::at(std::uint64_t address)
{
    auto found = m_found.find(address);
    if (found == m_found.end())
        found = m_found.emplace(address, find(address)).first;
    return found->second;
}

std::vector<SourceFrame> Symbols::find(std::uint64_t address) const
{
    Dwfl_Module *const module = dwfl_addrmodule(m_images, address);
    if (!module || isTooLate())
        return {SourceFrame()};
    Dwarf_Addr bias = 0;
    Dwarf_Die *const unit = unitAt(module, address, &bias);
    auto frames = unit ? framesOfUnit(unit, address, bias) : std::vector<SourceFrame>(1);

    // The linker knows the parts of a function that the compiler has split off.
    GElf_Off offset = 0;
    GElf_Sym symbol;
    if (const char *const name = dwfl_module_addrinfo(module, address, &offset, &symbol, nullptr, nullptr,
                                                      nullptr)) {
        frames.back().symbol = demangled(name);
        frames.back().symbolStart = address - offset;
    }
    return frames;
}

Dwarf_Die *Symbols::unitAt(Dwfl_Module *module, std::uint64_t address, Dwarf_Addr *bias) const
{
    if (Dwarf_Die *const unit = dwfl_module_addrdie(module, address, bias))
        return unit;
    // Some compilers leave no index of addresses.
    for (Dwarf_Die *unit = nullptr; (unit = dwfl_module_nextcu(module, unit, bias)) && !isTooLate();) {
        if (dwarf_haspc(unit, address - *bias) > 0)
            return unit;
    }
    return nullptr;
}
