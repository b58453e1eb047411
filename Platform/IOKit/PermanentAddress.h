#pragma once

#include <QByteArray>

namespace Marblewick {

/*! The address that a network interface of this system was made with, whatever it was given since, as
    `ethtool -P` prints it: six bytes for Ethernet. Empty where there is no such interface, it has none (its
    driver made one up), or the system does not tell. Needs no privilege.
*/
QByteArray permanentAddress(const QByteArray &interface);

} // namespace Marblewick
