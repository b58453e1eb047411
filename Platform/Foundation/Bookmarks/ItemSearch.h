#pragma once

#include "Platform/Foundation/Bookmarks/Bookmark.h"

#include <QByteArray>

namespace Marblewick {

/*! Looks for an item that was bookmarked with its identity. Main thread. */
class ItemSearch
{
public:
    struct Result
    {
        QByteArray path; ///< empty where the item is gone
        bool isAsBookmarked = false;
    };

    /*! `homeFolder` is the path of the home folder as it is now. The bookmark is not copied. */
    ItemSearch(const Bookmark &bookmark, const QByteArray &homeFolder);

    /*! Where the item is now. Where it was not found, and the system did not let us look everywhere, that is
       its old path: nothing says that it is gone.
    */
    Result result();

private:
    template <typename Answer>
    Answer noted(Answer answer);
    QByteArray pathInFolder(const QByteArray &place, bool isFolderProven);

    const Bookmark &m_bookmark;
    QByteArray m_pathInHome; ///< empty where it was not in the home folder, or that is the same
    bool m_isAnythingUnknown = false;
};

} // namespace Marblewick
