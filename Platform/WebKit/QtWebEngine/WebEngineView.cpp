#include "Platform/WebKit/QtWebEngine/WebEngineView.h"

#include "Platform/AppKit/NSMenuItem.h"

#include <QContextMenuEvent>
#include <QCoreApplication>
#include <QMenu>
#include <QWebEngineContextMenuRequest>
#include <QWebEngineScript>

#include <array>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

struct TaggedAction
{
    QWebEnginePage::WebAction action;
    int tag;
};

constexpr std::array taggedActions{
    TaggedAction{QWebEnginePage::OpenLinkInNewWindow, 1},
    TaggedAction{QWebEnginePage::DownloadLinkToDisk, 2},
    TaggedAction{QWebEnginePage::CopyLinkToClipboard, 3},
    TaggedAction{QWebEnginePage::DownloadImageToDisk, 5},
    TaggedAction{QWebEnginePage::CopyImageToClipboard, 6},
    TaggedAction{QWebEnginePage::Copy, 8},
    TaggedAction{QWebEnginePage::Back, 9},
    TaggedAction{QWebEnginePage::Forward, 10},
    TaggedAction{QWebEnginePage::Stop, 11},
    TaggedAction{QWebEnginePage::Reload, 12},
    TaggedAction{QWebEnginePage::Cut, 13},
    TaggedAction{QWebEnginePage::Paste, 14},
};

/*! Selects the word at a place of the page, and returns whether there is one. */
QString selectionOfWord(const QPointF &place)
{
    return u"(() => {"
           " const [x, y] = [%1, %2], selection = getSelection(), range = document.caretRangeFromPoint(x, y);"
           " if (!range) return false;"
           " selection.removeAllRanges(); selection.addRange(range);"
           " selection.modify('move', 'backward', 'word'); selection.modify('extend', 'forward', 'word');"
           " const isHit = selection.toString().trim() && [...selection.getRangeAt(0).getClientRects()].some("
           "  box => x >= box.left && x <= box.right && y >= box.top && y <= box.bottom);"
           " if (!isHit) selection.removeAllRanges();"
           " return Boolean(isHit); })()"_s.arg(place.x())
               .arg(place.y());
}

/*! All views that there are. They end before the engine, which ends before the application. */
QSet<WebEngineView *> views;

void deleteViews()
{
    const auto remaining = views;
    qDeleteAll(remaining);
}

} // namespace

WebEngineView::WebEngineView(WebContentClient *client)
    : m_page(new WebEnginePage(&m_profile, client, &m_pages))
{
    views.insert(this);
    setPage(m_page);
}

WebEngineView::~WebEngineView()
{
    m_page->forgetClient();
    views.remove(this);
}

void WebEngineView::loadURL(const QUrl &url)
{
    // To another place of the page that is shown the engine would only jump, and tell nothing of it.
    if (url.hasFragment() && !m_page->url().isEmpty())
        renewPage();
    m_page->load(url);
    // These run in reverse order, and the first load sets up what the views need to the last.
    static const bool isAdded = (qAddPostRoutine(deleteViews), true);
    Q_UNUSED(isAdded)
}

void WebEngineView::renewPage()
{
    WebEnginePage *const former = m_page;
    m_page = new WebEnginePage(&m_profile, former->client(), &m_pages);
    setPage(m_page);
    former->forgetClient();
    former->deleteLater(); // The engine may be in the middle of a call.
}

void WebEngineView::release()
{
    m_page->forgetClient();
    hide();
    setParent(nullptr);
    deleteLater(); // The engine may be in the middle of a call.
}

void WebEngineView::contextMenuEvent(QContextMenuEvent *event)
{
    const QWebEngineContextMenuRequest *const request = lastContextMenuRequest();
    const QPoint position = event->pos();
    const QPoint globalPosition = event->globalPos();
    if (!request || !request->selectedText().isEmpty() || !request->linkUrl().isEmpty()
        || request->mediaType() != QWebEngineContextMenuRequest::MediaTypeNone
        || request->isContentEditable()) {
        openMenu(position, globalPosition, false);
        return;
    }
    // What can be copied is what is selected: without a selection, the word that was clicked.
    m_page->runJavaScript(selectionOfWord(QPointF(position) / zoomFactor()),
                          QWebEngineScript::ApplicationWorld,
                          [self = QPointer(this), position, globalPosition](const QVariant &isSelected) {
                              if (self)
                                  self->openMenu(position, globalPosition, isSelected.toBool());
                          });
}

void WebEngineView::openMenu(const QPoint &position, const QPoint &globalPosition, bool isWordSelected)
{
    if (!m_page->client())
        return;
    QMenu *const menu = createStandardContextMenu();
    if (isWordSelected) { // which the menu does not know
        m_page->action(QWebEnginePage::Copy)->setEnabled(true);
        menu->addAction(m_page->action(QWebEnginePage::Copy));
    }
    for (const TaggedAction &tagged : taggedActions)
        NSMenuItem::setTag(m_page->action(tagged.action), tagged.tag);
    QContextMenuEvent event(QContextMenuEvent::Mouse, position, globalPosition);
    m_page->client()->openMenu(menu, &event);
}

} // namespace Marblewick
