#pragma once

#include <QByteArray>

#include <functional>
#include <optional>

namespace Marblewick {

/*! The length of the part of a path that is the folder in which the documents portal shows documents; 0 where
   the path is not that of the folder itself, of a document, or of what is in one. Paths that get there by
   ".." or by a link of somebody's are not recognized. Any thread.
*/
qsizetype documentsFolderLength(const QByteArray &path);

/*! The path of the same document where the portal shows it now, which is another place for another user
 * number.
 */
QByteArray currentDocumentPath(const QByteArray &path, qsizetype documentsFolderLength);

/*! Asks the documents portal something about a document, by a system call on its path: the portal shows
    documents as a file system, which answers for what the application was granted and in which mode. (Over
    the bus it tells a sandboxed application neither.)

    `question` runs on a thread of its own, and must hold what it needs, because a portal that hangs never
    lets it return. Nil where there is no answer: the portal's file system is not at `documentsFolder`, or
    the portal takes longer than half a second. After the latter it is not asked again in this process. Main
    thread.
*/
std::optional<int> answerOfDocumentsPortal(const QByteArray &documentsFolder, std::function<int()> question);

} // namespace Marblewick
