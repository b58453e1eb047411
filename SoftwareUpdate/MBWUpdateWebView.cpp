#include "SoftwareUpdate/MBWUpdateWebView.h"

#include "Platform/AppKit/NSMenuItem.h"

#include <QMenu>

#include <algorithm>
#include <array>

using namespace Marblewick;

namespace {

constexpr int copyLinkTag = 3;
constexpr int copyTag = 8;
constexpr std::array keptTags{33, copyLinkTag, copyTag};

} // namespace

void MBWUpdateWebView::willOpenMenu(QMenu *menu, QContextMenuEvent *event)
{
    WKWebView::willOpenMenu(menu, event);
    for (QAction *const item : menu->actions()) {
        const bool isKept = std::ranges::find(keptTags, NSMenuItem::tag(item)) != keptTags.end();
        if (!isKept && !item->isSeparator() && !item->menu())
            item->setVisible(false);
    }
}
