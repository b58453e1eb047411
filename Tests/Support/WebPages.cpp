#include "Tests/Support/WebPages.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTest>
#include <QTimer>

#include <csignal>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int rowHeight = 40;

QString pathOf(const LoopbackServer::Request &request)
{
    return QString::fromUtf8(request.target.split('?').first());
}

/*! Each process that there is, with its parent. */
QMap<pid_t, pid_t> parentsOfProcesses()
{
    QMap<pid_t, pid_t> parents;
    for (const QString &process : QDir(u"/proc"_s).entryList(QDir::Dirs)) {
        QFile file(u"/proc/%1/stat"_s.arg(process));
        if (process.toInt() > 0 && file.open(QIODevice::ReadOnly)) // It may have ended.
            parents.insert(process.toInt(), file.readAll().split(')').last().split(' ').value(2).toInt());
    }
    return parents;
}

} // namespace

void WebPages::add(const QString &path, const QStringList &rows)
{
    QString html = u"<!DOCTYPE html><meta name=color-scheme content='light dark'>"
                   "<style>body { margin: 0 } div { height: %1px; overflow: hidden }</style>"
                   "<script>requestAnimationFrame(() => requestAnimationFrame(() =>"
                   " fetch('/drawn' + location.pathname)))</script>"_s.arg(rowHeight);
    for (const QString &row : rows)
        html += u"<div>"_s + row + u"</div>"_s;
    add(path, LoopbackServer::Answer{200, html.toUtf8(), {{"Content-Type", "text/html; charset=utf-8"}}});
}

LoopbackServer::Answer WebPages::answer(const LoopbackServer::Request &request) const
{
    return m_answers.value(pathOf(request), {404, "nothing here", {{"Content-Type", "text/plain"}}});
}

qsizetype WebPages::requestCount(const QString &path) const
{
    return std::ranges::count(m_server.requests(), path, pathOf);
}

bool WebPages::isDrawn(const QString &path, qsizetype time) const
{
    return waitFor([&] { return requestCount(u"/drawn"_s + path) >= time; });
}

bool WebPages::isRequested(const QString &path) const
{
    return waitFor([&] { return requestCount(path) > 0; });
}

bool WebPages::waitFor(const std::function<bool()> &condition, int limit)
{
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (condition())
            loop.quit();
    });
    poll.start(5);
    QTimer::singleShot(limit, &loop, &QEventLoop::quit);
    loop.exec();
    return condition();
}

QWidget *WebPages::receiver(QWidget *view)
{
    QWidget *innermost = view;
    while (innermost->focusProxy())
        innermost = innermost->focusProxy();
    return innermost;
}

void WebPages::click(QWidget *view, int row, Qt::MouseButton button)
{
    const QPoint place(10, row * rowHeight + 10);
    QTest::mouseMove(receiver(view), place);
    QTest::mouseClick(receiver(view), button, {}, place);
}

bool WebPages::endRenderers()
{
    // The engine starts its first processes itself. These start the others, which start none.
    const QMap<pid_t, pid_t> parents = parentsOfProcesses();
    const auto isOurs = [&](pid_t process) {
        while (process > 1 && process != ::getpid())
            process = parents.value(process);
        return process == ::getpid();
    };
    bool hasEnded = false;
    for (const auto [process, parent] : parents.asKeyValueRange()) {
        const bool isLast = std::ranges::find(parents, process) == parents.end();
        if (isLast && parent != ::getpid() && isOurs(parent))
            hasEnded |= ::kill(process, SIGKILL) == 0;
    }
    return hasEnded;
}
