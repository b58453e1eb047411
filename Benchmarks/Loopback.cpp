#include "Benchmarks/Loopback.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <sys/socket.h>

int listenOnLoopback(quint16 *port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&address), length) != 0 || ::listen(listener, 8) != 0
        || ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length) != 0)
        std::abort();
    *port = ntohs(address.sin_port);
    return listener;
}
