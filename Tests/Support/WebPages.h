#pragma once

#include "Tests/Support/LoopbackServer.h"

#include <QMap>
#include <QWidget>

/*! Pages on a real server, made of rows that are all equally high, so that a test knows where to click. Each
   page tells the server when it has been drawn.
*/
class WebPages
{
public:
    /*! Rows are pieces of HTML. */
    void add(const QString &path, const QStringList &rows);
    void add(const QString &path, const LoopbackServer::Answer &answer) { m_answers.insert(path, answer); }

    QUrl url(const QString &path) const { return m_server.url(path); }
    /*! How often a path was asked for, whatever the query. */
    qsizetype requestCount(const QString &path) const;
    /*! Waits until a page that add() made of rows is on the screen, for the given time. */
    [[nodiscard]] bool isDrawn(const QString &path, qsizetype time = 1) const;
    /*! Waits until a path was asked for. */
    [[nodiscard]] bool isRequested(const QString &path) const;

    /*! Runs the event loop until a condition holds, for at most that many milliseconds, and returns whether
       it does. The engine's many small steps make it far quicker than QTest::qWaitFor(), which sleeps between
       them. The limit is long because the engine's first start on a busy machine is.
    */
    [[nodiscard]] static bool waitFor(const std::function<bool()> &condition, int limit = 20000);

    /*! Moves the mouse to a row of the page that `view` shows, and clicks there. */
    static void click(QWidget *view, int row, Qt::MouseButton button = Qt::LeftButton);
    /*! Kills the processes in which the engine of this process shows pages; whether there were any. */
    [[nodiscard]] static bool endRenderers();
    /*! What a view hands its keys and clicks to. */
    static QWidget *receiver(QWidget *view);

private:
    LoopbackServer::Answer answer(const LoopbackServer::Request &request) const;

    QMap<QString, LoopbackServer::Answer> m_answers; ///< set before the first page is asked for
    const LoopbackServer m_server{[this](const auto &request) { return answer(request); }};
};
