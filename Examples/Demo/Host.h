#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/*! The example host, as a program with a home folder of its own. */
class Host
{
public:
    /*! Makes an empty home folder in the demo's folder. */
    explicit Host(const QString &scene);

    QString crashLogFolder() const;
    QString defaultsFile() const;
    QString logFolder() const;

    /*! The demo's folder: the home folder and the pictures are in it. */
    static QString demoFolder();
    /*! Whether a person can see the windows; otherwise the host uses them itself and saves pictures. */
    static bool hasDisplay();

    /*! Launches the host with options of its own and waits until it has quit; false where it could not or
       failed.
    */
    bool launch(const QStringList &options) const;
    /*! The same, until it has crashed; false where it could not be launched or did not crash. */
    bool crash(const QStringList &options) const;

private:
    enum class End { Quit, Crash };
    std::optional<End> run(QStringList arguments) const;

    const QString m_home;
};
