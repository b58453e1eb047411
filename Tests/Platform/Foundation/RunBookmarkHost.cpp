#include "Tests/Platform/Foundation/RunBookmarkHost.h"

#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

RunningBookmarkHost::~RunningBookmarkHost()
{
    if (m_answered > 0)
        return;
    // It may still be starting, and a sandbox that is killed then leaves a process that waits for it for
    // ever.
    m_program.endInput();
    m_program.exitStatus();
}

QString RunningBookmarkHost::answer(const QString &command)
{
    m_program.write(command.toUtf8() + '\n');
    QByteArray output;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            output = m_program.output().mid(m_answered);
            return output.endsWith('\n');
        },
        20'000))
        << qPrintable(command);
    m_answered += output.size();
    return QString::fromUtf8(output.trimmed());
}

void DocumentsPortalTest::SetUp()
{
    if (DocumentsPortal::isImpossible())
        GTEST_SKIP() << "/dev/fuse is missing, so no documents portal can run on this machine";
    portal = std::make_unique<DocumentsPortal>();
    launch();
}

void DocumentsPortalTest::launch()
{
    host.reset();
    host = std::make_unique<RunningBookmarkHost>(isInSandbox ? portal->commandInSandbox(program)
                                                             : portal->commandOutside(program));
}

QString DocumentsPortalTest::grantedFile(const QString &name, const QStringList &permissions)
{
    writeFile(portal->home() + u"/Documents/"_s + name, "contents");
    return url(portal->add(portal->home() + u"/Documents/"_s + name, permissions), name);
}

QString DocumentsPortalTest::url(const QString &document, const QString &path) const
{
    const QString runtimeFolder = isInSandbox ? u"/run/user/%1"_s.arg(::getuid()) : portal->runtimeFolder();
    return u"file://%1/doc/%2/%3"_s.arg(runtimeFolder, document, path);
}

bool DocumentsPortalTest::startsAfterRelaunch(const QString &url, const QString &bookmarkCommand)
{
    const QString data = host->answer(bookmarkCommand + u' ' + url);
    launch();
    EXPECT_EQ(host->answer(u"resolve "_s + data), url);
    return host->start(url);
}
