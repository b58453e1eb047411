#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

/*! The program FoundationHost in the build tree, and a copy of it in another folder. */
QString foundationHost();
QString copyOfFoundationHost(const QString &folder, const QString &name);

struct HostResult
{
    QString output;
    QString log; ///< standard error
};

/*! Runs a FoundationHost to its end, which must be a success. */
HostResult runFoundationHost(
    const QString &program, const QStringList &arguments,
    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
