#pragma once

#include "Tests/Support/QtPrinters.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/*! A home folder for one test: HOME, the XDG folders and TMPDIR point into it until destruction. */
class TemporaryHome
{
public:
    TemporaryHome();

    QString path() const { return m_folder.path(); }
    QString stateFolder() const { return path() + QStringLiteral("/state"); }
    QString dataFolder() const { return path() + QStringLiteral("/data"); }
    QString configFolder() const { return path() + QStringLiteral("/config"); }
    QString temporaryFolder() const { return path() + QStringLiteral("/tmp"); }

    /*! The folders in which crash logs are looked for; made, like those above them, by the first call. */
    QString crashReporterFolder() const;
    QString diagnosticReportsFolder() const;

private:
    QTemporaryDir m_folder;
};

/*! Writes a file, with the folders above it; `modified` is seconds since 2001-01-01 UTC where it is given. */
void writeFile(const QString &path, const QByteArray &contents);
void writeFile(const QString &path, const QByteArray &contents, double modified);
void setModified(const QString &path, double secondsSinceReferenceDate);
QByteArray readFile(const QString &path);
