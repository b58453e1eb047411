#include "Tools/CrashLog/DWARFScopes.h"

#include <dwarf.h>

#include <algorithm>

// dwarf_getscopes() would do, if it found the functions of local classes, which lambdas are.

namespace {

/*! Deeper than compilers nest; a damaged file may lead in circles. */
constexpr int maximumDepth = 256;

/*! Calls back with each child until one call returns true, which is then the result. */
template <typename Callback>
bool anyChild(Dwarf_Die *parent, const Callback &callback)
{
    Dwarf_Die child;
    if (dwarf_child(parent, &child) != 0)
        return false;
    do {
        if (callback(&child))
            return true;
    } while (dwarf_siblingof(&child, &child) == 0);
    return false;
}

bool hasCode(int tag)
{
    return tag == DW_TAG_subprogram || tag == DW_TAG_inlined_subroutine || tag == DW_TAG_lexical_block;
}

bool canHoldFunctions(int tag)
{
    return hasCode(tag) || tag == DW_TAG_namespace || tag == DW_TAG_structure_type || tag == DW_TAG_class_type
           || tag == DW_TAG_union_type;
}

/*! Appends the functions of the address that a scope with that address holds, outermost first. */
void appendInner(Dwarf_Die *scope, Dwarf_Addr address, int depth, std::vector<Dwarf_Die> *functions)
{
    if (depth > maximumDepth)
        return;
    anyChild(scope, [&](Dwarf_Die *child) {
        if (!hasCode(dwarf_tag(child)) || dwarf_haspc(child, address) <= 0)
            return false;
        if (dwarf_tag(child) != DW_TAG_lexical_block)
            functions->push_back(*child);
        appendInner(child, address, depth + 1, functions);
        return true;
    });
}

/*! The same where the function with the address is somewhere below a scope without it. */
bool appendBelow(Dwarf_Die *scope, Dwarf_Addr address, int depth, std::vector<Dwarf_Die> *functions)
{
    if (depth > maximumDepth)
        return false;
    appendInner(scope, address, depth, functions);
    return !functions->empty() || anyChild(scope, [&](Dwarf_Die *child) {
        return canHoldFunctions(dwarf_tag(child)) && appendBelow(child, address, depth + 1, functions);
    });
}

} // namespace

std::vector<Dwarf_Die> functionsAt(Dwarf_Die *unit, Dwarf_Addr address)
{
    std::vector<Dwarf_Die> functions;
    appendBelow(unit, address, 0, &functions);
    std::ranges::reverse(functions);
    return functions;
}
