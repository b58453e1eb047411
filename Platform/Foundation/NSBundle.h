#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <mutex>
#include <optional>
#include <typeinfo>

namespace Marblewick {

inline constexpr QLatin1StringView kCFBundleNameKey("CFBundleName");
inline constexpr QLatin1StringView kCFBundleDisplayNameKey("CFBundleDisplayName");
inline constexpr QLatin1StringView kCFBundleExecutableKey("CFBundleExecutable");
inline constexpr QLatin1StringView kCFBundleIdentifierKey("CFBundleIdentifier");
inline constexpr QLatin1StringView kCFBundleShortVersionStringKey("CFBundleShortVersionString");
inline constexpr QLatin1StringView kCFBundleVersionKey("CFBundleVersion");
inline constexpr QLatin1StringView kNSHumanReadableCopyrightKey("NSHumanReadableCopyright");

/*! The host application as a bundle: its information properties, its resources and its texts. The framework
    is a bundle of its own, which has resources only.

    Resources are looked for as a Qt resource `:/name.type`, then beside the executable, then in
    `../share/<executable>/` as seen from the executable's folder.

    The information properties are those of the resource `Info.plist` (XML or binary). Without one:
    `CFBundleExecutable` is the executable's file name, and `CFBundleName` and `CFBundleShortVersionString`
    are QCoreApplication's applicationName, which is the name the program was started by until the host sets
    one, and applicationVersion, each where it is not empty. A file that is not a property list is named in
    the process log, once, and counts as none.

    Texts are those of the translators that the host has installed with QCoreApplication::installTranslator().
    The translation context is the name of the strings table: "Localizable" for the framework's messages,
    the window's name ("CrashReport") for the texts of a window, "InfoPlist" for information properties,
    with the property's key as source text. Where no translator knows a text it stays English.

    Any thread.
*/
class MARBLEWICK_CORE_EXPORT NSBundle
{
public:
    /*! The bundle of the running program. */
    static NSBundle *mainBundle();

    /*! The bundle that a class comes in: the framework's for a class that its Core library holds, and
        otherwise the main bundle. `Class` has a virtual function. The framework's resources are Qt resources
        in `:/Marblewick`, apart from those of the host.
    */
    template <typename Class>
    static NSBundle *bundleForClass()
    {
        return bundleOfImageAt(&typeid(Class));
    }

    /*! The bundle of the program at this absolute path. */
    explicit NSBundle(const QString &executablePath);
    NSBundle(const NSBundle &) = delete;
    NSBundle &operator=(const NSBundle &) = delete;

    /*! The path of the program file; empty where the system does not tell. */
    QString executablePath() const { return m_executablePath; }
    /*! Its file name. */
    QString executableName() const;

    /*! The path of a resource, which begins with ":/" for a Qt resource; nil where there is none. */
    std::optional<QString> pathForResource(const QString &name, const QString &type) const;

    /*! The same as a URL, which is a `qrc:` one for a Qt resource. */
    std::optional<QUrl> URLForResource(const QString &name, const QString &type) const;

    /*! The bytes of a resource, by the path that pathForResource() gave. Nil, with `error` set, where it is a
        file that is not there any more, cannot be read, or is larger than `maximumSize` bytes.
    */
    static std::optional<QByteArray> contentsOfResourceAtPath(const QString &path, qint64 maximumSize,
                                                              NSError *error = nullptr);

    /*! The information properties, not localised. The file is read once, at the first call. */
    QVariantMap infoDictionary() const;

    /*! The information properties that a translator knows now, and they only. Translators cannot be asked for
        all they know: looked up are the keys of infoDictionary(), and those that people read, which may be
        there in translation only: `CFBundleName`, `CFBundleDisplayName`, `CFBundleShortVersionString` and
        `NSHumanReadableCopyright`.
    */
    QVariantMap localizedInfoDictionary() const;

    /*! One information property, translated where a translator knows its key; an invalid variant for nil. */
    QVariant objectForInfoDictionaryKey(const QString &key) const;

    /*! The translation of `key` in a strings table. Where there is none: `value`, or `key` if that is empty.
     */
    QString localizedStringForKey(const QString &key, const QString &value = {},
                                  const QString &table = QStringLiteral("Localizable")) const;

private:
    NSBundle(const QString &executablePath, const QString &resourceFolder);

    /*! The bundle that belongs to the library or program that is loaded at an address. */
    static NSBundle *bundleOfImageAt(const void *address);

    std::optional<QVariantMap> readInfoPropertyList() const;
    QVariantMap infoDictionaryFromApplication() const;

    const QString m_executablePath;
    const QString m_resourceFolder; // with a slash at its end
    mutable std::once_flag m_infoRead;
    mutable std::optional<QVariantMap> m_info;
};

} // namespace Marblewick
