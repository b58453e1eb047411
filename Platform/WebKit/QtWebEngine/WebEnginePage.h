#pragma once

#include "Platform/WebKit/WebContent.h"

#include <QUuid>
#include <QWebEnginePage>

namespace Marblewick {

/*! A page of the engine's that tells its client what becomes of its navigations.

    The engine does not say which navigation an event belongs to, nor when a page begins to arrive: this keeps
    the one that is under way, and takes a new date in the history for its arrival.
*/
class WebEnginePage final : public QWebEnginePage
{
    Q_OBJECT

public:
    WebEnginePage(QWebEngineProfile *profile, WebContentClient *client, QObject *parent);

    void stop();
    bool hasCommitted() const;
    WebContentClient *client() const { return m_client; }
    void forgetClient() { m_client = nullptr; }

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
    // A page shows no dialogs. One that asks whether it may be left is not to hold up what comes next.
    void javaScriptAlert(const QUrl &, const QString &) override { }
    bool javaScriptConfirm(const QUrl &, const QString &) override { return true; }
    bool javaScriptPrompt(const QUrl &, const QString &, const QString &, QString *) override
    {
        return false;
    }
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString &message, int line,
                                  const QString &source) override;
    QStringList chooseFiles(FileSelectionMode, const QStringList &, const QStringList &) override
    {
        return {};
    }

private:
    void begin(const QUrl &url, NavigationType type);
    void end(const QWebEngineLoadingInfo &info);
    void fail(qint64 code);
    void askForNewWindow(const QWebEngineNewWindowRequest &request);
    void die();
    bool takeClick(const QUrl &url);
    WKNavigationType publishedType(const QUrl &url, NavigationType type);
    QDateTime lastArrival() const;

    WebContentClient *m_client;
    QUrl m_url; ///< of the navigation that is under way; invalid where none is
    QDateTime m_arrivalBefore;
    const QString m_mark = QUuid::createUuid().toString(); ///< see clickedLinkScript()
    QUrl m_clicked; ///< the link that was clicked, until the engine asks for it
};

} // namespace Marblewick
