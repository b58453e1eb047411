#pragma once

#include <elfutils/libdw.h>

#include <vector>

/*! The functions whose code is at an address of a compilation unit, innermost first: inlined ones, and last
   the one that they are inlined into. Empty where none is known there.
*/
std::vector<Dwarf_Die> functionsAt(Dwarf_Die *unit, Dwarf_Addr address);
