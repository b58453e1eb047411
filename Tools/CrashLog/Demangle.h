#pragma once

#include <string>
#include <string_view>

/*! The name of a function as it is written in C++, up to 2,048 bytes of it; the symbol itself where it is
   none of C++'s or is absurdly long.
*/
std::string demangled(std::string_view symbol);
