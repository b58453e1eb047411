#pragma once

#include <QString>
#include <QStringList>

/*! How a ThrowingHost ended, and what it wrote. */
struct ThrowingHostResult
{
    int signal = 0; ///< that ended it; 0 where none did
    int exitStatus = 0; ///< -1 where a signal ended it
    QString output;
    QStringList log; ///< the lines of standard error, those of NSLog() without date, name and numbers
    qint64 milliseconds = 0;

    /*! The lines of the log that match a regular expression. */
    QStringList linesLike(const QString &expression) const;
};

/*! Runs a ThrowingHost, of one of its builds, that takes these steps. */
ThrowingHostResult runThrowingHost(const QStringList &steps,
                                   const QString &program = QStringLiteral("ThrowingHost-O2"));
