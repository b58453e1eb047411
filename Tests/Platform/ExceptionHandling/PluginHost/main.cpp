// A host that does not know the C++ runtime, but has loaded it for something else before it loads a plugin
// that uses Core. The runtime is then bound to functions of its own, and the plugin to those of Core.

#include <cstdio>
#include <dlfcn.h>

int main()
{
    ::dlopen("libstdc++.so.6", RTLD_NOW);
    void *const plugin = ::dlopen(PLUGIN, RTLD_NOW);
    if (!plugin)
        return 2;
    const auto recordThrows = reinterpret_cast<bool (*)()>(::dlsym(plugin, "recordThrows"));
    std::puts(recordThrows() ? "recorded" : "not recorded");
    return 0;
}
