#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

/*! The maker's server: `marblewick serve`, until it is stopped. */
class Server
{
public:
    /*! Starts it with these options. */
    explicit Server(const QStringList &options);
    /*! Stops it if it still runs. */
    ~Server();

    /*! `http://127.0.0.1:<port>`; empty where it could not be started, which it has said itself. */
    QString url() const { return m_url; }
    /*! What it printed since the last call, a line for each request, and some lines more. */
    QStringList takeLines();
    void stop();

private:
    QProcess m_process;
    QString m_url;
};
