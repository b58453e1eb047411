#include "Tools/CrashLog/ELFImages.h"

namespace {

/*! Elfutils reads an image from the process's memory where it has the name that it gives to the kernel's own.
 */
std::string moduleName(pid_t process, const Image &image)
{
    const bool hasNoFile = image.path == "[vdso]" || image.path.ends_with(" (deleted)");
    return hasNoFile ? "[vdso: " + std::to_string(process) + ']' : image.path;
}

} // namespace

ELFImages::ELFImages(pid_t process, const std::vector<Image> &images)
    : m_handle(
        [] {
            // The standard way to debugging information loads a client that asks servers for it.
            static constexpr Dwfl_Callbacks callbacks{.find_elf = dwfl_linux_proc_find_elf,
                                                      .find_debuginfo = dwfl_build_id_find_debuginfo,
                                                      .section_address = nullptr,
                                                      .debuginfo_path = nullptr};
            return dwfl_begin(&callbacks);
        }(),
        dwfl_end)
{
    if (!handle())
        return;
    dwfl_report_begin(handle());
    for (const Image &image : images)
        dwfl_report_module(handle(), moduleName(process, image).c_str(), image.start, image.end);
    dwfl_report_end(handle(), nullptr, nullptr);
}

std::string ELFImages::buildID(std::uint64_t address) const
{
    Dwfl_Module *const module = handle() ? dwfl_addrmodule(handle(), address) : nullptr;
    GElf_Addr bias = 0;
    if (!module || !dwfl_module_getelf(module, &bias)) // which opens the file
        return {};
    const unsigned char *bytes = nullptr;
    GElf_Addr where = 0;
    const int count = dwfl_module_build_id(module, &bytes, &where);
    std::string text;
    for (int i = 0; i < count; ++i) {
        constexpr char digits[] = "0123456789abcdef";
        text += {digits[bytes[i] >> 4], digits[bytes[i] & 15]};
    }
    return text;
}
