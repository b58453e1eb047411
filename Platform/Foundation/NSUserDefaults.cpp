#include "Platform/Foundation/NSUserDefaults.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSPathUtilities.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QMutexLocker>
#include <QThread>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! A file larger than this is taken for damaged, and none is written. */
constexpr qint64 maximumFileSize = 16 * 1024 * 1024;

/*! How long a write waits for another one. */
constexpr std::chrono::seconds lockTimeout(5);

QString domainOfMainBundle()
{
    const QVariantMap info = NSBundle::mainBundle()->infoDictionary();
    for (const auto key : {kCFBundleIdentifierKey, kCFBundleNameKey, kCFBundleExecutableKey}) {
        QString name = info.value(key).toString();
        if (name.isEmpty())
            continue;
        // One path component: the name of a file that is neither a path nor a step up.
        name.replace(u'/', u'-').remove(QChar(0));
        return name.startsWith(u'.') ? u'_' + name : name;
    }
    return u"unnamed"_s;
}

QString standardFilePath()
{
    const QString folder = NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory::PreferencesDirectory,
                                                               NSSearchPathDomainMask::UserDomain, true)
                               .last();
    return folder + u'/' + domainOfMainBundle() + u"/defaults.json"_s;
}

/*! An exclusive lock among processes and threads, held until destruction. The kernel's own lock, because it
    ends with its process and, unlike one that goes by process ids, holds between sandboxes.
*/
class FileLock
{
public:
    explicit FileLock(const QString &path)
        : m_file(::open(NSFileManager::fileSystemRepresentationWithPath(path).constData(),
                        O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600))
    {
        const QDeadlineTimer deadline(lockTimeout);
        while (m_file >= 0 && ::flock(m_file, LOCK_EX | LOCK_NB) != 0) {
            m_error = errno;
            if ((m_error != EWOULDBLOCK && m_error != EINTR) || deadline.hasExpired())
                return;
            QThread::usleep(500);
        }
        m_error = m_file < 0 ? errno : 0;
    }
    ~FileLock()
    {
        if (m_file >= 0)
            ::close(m_file);
    }
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

    /*! The errno value of the reason why the lock is not held; 0 when it is. */
    int error() const { return m_error; }

private:
    const int m_file;
    int m_error = 0;
};

/*! The number that a text begins with, 0 where it begins with none or the type cannot hold it. */
template <class Number>
Number leadingNumber(const QString &text)
{
    const QByteArray trimmed = text.trimmed().toLatin1();
    Number number = 0;
    std::from_chars(trimmed.begin() + (trimmed.startsWith('+') ? 1 : 0), trimmed.end(), number);
    return number;
}

double number(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? 1 : 0;
    if (!value.isString())
        return value.toDouble();
    const double number = leadingNumber<double>(value.toString());
    return std::isfinite(number) ? number : 0; // "inf" and "nan" begin words.
}

/*! Whether a file that cannot be opened for this errno value stays so, unlike one for which the system just
    lacks the means.
*/
bool isLasting(qint64 error)
{
    return error != EMFILE && error != ENFILE && error != ENOMEM && error != EIO && error != EINTR;
}

/*! The file that a symbolic link leads to; the path itself where it is none or leads nowhere. */
QString resolvingSymbolicLinks(const QString &path)
{
    const std::unique_ptr<char, decltype(&std::free)> resolved(
        ::realpath(NSFileManager::fileSystemRepresentationWithPath(path).constData(), nullptr), &std::free);
    return resolved ? NSFileManager::stringWithFileSystemRepresentation(resolved.get()) : path;
}

/*! Whether the item was renamed, onto whatever has the other name. */
bool rename(const QString &path, const QString &newPath, NSError *error)
{
    const bool isRenamed = std::rename(NSFileManager::fileSystemRepresentationWithPath(path).constData(),
                                       NSFileManager::fileSystemRepresentationWithPath(newPath).constData())
                           == 0;
    if (!isRenamed)
        *error = NSError::posixError(errno, path);
    return isRenamed;
}

void removeFile(const QString &path)
{
    ::unlink(NSFileManager::fileSystemRepresentationWithPath(path).constData());
}

/*! Waits until the file's bytes are on the disk. */
bool synchronize(const QString &path, NSError *error)
{
    const int file = ::open(NSFileManager::fileSystemRepresentationWithPath(path).constData(),
                            O_RDONLY | O_CLOEXEC);
    const bool isSynchronized = file >= 0 && ::fsync(file) == 0;
    if (!isSynchronized)
        *error = NSError::posixError(errno, path);
    if (file >= 0)
        ::close(file);
    return isSynchronized;
}

/*! Replaces a file, or makes it, under the lock: even after a power failure it is the old or the new one.
    Its temporary name is always the same, so that what a killed process left goes with the next write.
*/
bool replaceFile(const QString &path, const QByteArray &contents, NSError *error)
{
    const QString temporary = path + u".new"_s;
    removeFile(temporary);
    if (!NSFileManager::defaultManager()->createFileAtPath(temporary, contents, error))
        return false;
    if (synchronize(temporary, error) && rename(temporary, path, error))
        return true;
    removeFile(temporary);
    return false;
}

bool isYes(const QString &text)
{
    return text.compare(u"yes", Qt::CaseInsensitive) == 0 || text.compare(u"true", Qt::CaseInsensitive) == 0;
}

} // namespace

