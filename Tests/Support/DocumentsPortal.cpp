#include "Tests/Support/DocumentsPortal.h"

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusUnixFileDescriptor>
#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int timeLimit = 20'000; // milliseconds, for what takes some 100 on a quiet machine

const QString service = u"org.freedesktop.portal.Documents"_s;

} // namespace

bool DocumentsPortal::isImpossible() { return ::access("/dev/fuse", F_OK) != 0; }

DocumentsPortal::DocumentsPortal()
    : m_session({QStringLiteral(DOCUMENTS_PORTAL_SCRIPT)})
{
    EXPECT_TRUE(QTest::qWaitFor([this] { return m_session.output().endsWith('\n'); }, timeLimit));
    m_expectedOutput = m_session.output();
    m_folder = QString::fromUtf8(m_expectedOutput.trimmed());
    m_bus = QDBusConnection::connectToBus(u"unix:path="_s + runtimeFolder() + u"/bus"_s, m_folder);
    EXPECT_TRUE(m_bus.isConnected());
    qDBusRegisterMetaType<QList<QDBusUnixFileDescriptor>>();
}

DocumentsPortal::~DocumentsPortal()
{
    QDBusConnection::disconnectFromBus(m_folder);
    m_session.endInput();
    EXPECT_EQ(m_session.exitStatus(), 0);
}

void DocumentsPortal::command(const QByteArray &name)
{
    m_session.write(name + '\n');
    m_expectedOutput += "done " + name + '\n';
    EXPECT_TRUE(QTest::qWaitFor([this] { return m_session.output() == m_expectedOutput; }, timeLimit));
}

void DocumentsPortal::call(const QString &method, const QVariantList &arguments, QVariantList *results)
{
    auto message = QDBusMessage::createMethodCall(service, u"/org/freedesktop/portal/documents"_s, service,
                                                  method);
    message.setArguments(arguments);
    const QDBusMessage reply = m_bus.call(message, QDBus::Block, timeLimit);
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << qPrintable(reply.errorMessage());
    if (results)
        *results = reply.arguments();
}

QString DocumentsPortal::add(const QString &path, const QStringList &permissions)
{
    constexpr uint reuseExisting = 1;
    constexpr uint persistent = 2;
    constexpr uint directory = 8;
    const int item = ::open(QFile::encodeName(path).constData(), O_PATH | O_CLOEXEC);
    EXPECT_GE(item, 0) << qPrintable(path);
    const QList<QDBusUnixFileDescriptor> items{QDBusUnixFileDescriptor(item)};
    ::close(item);
    const uint flags = reuseExisting | persistent | (QFileInfo(path).isDir() ? directory : 0);
    QVariantList results;
    call(u"AddFull"_s, {QVariant::fromValue(items), flags, applicationIdentifier(), permissions}, &results);
    const QStringList documents = results.value(0).toStringList();
    EXPECT_EQ(documents.size(), 1);
    return documents.value(0);
}

void DocumentsPortal::revoke(const QString &document, const QStringList &permissions)
{
    call(u"RevokePermissions"_s, {document, applicationIdentifier(), permissions});
}

void DocumentsPortal::remove(const QString &document) { call(u"Delete"_s, {document}); }

QStringList DocumentsPortal::commandOutside(const QString &program) const
{
    return {u"env"_s, u"HOME="_s + home(), u"XDG_RUNTIME_DIR="_s + runtimeFolder(),
            QCoreApplication::applicationDirPath() + u'/' + program};
}

QStringList DocumentsPortal::commandInSandbox(const QString &program) const
{
    const QString ownHome = home() + u"/.var/app/"_s + applicationIdentifier();
    const QString shared = home() + u"/shared"_s;
    const QString programs = QCoreApplication::applicationDirPath();
    const QString build = QFileInfo(programs).path();
    const QString runtimeFolderInside = u"/run/user/%1"_s.arg(::getuid());
    writeFile(sandboxInfo(), "[Application]\nname=" + applicationIdentifier().toUtf8() + '\n');
    EXPECT_TRUE(QDir().mkpath(ownHome));
    EXPECT_TRUE(QDir().mkpath(shared));
    return QStringList{u"bwrap"_s, u"--die-with-parent"_s}
           << QStringList{u"--ro-bind"_s, u"/usr"_s, u"/usr"_s}
           << QStringList{u"--symlink"_s, u"usr/lib"_s, u"/lib"_s}
           << QStringList{u"--symlink"_s, u"usr/lib64"_s, u"/lib64"_s}
           << QStringList{u"--proc"_s, u"/proc"_s, u"--dev"_s, u"/dev"_s}
           << QStringList{u"--ro-bind"_s, build, build}
           << QStringList{u"--ro-bind"_s, sandboxInfo(), u"/.flatpak-info"_s}
           << QStringList{u"--bind"_s, ownHome, ownHome} << QStringList{u"--bind"_s, shared, shared}
           << QStringList{u"--tmpfs"_s, shared + u"/covered"_s}
           << QStringList{u"--bind"_s, runtimeFolder() + u"/doc/by-app/"_s + applicationIdentifier(),
                          u"/run/flatpak/doc"_s}
           << QStringList{u"--symlink"_s, u"/run/flatpak/doc"_s, runtimeFolderInside + u"/doc"_s}
           << QStringList{u"--setenv"_s, u"HOME"_s, home()}
           << QStringList{u"--setenv"_s, u"XDG_RUNTIME_DIR"_s, runtimeFolderInside}
           << programs + u'/' + program;
}
