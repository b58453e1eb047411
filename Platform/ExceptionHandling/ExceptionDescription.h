#pragma once

#include <exception>
#include <optional>
#include <string>

namespace Marblewick {

/*! The demangled name of an exception's type, such as `std::runtime_error`. */
std::string typeNameOfException(const std::exception_ptr &exception);

/*! What an exception says of itself; nil for one whose type does not come from std::exception. It runs code
   of the exception's own, what(), which may do anything.
*/
std::optional<std::string> textOfException(const std::exception_ptr &exception);

} // namespace Marblewick
