#include "Platform/Foundation/Plugin.h"

#include "Platform/Foundation/NSFileManager.h"

#include <dlfcn.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

QByteArray pluginFolder()
{
    Dl_info library{};
    if (::dladdr(reinterpret_cast<const void *>(&resolveInPlugin), &library) == 0 || !library.dli_fname)
        return {};
    const QByteArray path(library.dli_fname);
    return path.left(path.lastIndexOf('/') + 1) + "marblewick/";
}

QFunctionPointer resolveInPlugin(const char *plugin, const char *function, QString *reason)
{
    // dlopen, not QLibrary: it takes the folder's bytes as they are. A plugin stays loaded for good.
    const QByteArray path = pluginFolder() + plugin + ".so";
    void *const library = ::dlopen(path.constData(), RTLD_NOW | RTLD_LOCAL);
    void *const address = library ? ::dlsym(library, function) : nullptr;
    if (!address && reason) {
        const char *text = ::dlerror();
        *reason = u"The plugin %1 could not be loaded: %2"_s.arg(
            QString::fromUtf8(path), QString::fromLocal8Bit(text ? text : "unknown reason"));
    }
    return reinterpret_cast<QFunctionPointer>(address);
}

} // namespace Marblewick
