#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QString>

#include <compare>
#include <optional>

namespace Marblewick {

/*! A version such as 12.11.0, ordered part by part. */
struct NSOperatingSystemVersion
{
    qint64 majorVersion = 0;
    qint64 minorVersion = 0;
    qint64 patchVersion = 0;

    friend auto operator<=>(const NSOperatingSystemVersion &, const NSOperatingSystemVersion &) = default;
};

/*! What the running process knows of its system. Any thread. */
class MARBLEWICK_CORE_EXPORT NSProcessInfo
{
public:
    /*! Of the system whose root folder is `root`; empty for this one. */
    explicit NSProcessInfo(QString root = {});
    NSProcessInfo(const NSProcessInfo &) = delete;
    NSProcessInfo &operator=(const NSProcessInfo &) = delete;

    /*! What the framework asks; this system's unless setProcessInfo() put another in its place. */
    static const NSProcessInfo *processInfo();
    /*! `processInfo` is not owned; null puts this system's back. */
    static void setProcessInfo(const NSProcessInfo *processInfo);

    /*! The version of the distribution: `VERSION_ID` of `/etc/os-release`, else of `/usr/lib/os-release`.
        Where that is only the beginning of what `/etc/debian_version` says, as on Debian (12 and 12.11), the
        latter. Nil where a system has no version, as one that is always in motion.

        In a sandbox it is that of the runtime that the sandbox shows in those places. Both files are read at
        each call.
    */
    std::optional<NSOperatingSystemVersion> operatingSystemVersion() const;

    /*! Whether the system's version is `version` or a later one. True where it has none. */
    bool isOperatingSystemAtLeastVersion(const NSOperatingSystemVersion &version) const;

private:
    QString m_root;
};

} // namespace Marblewick
