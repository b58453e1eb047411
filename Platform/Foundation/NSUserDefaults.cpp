#include "Platform/Foundation/NSUserDefaults.h"

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSPathUtilities.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QMutexLocker>
#include <QSaveFile>
#include <QThread>

#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! A file larger than this is taken for damaged. */
constexpr qint64 maximumFileSize = 16 * 1024 * 1024;

/*! How long a write waits for another process that writes. */
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
            if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired()) {
                m_error = errno;
                return;
            }
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

/*! The number that a text begins with, 0 where it begins with none. */
double leadingNumber(const QString &text)
{
    const QString trimmed = text.trimmed();
    qsizetype length = 0;
    while (length < trimmed.size() && QStringView(u"+-.0123456789eE").contains(trimmed[length]))
        ++length;
    for (; length > 0; --length) {
        bool isNumber = false;
        const double number = QStringView(trimmed).first(length).toDouble(&isNumber);
        if (isNumber)
            return number;
    }
    return 0;
}

double number(const QJsonValue &value)
{
    if (value.isBool())
        return value.toBool() ? 1 : 0;
    return value.isString() ? leadingNumber(value.toString()) : value.toDouble();
}

bool isYes(const QString &text)
{
    return text.compare(u"yes", Qt::CaseInsensitive) == 0 || text.compare(u"true", Qt::CaseInsensitive) == 0;
}

} // namespace

/*! What the file holds. */
struct NSUserDefaults::Stored
{
    QJsonObject settings;
    bool isDamaged = false;
};

NSUserDefaults *NSUserDefaults::standardUserDefaults()
{
    static NSUserDefaults defaults(standardFilePath);
    return &defaults;
}

NSUserDefaults::NSUserDefaults(std::function<QString()> filePath)
    : m_filePath(std::move(filePath))
{ }

NSUserDefaults::Stored NSUserDefaults::read(const QString &path) const
{
    NSError error;
    const std::optional<QByteArray> data = NSFileManager::defaultManager()->contentsAtPath(
        path, maximumFileSize, &error);
    if (!data && (error.code() == ENOENT || error.code() == ENOTDIR))
        return {};
    QString reason = error.localizedDescription();
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
    return {{}, true};
}

QJsonValue NSUserDefaults::valueForKey(const QString &key) const
{
    const QMutexLocker locker(&m_mutex);
    const auto unwritten = m_unwritten.constFind(key);
    return unwritten != m_unwritten.constEnd() ? *unwritten : read(m_filePath()).settings.value(key);
}

void NSUserDefaults::setValue(const QJsonValue &value, const QString &key)
{
    const QMutexLocker locker(&m_mutex);
    m_unwritten.insert(key, value);
    const QString path = m_filePath();
    QString reason;
    if (writeUnwritten(path, &reason))
        m_unwritten.clear();
    else
        NSLog(u"The setting %@ could not be stored in %@: %@", {key, path, reason});
}

bool NSUserDefaults::writeUnwritten(const QString &path, QString *reason)
{
    NSError error;
    if (!NSFileManager::defaultManager()->createDirectoryAtPath(path.left(path.lastIndexOf(u'/')), &error)) {
        *reason = error.localizedDescription();
        return false;
    }
    const FileLock lock(path + u".lock"_s);
    if (lock.error() != 0) {
        *reason = u"no lock: %1"_s.arg(NSError::posixError(lock.error()).localizedDescription());
        return false;
    }
    auto [settings, isDamaged] = read(path);
    for (auto change = m_unwritten.cbegin(); change != m_unwritten.cend(); ++change)
        settings.insert(change.key(), *change);
    if (isDamaged) {
        const QByteArray name = NSFileManager::fileSystemRepresentationWithPath(path);
        ::rename(name.constData(), (name + ".damaged").constData());
    }
    QSaveFile file(path);
    const bool isWritten = file.open(QIODevice::WriteOnly)
                           && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner)
                           && file.write(QJsonDocument(settings).toJson()) >= 0 && file.commit();
    if (!isWritten)
        *reason = file.errorString();
    return isWritten;
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
    // Every float is a double, and JSON's shortest form of a double reads back as that double.
    setValue(std::isfinite(value) ? QJsonValue(static_cast<double>(value))
                                  : QJsonValue(QJsonValue::Undefined),
             key);
}

void NSUserDefaults::setBool(bool value, const QString &key) { setValue(value, key); }

void NSUserDefaults::setString(const QString &value, const QString &key) { setValue(value, key); }

void NSUserDefaults::removeObjectForKey(const QString &key)
{
    setValue(QJsonValue(QJsonValue::Undefined), key);
}

} // namespace Marblewick
