#include "CrashReporter/TerminateHandler.h"

#include "CrashReporter/UncaughtException.h"

#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <memory>
#include <typeinfo>

namespace {

constinit std::terminate_handler formerHandler = nullptr;

void tellType()
{
    const std::type_info *const type = abi::__cxa_current_exception_type();
    if (!type)
        return;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr), &std::free);
    uncaughtException.setType(demangled ? demangled.get() : type->name());
}

void tellText()
{
    const std::exception_ptr exception = std::current_exception();
    if (!exception)
        return;
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception &known) {
        if (const char *const text = known.what())
            uncaughtException.setText(text);
    } catch (...) { // Of others the type alone is known.
    }
}

/*! The type is told before the text is asked for, because what() may crash, or throw, which comes here again.
 */
[[noreturn]] void terminate()
{
    if (uncaughtException.claim()) {
        tellType();
        tellText();
    }
    if (formerHandler)
        formerHandler();
    std::abort();
}

} // namespace

void installTerminateHandler() { formerHandler = std::set_terminate(&terminate); }
