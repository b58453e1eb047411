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

/*! The length of the part of a path that is a folder in which the documents portal shows documents; 0 where
   the path is not that of a document or of what is in one, or the process is in no sandbox.
*/
qsizetype documentsFolderLength(const QByteArray &path);

/*! The path of the same document where the portal shows it now. */
QByteArray currentDocumentPath(const QByteArray &path, qsizetype documentsFolderLength);

/*! The errno value that proves an item missing, symbolic links followed. 0 where it is there, or might be but
   is hidden by the sandbox or by the rights of a folder. Any thread.
*/
int provenAbsence(const QByteArray &path);

} // namespace Marblewick
