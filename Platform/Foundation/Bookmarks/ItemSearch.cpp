#include "Platform/Foundation/Bookmarks/ItemSearch.h"

#include "Platform/Foundation/Bookmarks/FilePath.h"
#include "Platform/Foundation/Bookmarks/FolderListing.h"

#include <cerrno>
#include <sys/stat.h>

namespace Marblewick {

namespace {

/*! The path of a bookmarked item in the home folder as it is now. */
QByteArray pathInHome(const Bookmark &bookmark, const QByteArray &homeFolder)
{
    if (bookmark.base != Bookmark::Base::Home)
        return {};
    const QByteArray below = bookmark.path.mid(bookmark.baseLength);
    const QByteArray path = homeFolder == "/" && !below.isEmpty() ? below : homeFolder + below;
    return path == bookmark.path ? QByteArray() : path;
}

/*! Whether programs save such an item by putting a new one in its place. They do that with files, and with
    packages, which are folders whose names have an extension. A folder without one is looked for under other
    names first.
*/
bool isSavedByReplacement(quint32 kind, const QByteArray &path)
{
    return kind != S_IFDIR || path.lastIndexOf('.') > path.lastIndexOf('/') + 1;
}

} // namespace

ItemSearch::ItemSearch(const Bookmark &bookmark, const QByteArray &homeFolder)
    : m_bookmark(bookmark)
    , m_pathInHome(pathInHome(bookmark, homeFolder))
{ }

/*! What the system answered, after it was noted whether it answered at all. */
template <typename Answer>
Answer ItemSearch::noted(Answer answer)
{
    m_isAnythingUnknown = m_isAnythingUnknown || (!answer && !isProofOfAbsence(errno));
    return answer;
}

/*! Where in the bookmarked folder, which is the one that `place` is in, the item is now. Empty where it is
   not there.
*/
QByteArray ItemSearch::pathInFolder(const QByteArray &place, bool isFolderProven)
{
    const QByteArray folder = folderOfItem(place);
    const auto folderNow = noted(identityOfFolder(folder));
    if (!folderNow || !folderNow->mayBe(*m_bookmark.folder)
        || (isFolderProven && !folderNow->isCertainly(*m_bookmark.folder)))
        return {};
    const auto successor = noted(identityOfItem(place));
    const bool hasSuccessor = successor && successor->kind == m_bookmark.item->kind;
    if (hasSuccessor && isSavedByReplacement(successor->kind, place))
        return place;
    const auto renamed = noted(pathOfItemInFolder(*m_bookmark.item, folder));
    return renamed && renamed->isEmpty() && hasSuccessor ? place : renamed.value_or(QByteArray());
}

ItemSearch::Result ItemSearch::result()
{
    const auto item = noted(identityOfItem(m_bookmark.path));
    if (item && item->mayBe(*m_bookmark.item))
        return {m_bookmark.path, true};
    const auto moved = m_pathInHome.isEmpty() ? std::nullopt : noted(identityOfItem(m_pathInHome));
    if (moved && moved->isCertainly(*m_bookmark.item))
        return {m_pathInHome, false};
    QByteArray path = pathInFolder(m_bookmark.path, false);
    if (path.isEmpty() && !m_pathInHome.isEmpty())
        path = pathInFolder(m_pathInHome, true);
    if (path.isEmpty() && m_isAnythingUnknown)
        return {m_bookmark.path, true};
    return {path, false};
}

} // namespace Marblewick
