#include "Tests/Platform/Foundation/HangingNameLookup.h"

#include <cstring>
#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

/*! Stands in front of the C library's function, as no name server can be made to fall silent here. */
extern "C" [[gnu::visibility("default")]] int getaddrinfo(const char *node, const char *service,
                                                          const addrinfo *hints, addrinfo **result)
{
    if (node && std::strcmp(node, hostWhoseLookupHangs) == 0) {
        (void)!::write(STDOUT_FILENO, nameLookupHangs, std::strlen(nameLookupHangs));
        for (;;)
            ::pause();
    }
    using Function = decltype(&getaddrinfo);
    static const auto original = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return original(node, service, hints, result);
}
