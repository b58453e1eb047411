#include "Tests/Support/SelfSignedCertificate.h"

#include <gtest/gtest.h>

#include <QProcess>

using namespace Qt::StringLiterals;

SelfSignedCertificate::SelfSignedCertificate()
{
    QProcess openssl;
    openssl.start(u"openssl"_s,
                  {u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s, u"ec_paramgen_curve:P-256"_s,
                   u"-nodes"_s, u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=127.0.0.1"_s, u"-addext"_s,
                   u"subjectAltName=IP:127.0.0.1"_s, u"-keyout"_s, keyPath(), u"-out"_s, certificatePath()});
    EXPECT_TRUE(openssl.waitForFinished()) << "is the openssl command installed?";
    EXPECT_EQ(openssl.exitCode(), 0) << openssl.readAllStandardError().constData();
}
