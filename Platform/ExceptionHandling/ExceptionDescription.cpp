#include "Platform/ExceptionHandling/ExceptionDescription.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#include <typeinfo>

namespace Marblewick {

std::string typeNameOfException(const std::exception_ptr &exception)
{
    const char *const name = exception.__cxa_exception_type()->name();
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(name, nullptr, nullptr, nullptr), &std::free);
    return demangled ? demangled.get() : name;
}

std::optional<std::string> textOfException(const std::exception_ptr &exception)
{
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception &known) {
        if (const char *const text = known.what())
            return text;
    } catch (...) { // Of others the type alone is known.
    }
    return std::nullopt;
}

} // namespace Marblewick
