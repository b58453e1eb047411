#include <gtest/gtest.h>

#include <QApplication>

#include <unistd.h>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    // Windows are real but need no display; MARBLEWICK_TEST_PLATFORM=xcb runs them on one.
    qputenv("QT_QPA_PLATFORM", qEnvironmentVariable("MARBLEWICK_TEST_PLATFORM", u"offscreen"_s).toUtf8());
    // A server on loopback is reached directly, whatever proxy this machine uses.
    for (const char *variable :
         {"http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"})
        qunsetenv(variable);
    // The web engine does not run as root with the sandbox of its processes.
    if (::geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    ::testing::InitGoogleTest(&argc, argv);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
