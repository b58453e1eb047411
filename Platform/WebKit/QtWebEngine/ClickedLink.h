#pragma once

#include <QString>
#include <QUrl>
#include <QWebEngineScript>

#include <optional>

namespace Marblewick {

/*! A link that the user has clicked, or followed by a key. */
struct ClickedLink
{
    QUrl url;
    /*! Whether the engine follows or drops it without asking: one to a place of the same page, to a file, or
        to data that it holds itself. */
    bool isUnasked = false;
};

/*! A script that notes in the page's console which links the user clicks: the engine itself calls it a click,
    too, when a script goes elsewhere. It runs in a world of its own, out of the page's reach; the mark, which
    the page is not to know, begins each of its messages.
*/
QWebEngineScript clickedLinkScript(const QString &mark);

/*! What a message of the console tells; nothing where it is not one of the script's. */
std::optional<ClickedLink> clickedLink(const QString &message, const QString &mark);

} // namespace Marblewick
