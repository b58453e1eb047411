#include "Platform/IOKit/PermanentAddress.h"

#include <QScopeGuard>

#include <array>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Marblewick {

QByteArray permanentAddress(const QByteArray &interface)
{
    ifreq request = {};
    if (interface.size() >= IFNAMSIZ)
        return {};
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return {};
    const auto closing = qScopeGuard([socket] { ::close(socket); });

    // The address follows its header.
    constexpr uint32_t longest = 32;
    alignas(ethtool_perm_addr) std::array<char, sizeof(ethtool_perm_addr) + longest> buffer = {};
    ethtool_perm_addr header = {ETHTOOL_GPERMADDR, longest};
    std::memcpy(buffer.data(), &header, sizeof header);
    std::memcpy(request.ifr_name, interface.constData(), static_cast<size_t>(interface.size()));
    request.ifr_data = buffer.data();
    if (::ioctl(socket, SIOCETHTOOL, &request) != 0)
        return {};
    std::memcpy(&header, buffer.data(), sizeof header);
    const QByteArray address(buffer.data() + sizeof header, qMin(header.size, longest));
    // All zeros say that there is none.
    return address.count('\0') == address.size() ? QByteArray() : address;
}

} // namespace Marblewick
