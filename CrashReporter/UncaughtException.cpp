#include "CrashReporter/UncaughtException.h"

#include "CrashReporter/CrashRecord.h"
#include "CrashReporter/FixedText.h"

#include <atomic>
#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <memory>
#include <typeinfo>
#include <unistd.h>

namespace {

struct UncaughtException
{
    /*! The first thread that ended the process this way; 0 while none has. */
    std::atomic<pid_t> thread = 0;
    char type[sizeof CrashRecord::exceptionType] = {};
    char text[sizeof CrashRecord::exceptionText] = {};
};

constinit UncaughtException uncaught;
constinit std::terminate_handler formerHandler = nullptr;

void rememberType()
{
    const std::type_info *const type = abi::__cxa_current_exception_type();
    if (!type)
        return;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr), &std::free);
    FixedText(uncaught.type).append(demangled ? demangled.get() : type->name());
}

void rememberText()
{
    const std::exception_ptr exception = std::current_exception();
    if (!exception)
        return;
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception &known) {
        if (const char *const text = known.what())
            FixedText(uncaught.text).append(text);
    } catch (...) { // The type alone is known of it.
    }
}

/*! Not noexcept, and each text is remembered before the next is asked for: what() may throw, which comes here
    once more, or crash.
*/
[[noreturn]] void terminate()
{
    pid_t nobody = 0;
    if (uncaught.thread.compare_exchange_strong(nobody, ::gettid())) {
        rememberType();
        rememberText();
    }
    if (formerHandler)
        formerHandler();
    std::abort();
}

} // namespace

void rememberUncaughtExceptions() { formerHandler = std::set_terminate(&terminate); }

void addUncaughtException(CrashRecord &record)
{
    if (uncaught.thread.load() != record.thread)
        return;
    FixedText(record.exceptionType).append(uncaught.type);
    FixedText(record.exceptionText).append(uncaught.text);
}
