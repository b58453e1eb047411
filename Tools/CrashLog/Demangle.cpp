#include "Tools/CrashLog/Demangle.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

std::string demangled(std::string_view symbol)
{
    constexpr std::size_t maximumSymbol = 4096;
    constexpr std::size_t maximumName = 2048;
    const std::string name(symbol.substr(0, symbol.find('@'))); // A version may follow.
    if (!name.starts_with("_Z") || name.size() > maximumSymbol)
        return name.substr(0, maximumName);
    int status = 0;
    const std::unique_ptr<char, void (*)(void *)> readable(
        abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), std::free);
    return std::string(readable ? readable.get() : name).substr(0, maximumName);
}
