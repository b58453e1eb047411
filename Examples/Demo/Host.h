#pragma once

#include <QStringList>

/*! The example host, as a program with a home folder of its own. */
class Host
{
public:
    /*! Makes an empty home folder in the demo's folder. */
    explicit Host(const QString &scene);

    QString crashLogFolder() const;
    QString defaultsFile() const;

    /*! The demo's folder: the home folder and the pictures are in it. */
    static QString demoFolder();
    /*! Whether a person can see the windows; otherwise the host uses them itself and saves pictures. */
    static bool hasDisplay();

    /*! Launches the host and waits until it has quit; false where it could not or failed. */
    bool launch(const QStringList &options) const;

private:
    const QString m_home;
};
