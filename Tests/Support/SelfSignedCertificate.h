#pragma once

#include <QTemporaryDir>

/*! A certificate for 127.0.0.1 that vouches for itself, made by the openssl command; its files are there
    until destruction.
*/
class SelfSignedCertificate
{
public:
    SelfSignedCertificate();

    QString certificatePath() const { return m_folder.filePath(QStringLiteral("certificate.pem")); }
    QString keyPath() const { return m_folder.filePath(QStringLiteral("key.pem")); }

private:
    QTemporaryDir m_folder;
};