/*! What the file holds. */
struct NSUserDefaults::Stored
{
    enum State { Readable, Damaged, OutOfReach };

    QJsonObject settings;
    State state = Readable;
};

NSUserDefaults *NSUserDefaults::standardUserDefaults()
{
    static NSUserDefaults *const defaults = new NSUserDefaults(standardFilePath); // Never destroyed.
    return defaults;
}

NSUserDefaults::NSUserDefaults(std::function<QString()> filePath)
    : m_filePath(std::move(filePath))
{ }

NSUserDefaults::Stored NSUserDefaults::read(const QString &path, NSError *error) const
{
    const std::optional<QByteArray> data = NSFileManager::defaultManager()->contentsAtPath(
        path, maximumFileSize, error);
    if (!data && (error->code() == ENOENT || error->code() == ENOTDIR))
        return {};
    QString reason = error->localizedDescription();
    if (data) {
        QJsonParseError parseError{};
        const QJsonDocument document = QJsonDocument::fromJson(*data, &parseError);
        if (document.isObject())
            return {document.object()};
        reason = parseError.error == QJsonParseError::NoError ? u"not a dictionary of settings"_s
                                                              : parseError.errorString();
    }
    if (!m_damageWasLogged)
        NSLog(u"The settings in %@ cannot be read and count as absent: %@", {path, reason});
    m_damageWasLogged = true;
    return {{}, data || isLasting(error->code()) ? Stored::Damaged : Stored::OutOfReach};
}

QJsonValue NSUserDefaults::valueForKey(const QString &key) const
{
    const QMutexLocker locker(&m_mutex);
    const auto unwritten = m_unwritten.constFind(key);
    if (unwritten != m_unwritten.constEnd())
        return *unwritten;
    NSError error;
    return read(m_filePath(), &error).settings.value(key);
}

void NSUserDefaults::setValue(const QJsonValue &value, const QString &key)
{
    const QMutexLocker locker(&m_mutex);
    m_unwritten.insert(key, value);
    const QString path = m_filePath();
    NSError error;
    if (writeUnwritten(path, &error))
        m_unwritten.clear();
    else
        NSLog(u"The setting %@ could not be stored in %@: %@", {key, path, error.description()});
}

bool NSUserDefaults::writeUnwritten(const QString &path, NSError *error)
{
    if (!NSFileManager::defaultManager()->createDirectoryAtPath(path.left(path.lastIndexOf(u'/')), error))
        return false;
    const QString lockPath = path + u".lock"_s;
    const FileLock lock(lockPath);
    if (lock.error() != 0) {
        *error = NSError::posixError(lock.error(), lockPath);
        return false;
    }
    auto [settings, state] = read(path, error);
    if (state == Stored::OutOfReach
        || (state == Stored::Damaged && !rename(path, path + u".damaged"_s, error)))
        return false;
    for (auto change = m_unwritten.cbegin(); change != m_unwritten.cend(); ++change)
        settings.insert(change.key(), *change);
    const QByteArray contents = QJsonDocument(settings).toJson();
    if (contents.size() > maximumFileSize) {
        *error = NSError::posixError(EFBIG, path);
        return false;
    }
    return replaceFile(resolvingSymbolicLinks(path), contents, error);
}

bool NSUserDefaults::contains(const QString &key) const { return !valueForKey(key).isUndefined(); }

qint64 NSUserDefaults::integerForKey(const QString &key) const
{
    const QJsonValue value = valueForKey(key);
    if (value.isDouble()) {
        // Whole numbers of 64 bits do not pass through a double.
        const qint64 whole = value.toInteger(std::numeric_limits<qint64>::min());
        if (whole != std::numeric_limits<qint64>::min())
            return whole;
    }
    if (value.isString())
        return leadingNumber<qint64>(value.toString());
    const double real = std::trunc(number(value));
    constexpr double limit = 9223372036854775808.0; // 2^63
    return real >= -limit && real < limit ? static_cast<qint64>(real) : 0;
}

float NSUserDefaults::floatForKey(const QString &key) const
{
    const double real = number(valueForKey(key));
    return std::abs(real) <= std::numeric_limits<float>::max() ? static_cast<float>(real) : 0;
}

bool NSUserDefaults::boolForKey(const QString &key) const
{
    const QJsonValue value = valueForKey(key);
    return (value.isString() && isYes(value.toString())) || number(value) != 0;
}

std::optional<QString> NSUserDefaults::stringForKey(const QString &key) const
{
    const QJsonValue value = valueForKey(key);
    if (value.isUndefined() || value.isNull() || value.isArray() || value.isObject())
        return std::nullopt;
    return value.toVariant().toString();
}

void NSUserDefaults::setInteger(qint64 value, const QString &key) { setValue(value, key); }

void NSUserDefaults::setFloat(float value, const QString &key)
{
    // Every float is a double, and JSON's shortest form of a double reads back as that double; but QJsonValue
    // takes -0 for the integer 0.
    if (value == 0 && std::signbit(value))
        setString(u"-0"_s, key);
    else if (std::isfinite(value))
        setValue(static_cast<double>(value), key);
    else
        removeObjectForKey(key);
}

void NSUserDefaults::setBool(bool value, const QString &key) { setValue(value, key); }

void NSUserDefaults::setString(const QString &value, const QString &key) { setValue(value, key); }

void NSUserDefaults::removeObjectForKey(const QString &key)
{
    setValue(QJsonValue(QJsonValue::Undefined), key);
}

} // namespace Marblewick
