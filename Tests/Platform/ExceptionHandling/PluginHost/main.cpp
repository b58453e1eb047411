// A host that is not linked with Core, but loads a plugin that is. The C++ runtime was there before, and is
// bound to functions of its own. Where the host is linked with it, so is the plugin; where the host has only
// loaded it, the plugin is bound to the functions of Core.

#include <cstdio>
#include <dlfcn.h>

int main()
{
    ::dlopen("libstdc++.so.6", RTLD_NOW);
    void *const plugin = ::dlopen(PLUGIN, RTLD_NOW);
    if (!plugin)
        return 2;
    const auto recordThrows = reinterpret_cast<bool (*)()>(::dlsym(plugin, "recordThrows"));
    const auto throwNumber = reinterpret_cast<void (*)()>(::dlsym(plugin, "throwNumber"));
    std::puts(recordThrows() ? "recorded" : "not recorded");
    throwNumber();
    return 0;
}
