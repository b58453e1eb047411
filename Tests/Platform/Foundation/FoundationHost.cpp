#include <Marblewick/NSBundle.h>
#include <Marblewick/NSData+CCEncryption.h>
#include <Marblewick/NSData+MBWExtensions.h>
#include <Marblewick/NSException.h>
#include <Marblewick/NSFileManager.h>
#include <Marblewick/NSOperationQueue.h>
#include <Marblewick/NSUserDefaults.h>

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Marblewick;

namespace {

/*! Stores `count` settings, and names each on standard output once its write has returned. */
int write(const QString &file, const QString &prefix, int count)
{
    NSUserDefaults defaults([file] { return file; });
    for (int i = 0; i < count; ++i) {
        const QString key = prefix + QString::number(i);
        defaults.setInteger(i, key);
        const QByteArray line = key.toUtf8() + '\n';
        if (::write(STDOUT_FILENO, line.constData(), static_cast<size_t>(line.size())) != line.size())
            return 1;
    }
    return 0;
}

/*! Stops while it holds the lock of a settings file. */
int stopWithLock(const QByteArray &lock)
{
    const int file = ::open(lock.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0 || ::flock(file, LOCK_EX) != 0)
        return 1;
    std::puts("locked");
    std::fflush(stdout);
    return std::raise(SIGSTOP);
}

/*! The digest of a text, or why there is none. */
QByteArray digestOrReason(const QString &text)
try {
    return MBWExtensions::SHA1Digest(text.toUtf8()).toHex();
} catch (const NSException &exception) {
    return exception.what();
}

/*! The codes of the errors of a derivation and an encryption. */
QByteArray encryptionErrors()
{
    NSError keyError;
    CCEncryption::AESKeyForPassword(QStringLiteral("secret"), "saltsalt", &keyError);
    NSError error;
    QByteArray salt;
    QByteArray vector;
    const auto ciphertext = CCEncryption::encryptWithPassword("text", QStringLiteral("secret"), &salt,
                                                              &vector, &error);
    return QByteArray::number(keyError.code()) + ' ' + QByteArray::number(error.code())
           + (ciphertext ? " encrypted" : " nil");
}

} // namespace

/*! A host application as a process of its own, for tests of what happens between or to processes. */
int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], "add-operation-without-application") == 0) {
        NSOperationQueue::mainQueue()->addOperationWithBlock([] { std::puts("ran"); });
        return 0;
    }
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments().sliced(1);
    const QString command = arguments.value(0);
    if (command == u"write" && arguments.size() == 4)
        return write(arguments[1], arguments[2], arguments[3].toInt());
    if (command == u"stop-with-lock" && arguments.size() == 2)
        return stopWithLock(arguments[1].toUtf8());
    if (command == u"store" && arguments.size() == 3) {
        NSUserDefaults::standardUserDefaults()->setString(arguments[2], arguments[1]);
        return 0;
    }
    if (command == u"info" && arguments.size() == 2) {
        const QVariant value = NSBundle::mainBundle()->infoDictionary().value(arguments[1]);
        return std::puts(NSFileManager::fileSystemRepresentationWithPath(value.toString()).constData()) < 0;
    }
    if (command == u"digest" && arguments.size() == 2)
        return std::puts(digestOrReason(arguments[1]).constData()) < 0;
    if (command == u"encrypt")
        return std::puts(encryptionErrors().constData()) < 0;
    return 2;
}
