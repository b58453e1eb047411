#include "Server.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 10'000; // milliseconds

} // namespace

Server::Server(const QStringList &options)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QCoreApplication::applicationDirPath() + u"/marblewick"_s,
                    QStringList{u"serve"_s} + options);
    constexpr QLatin1StringView announcement("Listening at ");
    while (m_process.canReadLine() || m_process.waitForReadyRead(patience)) {
        if (!m_process.canReadLine())
            continue;
        const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
        if (line.startsWith(announcement))
            m_url = line.mid(announcement.size());
        return;
    }
}

Server::~Server() { stop(); }

QStringList Server::takeLines()
{
    // A request is answered before its line is printed.
    m_process.waitForReadyRead(200);
    return QString::fromUtf8(m_process.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

void Server::stop()
{
    m_process.terminate();
    m_process.waitForFinished(patience);
}
