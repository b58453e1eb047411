#include "Platform/ExceptionHandling/ThrowRecord.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>

namespace Marblewick {

namespace {

/*! The place of one throw in the record; whoever finds it busy goes on without it. */
struct Place
{
    std::atomic_flag isBusy;
    const void *exception = nullptr;
    StackTrace stack;
};

/*! A prime number, because allocators put objects at multiples of powers of two. */
constexpr std::size_t placeCount = 61;
std::array<Place, placeCount> places;

constinit std::atomic<bool> enabled = false;

/*! Of the exceptions that exist at a time, each has its own place, most likely. */
Place &placeOf(const void *exception)
{
    constexpr std::size_t alignment = alignof(std::max_align_t);
    return places[reinterpret_cast<std::size_t>(exception) / alignment % placeCount];
}

void record(const void *exception, const void *returnAddress)
{
    const StackTrace stack(returnAddress);
    Place &place = placeOf(exception);
    if (place.isBusy.test_and_set(std::memory_order_acquire))
        return;
    place.exception = exception;
    place.stack = stack;
    place.isBusy.clear(std::memory_order_release);
}

/*! The runtime's function, or a sanitizer's that stands between. */
auto nextThrow()
{
    static const auto next = reinterpret_cast<decltype(&abi::__cxa_throw)>(::dlsym(RTLD_NEXT, "__cxa_throw"));
    return next;
}

} // namespace

void ThrowRecord::setEnabled(bool isEnabled)
{
    if (isEnabled)
        const StackTrace first(nullptr); // The first one loads what unwinding takes.
    enabled = isEnabled;
}

bool ThrowRecord::isEnabled() { return enabled; }

StackTrace ThrowRecord::stackOfThrow(const std::exception_ptr &exception)
{
    const void *object = nullptr; // It is all that the pointer has.
    static_assert(sizeof exception == sizeof object);
    std::memcpy(&object, static_cast<const void *>(&exception), sizeof object);
    Place &place = placeOf(object);
    if (place.isBusy.test_and_set(std::memory_order_acquire))
        return {};
    const StackTrace stack = place.exception == object ? place.stack : StackTrace();
    place.isBusy.clear(std::memory_order_release);
    return stack;
}

} // namespace Marblewick

void abi::__cxa_throw(void *exception, std::type_info *type, void (*destructor)(void *))
{
    if (Marblewick::enabled.load(std::memory_order_relaxed))
        Marblewick::record(exception, __builtin_return_address(0));
    Marblewick::nextThrow()(exception, type, destructor);
    std::abort(); // It does not return, which its pointer does not tell.
}
