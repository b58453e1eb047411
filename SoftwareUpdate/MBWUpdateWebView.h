#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/WKWebView.h>

/*! The web view of the update panel: its menu offers to copy, and nothing else. Main thread only. */
class MARBLEWICK_PANELS_EXPORT MBWUpdateWebView : public Marblewick::WKWebView
{
    Q_OBJECT

public:
    using WKWebView::WKWebView;

protected:
    /*! Hides every item but copying (tag 8), copying a link (3), items tagged 33, separators and submenus. */
    void willOpenMenu(QMenu *menu, QContextMenuEvent *event) override;
};
