#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QHash>
#include <QJsonObject>
#include <QMutex>
#include <QString>

#include <functional>
#include <optional>

namespace Marblewick {

/*! The host's settings for this user, in one file that outlives the process.

    The file is `<settings folder>/<domain>/defaults.json`: the settings folder is `$XDG_CONFIG_HOME`, else
    `~/.config`; the domain is the main bundle's `CFBundleIdentifier`, else its `CFBundleName`, else its
    `CFBundleExecutable`. A host without an Info.plist names the application before the first use of its
    settings, or they are those of another name.

    Every read sees what any process wrote before. Every write is in the file when it returns: under a lock
    that all processes of the host share, the file is read afresh, changed and replaced atomically, so
    processes and threads never lose each other's settings, and neither a killed process nor a power failure
    leaves half a file. A write waits at most 5 seconds for another process that holds the lock.

    A setting that cannot be written (no lock, read-only folder, full disk, a file above 16 MiB) is named in
    the process log, holds for this process, and is written along with the next one that can be.

    A file that is damaged, too large, unreadable or no file at all counts as empty and is named in the
   process log, once. The next write moves it aside, to `defaults.json.damaged`, replacing what was put there
   before.

    Where `defaults.json` is a symbolic link, the file that it leads to is replaced and the link stays; one
    that leads nowhere is replaced itself. Files are made with mode 0600, folders with mode 0700.

    Any thread.
*/
class MARBLEWICK_CORE_EXPORT NSUserDefaults
{
public:
    /*! The settings of the running program. */
    static NSUserDefaults *standardUserDefaults();

    /*! The settings in one file, asked for at each use; for a file other than the standard one. */
    explicit NSUserDefaults(std::function<QString()> filePath);

    /*! Whether there is any value under a key. */
    bool contains(const QString &key) const;

    /*! The value as an integer: a number's integer part, 1 or 0 for a boolean, the whole number that a text
        begins with; 0 when absent or out of range.
    */
    qint64 integerForKey(const QString &key) const;
    /*! The value as a single-precision float, exactly the one that setFloat() stored; 0 when absent
        or out of range.
    */
    float floatForKey(const QString &key) const;
    /*! The value as a boolean: a number other than 0, the texts "YES" and "true" in any case, or a text that
        begins with a number other than 0; false when absent.
    */
    bool boolForKey(const QString &key) const;
    /*! The value as text: a number in its shortest decimal form, a boolean as "true" or "false"; nil when
        absent.
    */
    std::optional<QString> stringForKey(const QString &key) const;

    void setInteger(qint64 value, const QString &key);
    /*! A float that is not finite cannot be stored and removes the key. */
    void setFloat(float value, const QString &key);
    void setBool(bool value, const QString &key);
    void setString(const QString &value, const QString &key);
    void removeObjectForKey(const QString &key);

private:
    struct Stored;

    QJsonValue valueForKey(const QString &key) const;
    void setValue(const QJsonValue &value, const QString &key);
    Stored read(const QString &path, NSError *error) const;
    bool writeUnwritten(const QString &path, NSError *error);

    const std::function<QString()> m_filePath;
    mutable QMutex m_mutex;
    mutable bool m_damageWasLogged = false;
    /*! Settings that are not in the file yet; an undefined value for a removed key. */
    QHash<QString, QJsonValue> m_unwritten;
};

} // namespace Marblewick
