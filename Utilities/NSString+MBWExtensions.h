#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>

#include <optional>

/*! Facts about the machine and the user, as text. */
namespace MBWExtensions {

/*! The hardware address of the machine's primary Ethernet interface, "02:1b:0c:9f:4e:05"; GetMACAddress()
   says which one that is. Nil where there is none; the process log then says so. Any thread.
*/
MARBLEWICK_CORE_EXPORT std::optional<QString> macAddressString();

/*! The user's default password: the login name followed by the count of its UTF-16 code units, "user4". It is
    made anew by each call and kept nowhere. It is a default, not a secret: everybody can work it out.
    Any thread.
*/
MARBLEWICK_CORE_EXPORT QString userPassword();

} // namespace MBWExtensions
