#include <Marblewick/MBWLogManager.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSLog.h>

#include "Tests/Support/Host.h"

#include <QCoreApplication>
#include <QDebug>
#include <QLocale>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Marblewick;
using namespace Qt::StringLiterals;

namespace {

void redirect()
{
    const MBWLogManager *const logs = MBWLogManager::sharedManager();
    logs->redirectStandardErrorToFileAtPath(logs->applicationLogFile());
}

void redirectTo(const QString &path)
{
    MBWLogManager::sharedManager()->redirectStandardErrorToFileAtPath(path);
}

void print(const QString &text)
{
    std::puts(NSFileManager::fileSystemRepresentationWithPath(text).constData());
}

void writeToDescriptor(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    if (::write(STDERR_FILENO, bytes.constData(), static_cast<size_t>(bytes.size())) < 0)
        print(u"the system refused it"_s);
}

void messageHandler(QtMsgType, const QMessageLogContext &, const QString &message)
{
    print(u"host's handler: "_s + message);
}

void printHandler()
{
    const QtMessageHandler current = qInstallMessageHandler(nullptr);
    const QtMessageHandler original = qInstallMessageHandler(current);
    print(current == original ? u"Qt's handler"_s : u"another handler"_s);
}

void limitFileSize(const QString &bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes.isEmpty() ? limit.rlim_max : bytes.toULong();
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

/*! Opens a file that is none of the log's affair, and prints the number that it got. */
void openDocument(const QString &path)
{
    print(QString::number(::open(path.toUtf8().constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600)));
}

void runProgram(const QString &command)
{
    if (std::system(command.toUtf8().constData()) != 0)
        print(u"the program failed"_s);
}

/*! Writes where nothing may be written. */
void crash()
{
    std::signal(SIGSEGV, SIG_DFL); // A sanitizer would make it an ordinary exit.
    void *const guarded = ::mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    *static_cast<volatile char *>(guarded) = 1;
}

const Host::Steps steps{
    {u"redirect"_s, [](const QString &) { redirect(); }},
    {u"redirect-to"_s, redirectTo},
    {u"redirect-to-bytes"_s,
     [](const QString &hexadecimal) {
         redirectTo(
             NSFileManager::stringWithFileSystemRepresentation(QByteArray::fromHex(hexadecimal.toLatin1())));
     }},
    {u"print-log-file"_s,
     [](const QString &) { print(MBWLogManager::sharedManager()->applicationLogFile()); }},
    {u"print-number"_s, [](const QString &) { print(QLocale().toString(1234)); }},
    {u"log"_s, [](const QString &text) { NSLog(u"%@", {text}); }},
    {u"cerr"_s, [](const QString &text) { std::cerr << text.toStdString() << '\n'; }},
    {u"clear-cerr"_s, [](const QString &) { std::cerr.clear(); }},
    {u"stderr"_s, [](const QString &text) { std::fputs(text.toUtf8().constData(), stderr); }},
    {u"descriptor"_s, writeToDescriptor},
    {u"debug"_s, [](const QString &text) { qDebug().noquote() << text; }},
    {u"warning"_s, [](const QString &text) { qWarning().noquote() << text; }},
    {u"fatal"_s, [](const QString &text) { qFatal("%s", qPrintable(text)); }},
    {u"pattern"_s, [](const QString &text) { qSetMessagePattern(text); }},
    {u"install-handler"_s, [](const QString &) { qInstallMessageHandler(messageHandler); }},
    {u"print-handler"_s, [](const QString &) { printHandler(); }},
    {u"leave-terminal"_s, [](const QString &) { ::setsid(); }},
    {u"limit-file-size"_s, limitFileSize},
    {u"close-standard-error"_s, [](const QString &) { ::close(STDERR_FILENO); }},
    {u"open"_s, openDocument},
    {u"run"_s, runProgram},
    {u"crash"_s, [](const QString &) { crash(); }},
    {u"abort"_s, [](const QString &) { std::abort(); }},
    {u"kill"_s, [](const QString &) { ::kill(::getpid(), SIGKILL); }},
    {u"exit-at-once"_s, [](const QString &) { ::_exit(0); }},
};

} // namespace

/*! A host application that does what its arguments say, step by step. */
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"App"_s);
    std::setvbuf(stdout, nullptr, _IONBF, 0); // What ends the process at once shall not end what it said.
    return Host::take(steps, application.arguments().sliced(1)) ? 0 : 2;
}
