#pragma once

#include <Marblewick/Atomic.h>
#include <Marblewick/MarblewickCoreExport.h>

#include <QString>
#include <QUrl>

#include <optional>

namespace Marblewick {
class NSCoder;
} // namespace Marblewick

/*! The latest release of one product, as its maker's update server publishes it: the root object of a keyed
    archive, the feed.

    Every field may be absent, and none is checked: nil, or 0 for the version identifier. Each may be read and
    set from any thread. An invalid URL is archived as nil.
*/
class MARBLEWICK_CORE_EXPORT MBWSWUpdateInfo
{
public:
    /*! A record without any field. */
    MBWSWUpdateInfo() = default;
    /*! Initialises from a coder: reads the nine fields, strings and URLs by their classes only. A field of
        another class fails the coder's decoding as a whole.
    */
    explicit MBWSWUpdateInfo(Marblewick::NSCoder &coder);
    MBWSWUpdateInfo(const MBWSWUpdateInfo &) = delete;
    MBWSWUpdateInfo &operator=(const MBWSWUpdateInfo &) = delete;

    /*! Always true. */
    static constexpr bool supportsSecureCoding() { return true; }
    /*! The name of the class in archives. */
    static constexpr QLatin1StringView className() { return QLatin1StringView("MBWSWUpdateInfo"); }
    /*! Writes the nine fields; nothing for a nil one. */
    void encodeWithCoder(Marblewick::NSCoder &coder) const;

    /*! Identifier of the product that the record is for. */
    std::optional<QString> productIdentifier() const { return m_productIdentifier.load(); }
    void setProductIdentifier(const std::optional<QString> &id) { m_productIdentifier.store(id); }

    /*! The product's name for people. */
    std::optional<QString> productName() const { return m_productName.load(); }
    void setProductName(const std::optional<QString> &name) { m_productName.store(name); }

    /*! The release's number, to compare with the running application's: alone it decides what is newer. */
    qint64 versionIdentifier() const { return m_versionIdentifier.load(); }
    void setVersionIdentifier(qint64 number) { m_versionIdentifier.store(number); }

    /*! The release's version for people. */
    std::optional<QString> versionString() const { return m_versionString.load(); }
    void setVersionString(const std::optional<QString> &version) { m_versionString.store(version); }

    /*! Where the release's installer is downloaded from. */
    std::optional<QUrl> directDownloadURL() const { return m_directDownloadURL.load(); }
    void setDirectDownloadURL(const std::optional<QUrl> &url) { m_directDownloadURL.store(url); }

    /*! The product's page on the web. */
    std::optional<QUrl> productPageURL() const { return m_productPageURL.load(); }
    void setProductPageURL(const std::optional<QUrl> &url) { m_productPageURL.store(url); }

    /*! The page with the release notes. */
    std::optional<QUrl> updateInfoURL() const { return m_updateInfoURL.load(); }
    void setUpdateInfoURL(const std::optional<QUrl> &url) { m_updateInfoURL.store(url); }

    /*! The product's page in a store, for builds that a store sells. */
    std::optional<QUrl> appStoreURL() const { return m_appStoreURL.load(); }
    void setAppStoreURL(const std::optional<QUrl> &url) { m_appStoreURL.store(url); }

    /*! The first version of the operating system that the release runs on, such as 12.5 or 12.5.1. */
    std::optional<QString> systemVersion() const { return m_systemVersion.load(); }
    void setSystemVersion(const std::optional<QString> &version) { m_systemVersion.store(version); }

    /*! The version of the running application: CFBundleShortVersionString of the main bundle, nil without
        it. It has nothing to do with the record's fields.
    */
    std::optional<QString> currentVersionString() const;

    /*! Whether the running system has at least the systemVersion(), of which up to three parts count; a part
        that does not begin with a number counts as 0. Always true where that is nil or has no dot.
    */
    bool isOperatingSystemVersionCompatible() const;

private:
    Marblewick::Atomic<std::optional<QString>> m_productIdentifier;
    Marblewick::Atomic<std::optional<QString>> m_productName;
    Marblewick::Atomic<qint64> m_versionIdentifier{0};
    Marblewick::Atomic<std::optional<QString>> m_versionString;
    Marblewick::Atomic<std::optional<QUrl>> m_directDownloadURL;
    Marblewick::Atomic<std::optional<QUrl>> m_productPageURL;
    Marblewick::Atomic<std::optional<QUrl>> m_updateInfoURL;
    Marblewick::Atomic<std::optional<QUrl>> m_appStoreURL;
    Marblewick::Atomic<std::optional<QString>> m_systemVersion;
};
