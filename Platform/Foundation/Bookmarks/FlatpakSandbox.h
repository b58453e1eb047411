#pragma once

#include <QString>

namespace Marblewick {

/*! The Flatpak sandbox that this process runs in. Any thread. */
struct FlatpakSandbox
{
    /*! The name of the sandboxed application, such as "org.example.Map"; empty where the sandbox does not
     * say. */
    QString applicationIdentifier;

    /*! The sandbox; null where the process is in none. */
    static const FlatpakSandbox *current();
};

} // namespace Marblewick
