#include "Platform/ExceptionHandling/StackTrace.h"

#include <QStringList>

#include <algorithm>
#include <dlfcn.h>
#include <execinfo.h>
#include <string_view>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

bool isOfRuntime(const void *returnAddress)
{
    Dl_info place = {};
    const void *const call = static_cast<const char *>(returnAddress) - 1; // It need not return.
    if (::dladdr(call, &place) == 0 || !place.dli_fname)
        return false;
    if (place.dli_sname && std::string_view(place.dli_sname) == "__cxa_throw")
        return true; // also the one that stands in front of the runtime's
    std::string_view file = place.dli_fname;
    file.remove_prefix(file.rfind('/') + 1);
    constexpr std::array<std::string_view, 5> libraries = {"libstdc++.so", "libgcc_s.so", "libasan.so",
                                                           "libtsan.so", "libubsan.so"};
    return std::ranges::any_of(libraries, [&](std::string_view name) { return file.starts_with(name); });
}

} // namespace

StackTrace::StackTrace(const void *returnAddress)
    : m_count(static_cast<std::size_t>(::backtrace(m_addresses.data(), static_cast<int>(m_addresses.size()))))
{
    const auto caller = std::ranges::find(addresses(), returnAddress);
    if (caller != addresses().end())
        removeInnerFrames(static_cast<std::size_t>(caller - addresses().begin()));
}

void StackTrace::removeFramesInsideRuntime()
{
    const auto first = std::ranges::find_if(addresses(), &isOfRuntime);
    if (first != addresses().end())
        removeInnerFrames(static_cast<std::size_t>(first - addresses().begin()));
}

void StackTrace::removeInnerRuntimeFrames()
{
    const auto first = std::ranges::find_if_not(addresses(), &isOfRuntime);
    removeInnerFrames(static_cast<std::size_t>(first - addresses().begin()));
}

QString StackTrace::addressString() const
{
    QStringList words;
    for (const void *const address : addresses())
        words += u"0x"_s + QString::number(reinterpret_cast<quintptr>(address), 16);
    return words.join(u' ');
}

void StackTrace::removeInnerFrames(std::size_t count)
{
    std::shift_left(m_addresses.begin(), m_addresses.begin() + static_cast<std::ptrdiff_t>(m_count),
                    static_cast<std::ptrdiff_t>(count));
    m_count -= count;
}

} // namespace Marblewick
