#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace Marblewick {

/*! The Flatpak sandbox that this process runs in. Any thread. */
struct FlatpakSandbox
{
    /*! The name of the sandboxed application, such as "org.example.Map". */
    QString applicationIdentifier;

    /*! The sandbox; null where the process is in none. */
    static const FlatpakSandbox *current();
    /*! What the text of the file `/.flatpak-info` says; nil where it names no application. */
    static std::optional<FlatpakSandbox> fromInfo(const QByteArray &info);
};

} // namespace Marblewick
