#pragma once

#include "Platform/WebKit/QtWebEngine/WebEnginePage.h"

#include <QWebEngineProfile>
#include <QWebEngineView>

namespace Marblewick {

/*! Shows one page, with a profile of its own that keeps nothing on disk. */
class WebEngineView final : public QWebEngineView, public WebContent
{
    Q_OBJECT

public:
    explicit WebEngineView(WebContentClient *client);
    ~WebEngineView() override;

    QWidget *widget() override { return this; }
    void loadURL(const QUrl &url) override;
    void stopLoading() override { m_page->stop(); }
    bool hasCommitted() const override { return m_page->hasCommitted(); }
    void release() override;

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void renewPage();
    void openMenu(const QPoint &position, const QPoint &globalPosition, bool isWordSelected);

    QWebEngineProfile m_profile;
    QObject m_pages; ///< the parent of all pages, which end before their profile
    WebEnginePage *m_page;
};

} // namespace Marblewick
