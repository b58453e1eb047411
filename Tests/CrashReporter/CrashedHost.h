#pragma once

#include "Tests/Support/TemporaryHome.h"

#include <QJsonObject>
#include <QStringList>

/*! The program CrashingHost, run to its end in a home folder of its own, and what it left there. */
class CrashedHost
{
public:
    /*! With the arguments of CrashingHost. */
    explicit CrashedHost(const QStringList &arguments);

    /*! The signal that ended it; 0 where none did. */
    int signal() const;
    bool hasDumpedCore() const;
    /*! -1 where a signal ended it. */
    int exitStatus() const;
    QByteArray output() const { return m_output; }
    qint64 milliseconds() const { return m_milliseconds; }

    QString logFolder() const { return m_logFolder; }
    /*! The names in the folder of the logs, whatever they begin with. */
    QStringList files() const;

    /*! The documents of the only log; empty, with a failure of the test, where there is not exactly one
     * whole. */
    QJsonObject header() const;
    QJsonObject body() const;
    /*! Functions of a thread's frames, from the innermost, without their arguments. */
    QStringList functionsOfThread(int index) const;
    QStringList functionsOfCrashedThread() const;
    /*! Names of the files that the code of these frames is in. */
    QStringList imagesOfCrashedThread() const;

private:
    QByteArray log() const;

    const TemporaryHome m_home;
    const QString m_logFolder;
    QByteArray m_output;
    qint64 m_milliseconds = 0;
    int m_status = 0;
};
