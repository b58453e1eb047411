#include "Platform/ExceptionHandling/ThrowRecord.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>
#include <typeinfo>

namespace Marblewick {

namespace {

/*! The place of one throw in the record; whoever finds it busy goes on without it. */
struct Place
{
    std::atomic_flag isBusy; ///< while the stack is written or read
    std::atomic<const void *> exception = nullptr; ///< null where there is none
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
    place.exception = nullptr;
    place.stack = stack;
    place.exception = exception;
    place.isBusy.clear(std::memory_order_release);
}

/*! Not kept from it by a busy place: another exception may get the address as soon as this one is gone. */
void forget(const void *exception)
{
    const void *recorded = exception;
    placeOf(exception).exception.compare_exchange_strong(recorded, nullptr);
}

bool isRecorded(const void *exception) { return placeOf(exception).exception == exception; }

const void *objectOf(const std::exception_ptr &exception)
{
    const void *object = nullptr; // It is all that the pointer has.
    static_assert(sizeof exception == sizeof object);
    std::memcpy(&object, static_cast<const void *>(&exception), sizeof object);
    return object;
}

/*! Recorded at all times, and no other throw with it. */
struct Probe
{ };

/*! Whether a throw and the end of its exception both come by here. A process that has loaded this library as
    part of a plugin may show it none, or the throws alone; a record would then be taken for that of a later
    exception at the same address.
*/
bool seesThrowsAndEnds()
{
    const void *object = nullptr;
    bool seesThrows = false;
    try {
        throw Probe();
    } catch (const Probe &) {
        object = objectOf(std::current_exception());
        seesThrows = isRecorded(object);
    }
    const bool seesEnds = !isRecorded(object);
    forget(object);
    return seesThrows && seesEnds;
}

/*! Asked once, because two probes at a time could get the same address. */
bool isInFront()
{
    static const bool isInFront = seesThrowsAndEnds();
    return isInFront;
}

/*! The runtime's functions, or a sanitizer's that stand between. */
auto nextThrow()
{
    static const auto next = reinterpret_cast<decltype(&abi::__cxa_throw)>(::dlsym(RTLD_NEXT, "__cxa_throw"));
    return next;
}

auto nextFree()
{
    static const auto next = reinterpret_cast<decltype(&abi::__cxa_free_exception)>(
        ::dlsym(RTLD_NEXT, "__cxa_free_exception"));
    return next;
}

} // namespace

void ThrowRecord::setEnabled(bool isEnabled) { enabled = isEnabled && isInFront(); }

bool ThrowRecord::isEnabled() { return enabled; }

StackTrace ThrowRecord::stackOfThrow(const std::exception_ptr &exception)
{
    const void *const object = objectOf(exception);
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
    if (Marblewick::enabled.load(std::memory_order_relaxed) || type == &typeid(Marblewick::Probe))
        Marblewick::record(exception, __builtin_return_address(0));
    Marblewick::nextThrow()(exception, type, destructor);
    std::abort(); // It does not return, which its pointer does not tell.
}

void abi::__cxa_free_exception(void *exception) noexcept
{
    Marblewick::forget(exception);
    Marblewick::nextFree()(exception);
}
